// Transmittance along a ray: shadows, coloured by partly transparent surfaces. Any worker.
#pragma once

#include "ray_scene.h"
#include "render_settings.h"

namespace host::render {

/// The factor of light between the ray's near and far end, 0 to 1 a channel. One ray is traced.
Vec3 traceShadow(const RayScene& scene, const RenderSettings& settings, const Ray& ray);

} // namespace host::render
