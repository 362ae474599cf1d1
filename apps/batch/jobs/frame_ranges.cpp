#include "frame_ranges.h"

#include <algorithm>

namespace batch {

LONG frameCount(const FrameRange& range) {
  return (range.to - range.from) / range.step + 1;
}

LONG framesBefore(const FrameRange& range, LONG frame) {
  if (frame <= range.from) return 0;
  return std::min(frameCount(range), (frame - range.from + range.step - 1) / range.step);
}

std::vector<LONG> framesOf(const FrameRange& range) {
  std::vector<LONG> frames;
  frames.reserve(static_cast<std::size_t>(frameCount(range)));
  for (LONG index = 0; index < frameCount(range); ++index)
    frames.push_back(range.from + index * range.step);
  return frames;
}

std::vector<FrameRange> joinFrames(const std::vector<LONG>& frames, LONG step) {
  std::vector<FrameRange> ranges;
  for (const LONG frame : frames) {
    if (ranges.empty() || frame - ranges.back().to != step) ranges.push_back({frame, frame, step});
    ranges.back().to = frame;
  }
  return ranges;
}

} // namespace batch
