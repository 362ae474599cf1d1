// How often each level occurs in a picture. Any thread.
#pragma once

#include "scope_pixels.h"

namespace host {

/// Of red, green, blue and luma, by ScopeChannel.
struct Histogram {
  struct Channel {
    std::array<std::uint32_t, scopeLevels> levels{};
    std::uint32_t below = 0, above = 0; // of light: pixels outside the levels
  };
  std::array<Channel, scopeChannels> channels;
  std::size_t pixels = 0; // that were measured
  ScopeFaults faults;

  /// The largest count of a level in a channel.
  std::uint32_t most(std::size_t channel) const noexcept;
};

Histogram histogramOf(const ScopePixels& pixels);

/// The height of a count's bar, 0 to 1, where `most` has 1: in proportion, or by the logarithm of 1 + count.
double barHeight(std::uint32_t count, std::uint32_t most, bool logarithmic) noexcept;

} // namespace host
