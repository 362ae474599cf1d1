#include "vectorscope.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

int cellOf(double difference) noexcept {
  return std::clamp(Vectorscope::middle + static_cast<int>(std::lround(254 * difference)), 0,
                    Vectorscope::side - 1);
}

ChromaCell cellOfPixel(const ScopePixels& pixels, std::size_t pixel) noexcept {
  std::array<double, 3> rgb{};
  double largest = 1;
  for (std::size_t i = 0; i < 3; ++i) {
    rgb[i] = pixels.isLight() ? std::max(0.0, static_cast<double>(pixels.light[3 * pixel + i]))
                              : pixels.codes[3 * pixel + i] / 255.0;
    largest = std::max(largest, rgb[i]);
  }
  return chromaCell(rgb[0] / largest, rgb[1] / largest, rgb[2] / largest);
}

} // namespace

ChromaCell chromaCell(double red, double green, double blue) noexcept {
  const double luma = 0.2126 * red + 0.7152 * green + 0.0722 * blue;
  return {cellOf((blue - luma) / 1.8556), cellOf((red - luma) / 1.5748)};
}

Vectorscope vectorscopeOf(const ScopePixels& pixels) {
  Vectorscope scope;
  scope.counts.resize(static_cast<std::size_t>(Vectorscope::side) * Vectorscope::side);
  for (std::size_t pixel = 0; pixel < pixels.count(); ++pixel) {
    if (!scope.faults.pass(scopeState(pixels, pixel))) continue;
    const ChromaCell cell = cellOfPixel(pixels, pixel);
    std::uint32_t& count = scope.counts[static_cast<std::size_t>(cell.cr) * Vectorscope::side +
                                        static_cast<std::size_t>(cell.cb)];
    ++count;
    if (cell != ChromaCell()) scope.most = std::max(scope.most, count);
  }
  return scope;
}

} // namespace host
