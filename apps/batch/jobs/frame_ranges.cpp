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

std::vector<LONG> framesOf(const FrameList& list, const FrameRange& all) {
  if (list.ranges.empty()) return framesOf(all);
  LONG last = 0;
  for (const FrameRange& range : list.ranges)
    last = std::max(last, range.to);
  std::vector<bool> wanted(static_cast<std::size_t>(last) + 1);
  for (const FrameRange& range : list.ranges)
    for (LONG index = 0; index < frameCount(range); ++index)
      wanted[static_cast<std::size_t>(range.from + index * range.step)] = true;
  std::vector<LONG> frames;
  for (LONG frame = 0; frame <= last; ++frame)
    if (wanted[static_cast<std::size_t>(frame)]) frames.push_back(frame);
  return frames;
}

// A range of two frames would say no more than the frames themselves.
std::vector<FrameRange> joinFrames(const std::vector<LONG>& frames) {
  std::vector<FrameRange> ranges;
  for (std::size_t at = 0; at < frames.size();) {
    std::size_t last = at;
    const LONG step = at + 1 < frames.size() ? frames[at + 1] - frames[at] : 1;
    while (last + 1 < frames.size() && frames[last + 1] - frames[last] == step)
      ++last;
    if (last == at + 1 && step > 1 && last + 1 < frames.size()) last = at;
    ranges.push_back({frames[at], frames[last], last > at ? step : 1});
    at = last + 1;
  }
  return ranges;
}

std::string textOf(const std::vector<FrameRange>& ranges) {
  std::string text;
  for (const FrameRange& range : ranges) {
    text += (text.empty() ? "" : ",") + std::to_string(range.from);
    if (range.to > range.from) text += ":" + std::to_string(range.to);
    if (range.step > 1) text += ":" + std::to_string(range.step);
  }
  return text;
}

} // namespace batch
