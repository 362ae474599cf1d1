// Frames in steps, and what is left of them.
#pragma once

#include <vector>

#include "c4d_types.h"

namespace batch {

/// The last frame number that a range may have: more than nine hours at 30 frames a second.
inline constexpr LONG lastFrameNumber = 999999;

/// The frames from, from + step, ... up to `to`, which need not be one of them.
struct FrameRange {
  LONG from = 0, to = 0, step = 1; // 0 <= from <= to <= lastFrameNumber, step at least 1
};

/// At least 1.
LONG frameCount(const FrameRange& range);

/// How many frames of the range come before this one, 0 to the count.
LONG framesBefore(const FrameRange& range, LONG frame);

std::vector<LONG> framesOf(const FrameRange& range);

/// The fewest ranges of this step that hold exactly these frames, which are in ascending order.
std::vector<FrameRange> joinFrames(const std::vector<LONG>& frames, LONG step);

} // namespace batch
