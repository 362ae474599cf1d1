// The files of an animation.
#pragma once

#include <optional>
#include <string>

#include "c4d_filename.h"
#include "command_line.h"

namespace batch {

struct AnimationTarget {
  Filename file;   // absolute: the movie, or the base name of the pictures, with the format's suffix
  LONG format = 0; // of the render thread, 0 to 10
  bool movie() const { return format < 6; }
};

/// What `output` names: the format is `format`, which also replaces the suffix, else the suffix says it.
/// Throws `Stop` (wrong use) for a suffix that is none.
AnimationTarget animationTarget(const std::string& output, std::optional<LONG> format);

/// The picture of a frame.
Filename frameFile(const AnimationTarget& target, LONG frame);

/// Removes the unfinished pictures of runs that were killed.
void removeAbandoned(const AnimationTarget& target);

/// Whether the frame's picture is there, can be decoded to its end and has this size. Any thread.
bool isWholeFrame(const Filename& picture, PixelSize size);

} // namespace batch
