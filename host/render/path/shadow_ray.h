// The light that comes through along a ray: shadows, coloured by what is partly transparent. Any worker.
#pragma once

#include "ray_scene.h"
#include "render_settings.h"

namespace host::render {

struct ShadowResult {
  Vec3 passed;            // factor of the light, 0 to 1 a channel
  std::uint32_t rays = 0; // traced for it
};

/// From the ray's near to its far end.
ShadowResult traceShadow(const RayScene& scene, const RenderSettings& settings, Ray ray);

} // namespace host::render
