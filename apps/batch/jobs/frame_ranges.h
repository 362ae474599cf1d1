// Ranges of frames with a step.
#pragma once

#include <vector>

#include "c4d_types.h"

namespace batch {

/// Highest frame number of a range: more than nine hours at 30 frames per second.
inline constexpr LONG lastFrameNumber = 999999;

/// The frames from, from + step, ... that are at most `to`.
struct FrameRange {
  LONG from = 0, to = 0, step = 1; // 0 <= from <= to <= lastFrameNumber, step at least 1
};

/// At least 1.
LONG frameCount(const FrameRange& range);

/// The number of frames of the range before this one, 0 to the count.
LONG framesBefore(const FrameRange& range, LONG frame);

std::vector<LONG> framesOf(const FrameRange& range);

/// The fewest ranges of this step that hold exactly these frames. `frames` is in ascending order.
std::vector<FrameRange> joinFrames(const std::vector<LONG>& frames, LONG step);

} // namespace batch
