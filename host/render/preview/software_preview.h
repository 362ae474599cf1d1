// The software preview: camera rays only, in the materials' colours under a light from the camera and a soft
// one from above. Nothing random: the same ray gives the same colour.
#pragma once

#include "path_tracer.h"

namespace host::render {

/// Any worker; nothing is kept between calls.
PathResult tracePreview(const RayScene& scene, const RenderSettings& settings, const Ray& camera,
                        RayCone cone);

} // namespace host::render
