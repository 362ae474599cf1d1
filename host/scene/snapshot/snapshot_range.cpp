#include "snapshot_range.h"

#include <algorithm>
#include <cmath>

#include "document.h"

namespace host {

namespace {

// False for not a number as well.
bool within(const Vector& v, double limit) {
  return std::abs(v.x) <= limit && std::abs(v.y) <= limit && std::abs(v.z) <= limit;
}

bool within(const Instance& instance) {
  const Mesh& mesh = *instance.mesh;
  for (int corner = 0; corner < 8; ++corner) {
    const Vector p(corner & 1 ? mesh.high[0] : mesh.low[0], corner & 2 ? mesh.high[1] : mesh.low[1],
                   corner & 4 ? mesh.high[2] : mesh.low[2]);
    if (!within(p, farthestSurface) || !within(instance.toWorld * p, farthestSurface)) return false;
  }
  const Matrix& m = instance.toWorld;
  // The corners do not cover an axis along which the mesh is flat.
  constexpr double largestScale = 1e15;
  return within(m.off, farthestSurface) && within(m.v1, largestScale) && within(m.v2, largestScale) &&
         within(m.v3, largestScale);
}

bool bringIn(SnapshotLight& light) {
  if (light.kind == LightKind::distant && !within(light.toWorld.off, farthestEye)) light.toWorld.off = {};
  light.range = std::min(light.range, 1e15F);
  for (float* size : {&light.radius, &light.width, &light.height})
    *size = std::min(*size, static_cast<float>(farthestSurface));
  return within(light.toWorld.off, farthestEye);
}

std::string nameOf(const DocumentState& document, Identity object) {
  const NodeState* node = findNode(document, object);
  return '"' + (node ? node->name.GetUTF8() : std::string()) + '"';
}

// Removes the elements that `fits` refuses and notes their objects.
template <class List, class Fits>
void filter(List& list, std::vector<Identity>& leftOut, const Fits& fits) {
  const auto end = std::stable_partition(list.begin(), list.end(), fits);
  for (auto it = end; it != list.end(); ++it)
    leftOut.push_back(it->object);
  list.erase(end, list.end());
}

std::string sentence(const DocumentState& document, const std::vector<Identity>& leftOut) {
  constexpr std::size_t named = 3;
  std::string names;
  for (std::size_t i = 0; i < std::min(named, leftOut.size()); ++i)
    names += (i > 0 ? ", " : "") + nameOf(document, leftOut[i]);
  if (leftOut.size() > named) names += " and " + std::to_string(leftOut.size() - named) + " more";
  return names + (leftOut.size() > 1 ? " are" : " is") +
         " left out: farther than a million kilometres from the origin, or of a size that cannot be "
         "computed. Check the positions and scales.";
}

} // namespace

Vector eyeInRange(const Vector& place) {
  const auto part = [](Real value) {
    return std::isnan(value) ? 0.0 : std::clamp(value, -farthestEye, farthestEye);
  };
  return {part(place.x), part(place.y), part(place.z)};
}

void keepInRange(Snapshot& snapshot, const DocumentState& document) {
  std::vector<Identity> leftOut;
  filter(snapshot.instances, leftOut, [](const Instance& instance) { return within(instance); });
  filter(snapshot.lights, leftOut, [](SnapshotLight& light) { return bringIn(light); });
  if (!leftOut.empty()) snapshot.problems.push_back(sentence(document, leftOut));

  SnapshotCamera& camera = snapshot.camera;
  const Vector place = eyeInRange(camera.toWorld.off);
  if (!(place == camera.toWorld.off))
    snapshot.problems.push_back("The camera " + nameOf(document, camera.object) +
                                " stands where nothing can be computed and was moved nearer to the origin. "
                                "Check its position.");
  camera.toWorld.off = place;
  camera.ymag = std::min(camera.ymag, static_cast<float>(farthestSurface));
  camera.znear = std::min(camera.znear, static_cast<float>(farthestEye));
}

} // namespace host
