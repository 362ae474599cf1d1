#include "gltf_pointers.h"

#include <charconv>

namespace host {

namespace {

// The index and the property behind a list's name: "12/intensity".
struct Place {
  int index = 0;
  std::string property;
};

std::optional<Place> placeIn(const std::string& pointer, const std::string& list) {
  if (pointer.compare(0, list.size(), list) != 0) return std::nullopt;
  const char *first = pointer.data() + list.size(), *end = pointer.data() + pointer.size();
  Place place;
  const auto [stop, error] = std::from_chars(first, end, place.index);
  if (error != std::errc() || stop == end || *stop != '/' || place.index < 0) return std::nullopt;
  place.property.assign(stop + 1, end);
  return place;
}

} // namespace

std::optional<TrackPath> pathOf(const std::string& name) {
  if (name == "translation") return TrackPath::translation;
  if (name == "rotation") return TrackPath::rotation;
  if (name == "scale") return TrackPath::scale;
  if (name == "weights") return TrackPath::weights;
  return std::nullopt;
}

std::optional<AnimationPointer> readPointer(const std::string& pointer) {
  using List = AnimationPointer::List;
  if (const auto node = placeIn(pointer, "/nodes/"))
    if (const auto path = pathOf(node->property)) return AnimationPointer{List::nodes, node->index, *path};
  if (const auto light = placeIn(pointer, "/extensions/KHR_lights_punctual/lights/")) {
    if (light->property == "color") return AnimationPointer{List::lights, light->index, trackLightColor};
    if (light->property == "intensity")
      return AnimationPointer{List::lights, light->index, trackLightIntensity};
  }
  if (const auto camera = placeIn(pointer, "/cameras/"))
    if (camera->property == "perspective/yfov")
      return AnimationPointer{List::cameras, camera->index, trackCameraYfov};
  return std::nullopt;
}

} // namespace host
