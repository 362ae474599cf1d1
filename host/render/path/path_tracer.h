// Path tracing: the light that a camera ray brings back. Any worker; nothing is kept between calls.
#pragma once

#include "light_parts.h"
#include "path_recorder.h"
#include "ray_scene.h"
#include "render_settings.h"
#include "sampler.h"

namespace host::render {

/// The surface that a camera ray shows: the first one, and for colour and normal the first one beyond mirrors
/// and clear glass. Filled in on demand (`RenderSettings::firstHits()`).
struct FirstHit {
  Vec3 albedo;                  // share of light that is scattered, 0 to 1, tinted on the way; the sky's own
                                // colour where no surface is
  Vec3 normal;                  // unit, world, on the viewer's side; 0 for the sky
  float depth = 0;              // metres from the camera along the ray; 0: no surface
  Vec3 position;                // of the first surface, from the scene's origin
  Vec2 uv;                      // its first texture coordinates
  std::uint32_t material = ~0u; // index in the snapshot; ~0: no surface
};

struct PathResult {
  Vec3 color;                 // linear radiance
  float alpha = 0;            // 1 where the ray met a surface
  std::uint32_t object = ~0u; // instance of the first surface; ~0: none
  std::uint32_t rays = 0;     // traced for it, of every kind
  Vec3 sky{};                 // the part of the colour that comes from the visible sky, past all surfaces
  FirstHit first{};
  bool faulty = false; // its light or its first hit was not finite and counts as 0
};

/// Light that is known beforehand, and the notes that a cache is made from. Null: none.
struct PathCaches {
  const RadianceCache* radiance = nullptr;
  PathRecorder* recorder = nullptr;
};
/// Only a path's first vertices are recorded.
inline constexpr int recordedBounces = 4;

/// Follows a path from the camera. `cone` is the area covered by the ray. The sampler has drawn the camera's
/// dimensions. `parts`, unless null, gets the colour's parts.
PathResult tracePath(const RayScene& scene, const RenderSettings& settings, const Ray& camera, RayCone cone,
                     const Sampler& sampler, LightParts* parts = nullptr, const PathCaches& caches = {});

} // namespace host::render
