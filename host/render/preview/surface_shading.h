// Pictures of one property of the surfaces (shading_mode.h). Nothing random: the same ray gives the same
// colour.
#pragma once

#include "path_tracer.h"

namespace host::render {

/// The first surface along the ray in the settings' shading, neither standard nor clay. Surfaces that a
/// camera does not see, such as cut-out parts, are passed; `facing` shows back sides too. Any worker; nothing
/// is kept between calls.
PathResult traceSurface(const RayScene& scene, const RenderSettings& settings, const Ray& camera,
                        RayCone cone);

/// The scene with matt grey materials, which keep their alpha and their own light.
SnapshotPtr claySnapshot(const Snapshot& snapshot);

} // namespace host::render
