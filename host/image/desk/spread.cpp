#include "spread.h"

#include <algorithm>
#include <cmath>

#include "worker_threads.h"

namespace host {
namespace {

constexpr int bellPasses = 5;
constexpr float nothing = 1e-20f; // smaller light is 0: it would become numbers that processors take long for

float settled(float value) noexcept {
  return value < nothing ? 0 : value;
}

/// The light that a pass leaves beyond the last pixel comes back in the pass backwards.
float returned(float last, float decay) noexcept {
  return last * decay / (1 + decay);
}

/// Forwards and backwards along a row.
void blurRow(float* row, int width, float decay) noexcept {
  const float gain = 1 - decay;
  float light[3] = {0, 0, 0};
  const auto step = [&](int x) {
    float* at = row + 3 * static_cast<std::ptrdiff_t>(x);
    for (int i = 0; i < 3; ++i)
      at[i] = light[i] = settled(decay * light[i] + gain * at[i]);
  };
  for (int x = 0; x < width; ++x)
    step(x);
  for (float& value : light)
    value = returned(value, decay);
  for (int x = width - 1; x >= 0; --x)
    step(x);
}

/// Adds the light of the row before: one step of a pass along columns.
void addBefore(const float* before, float* row, std::size_t count, float decay) noexcept {
  const float gain = 1 - decay;
  for (std::size_t i = 0; i < count; ++i)
    row[i] = settled(decay * before[i] + gain * row[i]);
}

/// Forwards and backwards along the columns of a band of values, `first` to `first + count - 1` of each row.
void blurColumns(LightPlane& plane, std::size_t first, std::size_t count, float decay) {
  std::vector<float> light(count);
  for (int y = 0; y < plane.height; ++y) {
    float* row = plane.row(y) + first;
    addBefore(light.data(), row, count, decay);
    std::copy_n(row, count, light.data());
  }
  for (float& value : light)
    value = returned(value, decay);
  for (int y = plane.height - 1; y >= 0; --y) {
    float* row = plane.row(y) + first;
    addBefore(light.data(), row, count, decay);
    std::copy_n(row, count, light.data());
  }
}

constexpr std::size_t band = 96; // values, a few lines of the cache

LightPlane transposed(const LightPlane& plane) {
  LightPlane turned(plane.height, plane.width);
  constexpr int block = 16;
  eachRow((plane.width + block - 1) / block, [&](int part) {
    const int end = std::min(plane.width, (part + 1) * block);
    for (int y = 0; y < plane.height; ++y)
      for (int x = part * block; x < end; ++x)
        std::copy_n(plane.row(y) + 3 * static_cast<std::ptrdiff_t>(x), 3,
                    turned.row(x) + 3 * static_cast<std::ptrdiff_t>(y));
  });
  return turned;
}

/// A ray that goes down, or up, by a row and `slope` pixels to the right a step; at most 1 to either side.
void rayByRows(LightPlane& plane, bool down, double slope, float decay) {
  const int shift = static_cast<int>(std::floor(slope));
  const float part = static_cast<float>(slope - shift), gain = 1 - decay;
  const auto width = static_cast<std::size_t>(plane.width);
  std::vector<float> before(3 * (width + 4)), moved(3 * width); // two pixels of black on each side
  for (int step = 0; step < plane.height; ++step) {
    float* row = plane.row(down ? step : plane.height - 1 - step);
    const float* near = before.data() + 3 * (2 - shift);
    const float* far = near - 3;
    for (std::size_t i = 0; i < 3 * width; ++i)
      moved[i] = near[i] + part * (far[i] - near[i]);
    for (std::size_t i = 0; i < 3 * width; ++i)
      row[i] = settled(decay * moved[i] + gain * row[i]);
    std::copy_n(row, 3 * width, before.begin() + 6);
  }
}

} // namespace

double decayOf(double deviation, int times) noexcept {
  // An exponential has the variance 2 a / (1 - a)^2.
  const double variance = deviation * deviation / times;
  return variance <= 0 ? 0 : (variance + 1 - std::sqrt(2 * variance + 1)) / variance;
}

void blur(LightPlane& plane, double deviation) {
  const auto decay = static_cast<float>(decayOf(deviation, bellPasses));
  eachRow(plane.height, [&](int y) {
    for (int pass = 0; pass < bellPasses; ++pass)
      blurRow(plane.row(y), plane.width, decay);
  });
  const std::size_t count = 3 * static_cast<std::size_t>(plane.width);
  eachRow(static_cast<int>((count + band - 1) / band), [&](int part) {
    const std::size_t first = band * static_cast<std::size_t>(part);
    for (int pass = 0; pass < bellPasses; ++pass)
      blurColumns(plane, first, std::min(band, count - first), decay);
  });
}

LightPlane ray(const LightPlane& plane, double angle, double decay) {
  const double right = std::cos(angle), up = std::sin(angle);
  const bool steep = std::abs(up) >= std::abs(right);
  // A step along the longer axis is that much of the ray.
  const double step = 1 / std::max(std::abs(right), std::abs(up));
  const auto factor = static_cast<float>(std::pow(decay, step));
  if (steep) {
    LightPlane light = plane;
    rayByRows(light, up < 0, right * step, factor);
    return light;
  }
  LightPlane light = transposed(plane);
  rayByRows(light, right > 0, -up * step, factor);
  return transposed(light);
}

} // namespace host
