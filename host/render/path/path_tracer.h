// Path tracing: the light that a camera ray brings back. Any worker; nothing is kept between calls.
#pragma once

#include "ray_scene.h"
#include "render_settings.h"
#include "sampler.h"

namespace host::render {

struct PathResult {
  Vec3 color;                 // linear radiance
  float alpha = 0;            // 1 where the ray met a surface
  std::uint32_t object = ~0u; // instance of the first surface; ~0: none
  std::uint32_t rays = 0;     // traced for it, of every kind
};

/// Follows a path from the camera. `cone` is the area covered by the ray. The sampler has drawn the camera's
/// dimensions.
PathResult tracePath(const RayScene& scene, const RenderSettings& settings, const Ray& camera, RayCone cone,
                     const Sampler& sampler);

} // namespace host::render
