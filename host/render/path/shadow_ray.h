// Transmittance along a ray: shadows, coloured by partly transparent surfaces. Any worker.
#pragma once

#include "ray_scene.h"
#include "render_settings.h"

namespace host::render {

struct ShadowResult {
  Vec3 passed;            // factor of the light, 0 to 1 a channel
  std::uint32_t rays = 0; // traced for it
};

/// Between the ray's near and far end.
ShadowResult traceShadow(const RayScene& scene, const RenderSettings& settings, Ray ray);

} // namespace host::render
