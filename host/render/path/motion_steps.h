// Places between the even steps of a motion. Any worker.
#pragma once

#include <algorithm>
#include <cstddef>

namespace host::render {

/// Two of a motion's steps, and the part of the second.
struct StepPair {
  std::size_t first = 0, second = 0;
  float part = 0;
};
/// The steps around a time, 0 when the shutter opens to 1 when it closes. `steps`: two or more.
inline StepPair stepsAround(float time, std::size_t steps) {
  const float at = std::clamp(time, 0.0f, 1.0f) * static_cast<float>(steps - 1);
  const std::size_t first = std::min(static_cast<std::size_t>(at), steps - 2);
  return {first, first + 1, at - static_cast<float>(first)};
}

} // namespace host::render
