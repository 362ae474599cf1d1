// The light that a camera ray brings back. Any worker; nothing is kept between calls.
#pragma once

#include "ray_scene.h"
#include "render_settings.h"
#include "sampler.h"

namespace host::render {

struct PathResult {
  Vec3 color;                 // linear radiance
  float alpha = 0;            // whether the ray met a surface
  std::uint32_t object = ~0u; // the first surface's instance; ~0 for none
};

/// Follows a path from the camera. `spread` says by how much the seen area widens a metre, `width` how wide
/// it is at the start. Counts rays.
PathResult tracePath(const RayScene& scene, const RenderSettings& settings, const Ray& camera, float width,
                     float spread, Sampler& sampler, std::uint64_t& rays);

/// Engine 1: what the camera ray meets, in its material's colours under a light from the camera and a soft
/// one from above. No chance in it.
PathResult tracePreview(const RayScene& scene, const RenderSettings& settings, const Ray& camera, float width,
                        float spread, std::uint64_t& rays);

} // namespace host::render
