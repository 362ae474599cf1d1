// The state of a path between two of its vertices.
#pragma once

#include "path_tracer.h"

namespace host::render {

struct Path {
  Ray ray;
  RayCone cone;
  Sampler sampler;
  LightParts* parts = nullptr; // of the result's colour; null: not wanted
  PathCaches caches{};
  bool catches = false; // the first surface catches shadows
  PathResult result{};
  Vec3 throughput{1, 1, 1};

  int bounces = 0;                          // vertices that scattered the path
  int passes = 0;                           // surfaces passed straight through
  int wideScatters = 0;                     // vertices that spread light widely
  float travelled = 0;                      // metres since the last vertex, over surfaces passed through
  unsigned mask = anyMask;                  // surfaces that the ray can meet
  bool last = false;                        // only emission still counts
  bool caustic = false;                     // a mirror after a wide scatter, with caustics off
  const CompiledMaterial* inside = nullptr; // absorbing body around the ray
  int channel = -1;                         // of the colour that dispersion left; -1: all
  bool straightGlass = false; // after a wide scatter; glass does not bend the ray with caustics off

  bool seeking = false; // mirrors and clear glass only so far: the surface of the first hit is still to come
  Vec3 tint{1, 1, 1};   // by those

  Vec3 vertex{};          // the last one; `travelled` counts from here
  LightPick pick{};       // chances of the lights at the last vertex that sampled them
  float lightSamples = 1; // taken there
  float pdf = 0;          // of the ray's direction; 0 where lights could not be sampled: the camera, a mirror

  bool atCamera() const { return bounces == 0; }
  bool indirect() const { return wideScatters >= 2; }
};

} // namespace host::render
