// The point at which light leaves or reaches a surface. Coarse meshes with smooth normals have a hard edge
// between light and shadow where a triangle turns away from a light that its normals still face; there the
// point lies on the smooth surface that the normals stand for (Hanika 2021, "Hacking the Shadow Terminator").
// Any worker.
#pragma once

#include "surface_point.h"

namespace host::render {

struct Exit {
  Vec3 position; // on the smooth surface, else on the triangle
  Vec3 normal;   // unit, on the viewer's side; it separates reflection from transmission

  bool leavesAbove(Vec3 direction) const { return dot(direction, normal) > 0; }
  /// The origin of a ray that leaves the surface.
  Vec3 origin(const Surface& surface, Vec3 direction) const {
    const Vec3 step = surface.geometric * surface.error;
    return leavesAbove(direction) ? position + step : surface.position - step;
  }
};

/// For a surface without normal and bump maps. `viewer`: unit, towards the origin of the ray that hit it.
Exit exitOf(const RayScene& scene, const Hit& hit, const Surface& surface, Vec3 viewer);

} // namespace host::render
