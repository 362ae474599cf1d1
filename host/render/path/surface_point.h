// The surface at a hit: position, normals, texture coordinates, light of its own. Any worker.
#pragma once

#include "ray_scene.h"

namespace host::render {

/// A point of a surface hit by a ray. Normals are on the side of the ray's origin.
struct Surface {
  Vec3 position, geometric, normal;
  float error = 0;   // bound of the position's distance from the triangle as rays meet it
  Vec3 tangent;      // of anisotropy; null: none
  Vec3 coatNormal;   // null: the shading normal
  Vec3 edge1, edge2; // of the triangle, in the world
  bool front = true;
  const CompiledMaterial* material = nullptr;
  Vec3 color{1, 1, 1}; // vertex colour
  float colorAlpha = 1;
  ShadePoint point;
};

/// The surface at a hit, without normal and bump maps. `coneWidth` is the width of the ray's area at the hit;
/// 0: textures are read in full detail.
Surface surfaceAt(const RayScene& scene, const Ray& ray, const Hit& hit, float coneWidth);

/// Applies the material's normal and bump maps to the shading normal, which stays on the viewer's side, and
/// sets the coat's normal and the tangent.
void applyNormalMaps(const RayScene& scene, const Hit& hit, Vec3 viewer, Surface& surface);

/// The radiance that a glowing surface sends towards the viewer.
Vec3 emission(const Surface& surface);

/// The radiance that a sampled point of a glowing triangle sends back along the sample's direction.
Vec3 glowRadiance(const RayScene& scene, const LightSample& sample);

/// The origin of a ray that leaves a surface: off it by the error of the hit, on the side of `direction`, so
/// that the ray does not meet the surface again.
Vec3 offsetFrom(const Surface& surface, Vec3 direction);

} // namespace host::render
