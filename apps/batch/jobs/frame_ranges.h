// Frames: ranges with a step, and lists of them.
#pragma once

#include <string>
#include <vector>

#include "c4d_types.h"

namespace batch {

/// Highest frame number of a range: more than nine hours at 30 frames per second.
inline constexpr LONG lastFrameNumber = 999999;

/// The frames from, from + step, ... that are at most `to`.
struct FrameRange {
  LONG from = 0, to = 0, step = 1; // 0 <= from <= to <= lastFrameNumber, step at least 1
};

/// Frames as they are typed: "0:89", "1,5,10:20:2", "all".
struct FrameList {
  std::vector<FrameRange> ranges; // as typed, at most 1000; empty: all of the scene's
};

/// At least 1.
LONG frameCount(const FrameRange& range);

/// The number of frames of the range before this one, 0 to the count.
LONG framesBefore(const FrameRange& range, LONG frame);

std::vector<LONG> framesOf(const FrameRange& range);
/// Rising, each once. `all`: for a list without ranges.
std::vector<LONG> framesOf(const FrameList& list, const FrameRange& all);

/// Few ranges that hold exactly these frames, one after the other. `frames` rises.
std::vector<FrameRange> joinFrames(const std::vector<LONG>& frames);
/// "0:89,95,100:120:2", as joinFrames makes them.
std::string textOf(const std::vector<FrameRange>& ranges);

} // namespace batch
