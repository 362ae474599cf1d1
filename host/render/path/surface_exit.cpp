#include "surface_exit.h"

namespace host::render {
namespace {

// Normals that lean over by more stand for edges rather than for a smooth surface: cosines from nothing to
// all.
constexpr float noCurve = 0.6f, fullCurve = 0.8f;
// From this cosine on, three equal normals are the triangle's own.
constexpr float flat = 0.99999f;

} // namespace

Exit exitOf(const RayScene& scene, const Hit& hit, const Surface& s, Vec3 viewer) {
  const Exit plain{s.position, s.geometric};
  const PlacedMesh& placed = scene.placed(hit);
  const Mesh& mesh = *placed.mesh;
  if (mesh.normals.empty()) return plain;
  const auto& corners = mesh.triangles[hit.primitive];
  const Float3& first = mesh.normals[corners[0]];
  if (first == mesh.normals[corners[1]] && first == mesh.normals[corners[2]] &&
      dot(s.normal, s.geometric) > flat)
    return plain;
  Transform moved;
  if (placed.motion) moved = placed.toWorldAt(hit.time);
  const Transform& toWorld = placed.motion ? moved : placed.toWorld;
  const Vec3 fromFirst = s.edge1 * hit.u + s.edge2 * hit.v;
  const Vec3 from[3] = {fromFirst, fromFirst - s.edge1, fromFirst - s.edge2};
  const float weight[3] = {1 - hit.u - hit.v, hit.u, hit.v};
  Vec3 lift;
  float least = 1;
  for (std::size_t i = 0; i < 3; ++i) {
    Vec3 n = normalize(toWorld.normal(placed.motion ? placed.normalAt(corners[i], hit.time)
                                                    : Vec3(mesh.normals[corners[i]])));
    float cosine = dot(n, s.geometric);
    if (cosine < 0) n = -n, cosine = -cosine;
    least = std::min(least, cosine);
    // Up to the plane of the corner, where the surface bulges outwards.
    lift += n * (weight[i] * std::max(0.0f, -dot(from[i], n)));
  }
  const float part = clamp01((least - noCurve) / (fullCurve - noCurve));
  if (part <= 0 || !finite(lift)) return plain;
  const Vec3 normal = normalize(lerp(s.geometric, s.normal, part));
  return {s.position + lift * part, dot(normal, viewer) > 0 ? normal : s.geometric};
}

} // namespace host::render
