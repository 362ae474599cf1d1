#include "mesh_placements.h"

namespace host {

Matrix matrixOf(const Placements& placements, std::size_t index) {
  Pose pose;
  const auto vector = [](const Float3& v) { return Vector(v[0], v[1], v[2]); };
  if (!placements.translations.empty()) pose.translation = vector(placements.translations[index]);
  if (!placements.rotations.empty()) {
    const Float4& q = placements.rotations[index];
    pose.rotation = {q[0], q[1], q[2], q[3]};
  }
  if (!placements.scales.empty()) pose.scale = vector(placements.scales[index]);
  return matrixOf(pose);
}

bool samePlacements(const PlacementsPtr& a, const PlacementsPtr& b) {
  if (a == b) return true;
  return a && b && a->count == b->count && a->translations == b->translations &&
         a->rotations == b->rotations && a->scales == b->scales && a->others == b->others;
}

} // namespace host
