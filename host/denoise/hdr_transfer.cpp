#include "hdr_transfer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace host::denoise {
namespace {

constexpr float brightest = 65504; // of a half float
constexpr double middleGrey = 0.18, black = 1e-8;
constexpr double least = 1e-30, most = 1e30; // of an exposure, so that the way back stays finite
constexpr int blockSide = 16;

// Linear, then a power, then a logarithm.
constexpr double a = 1.41283765e+03, b = 1.64593172e+00, c = 4.31384981e-01, d = -2.94139609e-03,
                 e = 1.92653254e-01, f = 6.26026094e-03, g = 9.98620152e-01;
constexpr double powerFrom = 1.57945760e-06, logFrom = 3.22087631e-02; // light
constexpr double powerFromCode = 2.23151711e-03, logFromCode = 3.70974749e-01;

double encode(double light) noexcept {
  if (light <= powerFrom) return a * light;
  if (light <= logFrom) return b * std::pow(light, c) + d;
  return e * std::log(light + f) + g;
}

double decode(double code) noexcept {
  if (code <= powerFromCode) return code / a;
  if (code <= logFromCode) return std::pow((code - d) / b, 1 / c);
  return std::exp((code - g) / e) - f;
}

const double scale = encode(brightest);

float finite(float value) noexcept {
  return std::isfinite(value) ? std::max(value, 0.0f) : 0;
}

/// Rec. 709.
float luminance(const float* rgb) noexcept {
  return 0.212671f * finite(rgb[0]) + 0.715160f * finite(rgb[1]) + 0.072169f * finite(rgb[2]);
}

double meanOf(std::span<const float> rgb, int width, int left, int right, int top, int bottom) noexcept {
  double sum = 0;
  for (int y = top; y < bottom; ++y)
    for (int x = left; x < right; ++x)
      sum += luminance(
          &rgb[(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) *
               3]);
  return sum / (static_cast<double>(right - left) * (bottom - top));
}

} // namespace

float autoExposure(std::span<const float> rgb, int width, int height) noexcept {
  const int columns = (width + blockSide - 1) / blockSide, rows = (height + blockSide - 1) / blockSide;
  const auto part = [](int i, int count, int whole) {
    return static_cast<int>(static_cast<long long>(i) * whole / count);
  };
  double sum = 0;
  int count = 0;
  for (int row = 0; row < rows; ++row)
    for (int column = 0; column < columns; ++column) {
      const double mean = meanOf(rgb, width, part(column, columns, width), part(column + 1, columns, width),
                                 part(row, rows, height), part(row + 1, rows, height));
      if (!(mean > black)) continue;
      sum += std::log2(mean);
      ++count;
    }
  return count ? static_cast<float>(std::clamp(middleGrey / std::exp2(sum / count), least, most)) : 1;
}

float toNetwork(float light) noexcept {
  if (!(light > 0)) return 0; // NaN too
  return static_cast<float>(encode(std::min(light, brightest)) / scale);
}

float fromNetwork(float value) noexcept {
  if (!(value > 0)) return 0;
  return static_cast<float>(decode(std::min(value, 1.0f) * scale));
}

} // namespace host::denoise
