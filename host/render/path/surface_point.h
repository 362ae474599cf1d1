// The surface at a hit: position, normals, texture coordinates, light of its own. Any worker.
#pragma once

#include "ray_scene.h"

namespace host::render {

/// A point of a surface, as a ray found it. Normals are on the side that the ray came from.
struct Surface {
  Vec3 position, geometric, normal;
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

/// Turns the shading normal by the material's normal and bump maps; keeps it on the viewer's side.
void applyNormalMaps(const RayScene& scene, const Hit& hit, Vec3 viewer, Surface& surface);

/// The radiance that a glowing surface sends towards the viewer.
Vec3 emission(const Surface& surface);

/// The radiance that a sampled point of a glowing triangle sends back along the sample's direction.
Vec3 glowRadiance(const RayScene& scene, const LightSample& sample);

/// A ray's origin a little off a surface, on the side of `direction`.
Vec3 offsetFrom(Vec3 position, Vec3 geometric, Vec3 direction);

} // namespace host::render
