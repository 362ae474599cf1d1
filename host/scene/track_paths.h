// Paths of tracks that set parameters of lights and cameras, beside the transforms and weights of TrackPath.
// Any thread.
#pragma once

#include "animation.h"
#include "c4d_types.h"

namespace host {

inline constexpr TrackPath trackLightColor{4};     // linear RGB
inline constexpr TrackPath trackLightIntensity{5}; // as the light's parameter
inline constexpr TrackPath trackCameraYfov{6};     // radians

/// The numbers of one key of a path; 0 when they depend on the object (weights).
constexpr std::uint32_t widthOf(TrackPath path) {
  if (path == TrackPath::weights) return 0;
  if (path == TrackPath::rotation) return 4;
  return path == trackLightIntensity || path == trackCameraYfov ? 1 : 3;
}

/// The parameter that a path sets in objects of this type; 0 for transforms and weights, and for paths that
/// the type does not have.
LONG parameterOf(TrackPath path, LONG type);

} // namespace host
