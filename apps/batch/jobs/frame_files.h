// The files of an animation.
#pragma once

#include <optional>
#include <string>

#include "c4d_filename.h"
#include "command_line.h"

namespace batch {

/// Formats that the render thread does not know: pictures, also with "####" for the frame's number, and
/// movies.
inline constexpr LONG hostPictures = 11, hostMovie = 12;

struct AnimationTarget {
  Filename file;   // absolute: the movie, or the base name of the pictures, with the format's suffix
  LONG format = 0; // number of the render thread, 0 to 10, or one of the host's
  bool movie() const { return format < 6 || format == hostMovie; }
  /// The host renders each frame and saves it by the suffix, else the render thread does.
  bool byHost() const { return format >= hostPictures; }
};

/// The target that `output` names. `format` wins over the suffix and replaces it. `alpha`: files are to have
/// one, which the render thread does not write. Throws `Stop` (wrong use) for an unknown suffix.
AnimationTarget animationTarget(const std::string& output, std::optional<LONG> format, bool alpha = false);

/// The picture of a frame.
Filename frameFile(const AnimationTarget& target, LONG frame);

/// Deletes the unfinished pictures of killed programs.
void removeAbandoned(const AnimationTarget& target);

/// Whether the frame's picture exists, decodes completely and has this size. Any thread.
bool isWholeFrame(const Filename& picture, PixelSize size);

} // namespace batch
