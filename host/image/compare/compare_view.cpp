#include "compare_view.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "metrics.h"
#include "worker_threads.h"

namespace host {
namespace {

constexpr double pi = 3.14159265358979323846;

int channelOf(std::uint32_t pixel, int shift) noexcept {
  return static_cast<int>((pixel >> shift) & 0xff);
}

} // namespace

double wipeDistance(const WipeLine& line, int width, int height, double x, double y) noexcept {
  const double turn = line.angle * pi / 180;
  return (x - line.x * width) * std::cos(turn) + (y - line.y * height) * std::sin(turn);
}

WipeColumns columnsBeyond(const WipeLine& line, int width, int height, int y) noexcept {
  const double across = std::cos(line.angle * pi / 180);
  const double atLeft = wipeDistance(line, width, height, 0.5, y + 0.5);
  if (std::abs(across) < 1e-9) return atLeft >= 0 ? WipeColumns{0, width} : WipeColumns{0, 0};
  // Distance grows by `across` a column.
  const double column = std::clamp(-atLeft / across, -1.0, width + 1.0);
  if (across > 0) return {std::clamp(static_cast<int>(std::ceil(column - 1e-9)), 0, width), width};
  return {0, std::clamp(static_cast<int>(std::floor(column + 1e-9)) + 1, 0, width)};
}

void wipe(const PixelView& a, const PixelView& b, const WipeLine& line, const PixelTarget& out) noexcept {
  for (int y = 0; y < out.height; ++y) {
    const WipeColumns beyond = columnsBeyond(line, out.width, out.height, y);
    std::uint32_t* row = out.row(y);
    std::copy_n(a.row(y), beyond.first, row);
    std::copy(b.row(y) + beyond.first, b.row(y) + beyond.end, row + beyond.first);
    std::copy(a.row(y) + beyond.end, a.row(y) + out.width, row + beyond.end);
  }
}

void difference(const PixelView& a, const PixelView& b, double gain, const PixelTarget& out) {
  std::array<std::uint32_t, 256> scaled{};
  for (std::size_t i = 0; i < scaled.size(); ++i)
    scaled[i] = static_cast<std::uint32_t>(std::clamp(static_cast<double>(i) * gain + 0.5, 0.0, 255.0));
  eachRow(out.height, [&](int y) {
    for (int x = 0; x < out.width; ++x) {
      std::uint32_t pixel = 0xff000000u;
      for (int shift = 0; shift <= 16; shift += 8) {
        const int apart = std::abs(channelOf(a.row(y)[x], shift) - channelOf(b.row(y)[x], shift));
        pixel |= scaled[static_cast<std::size_t>(apart)] << shift;
      }
      out.row(y)[x] = pixel;
    }
  });
}

void heatPicture(std::span<const float> map, const PixelTarget& out) {
  std::array<std::uint32_t, 1024> colors{};
  for (std::size_t i = 0; i < colors.size(); ++i) {
    unsigned char rgb[3];
    heatColor(static_cast<float>(i) / (colors.size() - 1), rgb);
    colors[i] = 0xff000000u | static_cast<std::uint32_t>(rgb[0] << 16 | rgb[1] << 8 | rgb[2]);
  }
  eachRow(out.height, [&](int y) {
    const float* values = map.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(out.width);
    for (int x = 0; x < out.width; ++x) {
      const float error = values[x] > 0 ? std::min(values[x], 1.0f) : 0; // NaN is 0
      out.row(y)[x] = colors[static_cast<std::size_t>(error * (colors.size() - 1) + 0.5f)];
    }
  });
}

} // namespace host
