#include "histogram.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

void count(Histogram::Channel& channel, int level) noexcept {
  if (level < 0)
    ++channel.below;
  else if (level >= scopeLevels)
    ++channel.above;
  else
    ++channel.levels[static_cast<std::size_t>(level)];
}

} // namespace

std::uint32_t Histogram::most(std::size_t channel) const noexcept {
  const auto& levels = channels[channel].levels;
  return *std::max_element(levels.begin(), levels.end());
}

Histogram histogramOf(const ScopePixels& pixels) {
  Histogram histogram;
  for (std::size_t pixel = 0; pixel < pixels.count(); ++pixel) {
    if (!histogram.faults.pass(scopeState(pixels, pixel))) continue;
    const ScopeValues values = scopeValues(pixels, pixel);
    ++histogram.pixels;
    for (std::size_t channel = 0; channel < scopeChannels; ++channel)
      count(histogram.channels[channel], values[channel]);
  }
  return histogram;
}

double barHeight(std::uint32_t count, std::uint32_t most, bool logarithmic) noexcept {
  if (most == 0) return 0;
  const double height = logarithmic ? std::log1p(count) / std::log1p(most)
                                    : static_cast<double>(count) / static_cast<double>(most);
  return std::min(1.0, height);
}

} // namespace host
