// Pointers of KHR_animation_pointer: the properties of a glTF file that animations may set besides nodes.
#pragma once

#include <optional>
#include <string>

#include "track_paths.h"

namespace host {

struct AnimationPointer {
  enum class List : std::uint8_t { nodes, lights, cameras };
  List list = List::nodes;
  int index = 0; // in the list; not checked
  TrackPath path = TrackPath::translation;
};

/// The path of a name in a channel's target; nothing for an unknown one.
std::optional<TrackPath> pathOf(const std::string& name);
/// Nothing for a pointer to a property that does not move here.
std::optional<AnimationPointer> readPointer(const std::string& pointer);

} // namespace host
