// Places of light on the axes of a view's tables. Private to host/image/color.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

namespace host {

/// An axis that is linear inside each stop: a float's own bits, which rise by as much in each. Light 0 is at
/// node 0; an offset keeps the steps near black finite.
struct LightAxis {
  int lowest, stops; // the first stop begins at 2^lowest
  int stepBits;      // each stop has 2^stepBits nodes

  static constexpr int fractionBits = 15;

  constexpr int last() const noexcept { return stops << stepBits; } // the last node
  constexpr std::int32_t offsetBits() const noexcept { return (lowest + 127) << 23; }

  /// Place in a stop's 2^23rds; at the end just below the last node. NaN and negative light count as 0.
  std::int32_t place(float light) const noexcept {
    const auto from = std::bit_cast<float>(offsetBits());
    const auto most = std::bit_cast<float>(offsetBits() + (stops << 23) - 1);
    const float raised = (light > 0 ? light : 0) + from;
    return std::bit_cast<std::int32_t>(raised < most ? raised : most) - offsetBits();
  }
  /// The node at or before a place, and the rest of the way to the next one in 2^15ths.
  std::int32_t nodeOf(std::int32_t place) const noexcept { return place >> (23 - stepBits); }
  std::int32_t fractionOf(std::int32_t place) const noexcept {
    return (place >> (23 - stepBits - fractionBits)) & ((1 << fractionBits) - 1);
  }

  float light(int node) const noexcept {
    return std::bit_cast<float>(offsetBits() + (node << (23 - stepBits))) -
           std::bit_cast<float>(offsetBits());
  }
};

} // namespace host
