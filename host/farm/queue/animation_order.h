// The wishes of a person who renders an animation on this machine, and the arguments of `lumenara animate`
// for them. Values only; any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "c4d_types.h"

namespace host::farm {

struct AnimationOrder {
  std::string output;             // absolute: a movie, or the base name or pattern of pictures
  std::string frames;             // as `lumenara animate --frames` takes them
  LONG width = 0, height = 0;     // pixels; 0: the scene's
  std::string camera;             // empty: as the scene's view says
  LONG samples = 0;               // 0: the scene's
  std::string codec, compression; // of a movie, of an OpenEXR picture; empty: the default
  LONG quality = 0;               // 1 to 100; 0: the default
  bool deep = false;              // PNG pictures with 16 bits a channel
  bool alpha = false, half = false, allLayers = false, stamps = false, denoise = false;
  bool keep = false;    // pictures that are whole already
  bool replace = false; // a movie that exists

  bool operator==(const AnimationOrder&) const = default;
};

/// The options that the output's suffix has.
struct OutputKind {
  bool known = false, movie = false, exr = false, quality = false, alpha = false, deep = false;
};
OutputKind outputKind(const std::string& output);

/// A sentence for the user: why the order cannot be queued, and what to do. Empty when nothing is known
/// against it. Reads the file system.
std::string problemOf(const AnimationOrder& order);

/// Behind the program's name. Options that the output does not have are left out.
std::vector<std::string> animateArguments(const AnimationOrder& order, const std::string& scene);

/// The order as a JSON object, and back; nothing for a text that is none.
std::string textOf(const AnimationOrder& order);
std::optional<AnimationOrder> animationOrderOf(const std::string& json);

} // namespace host::farm
