#include "snapshot_origin.h"

#include <algorithm>
#include <cmath>

namespace host {

Vector renderOrigin(const Snapshot& snapshot) {
  constexpr Real grid = 256; // metres; a camera that moves within a cell changes no rounding
  const auto axis = [](Real camera, float low, float high) {
    const Real nearest = std::clamp<Real>(camera, std::min(low, high), std::max(low, high));
    return std::isfinite(nearest) ? std::nearbyint(nearest / grid) * grid : 0;
  };
  const Vector& eye = snapshot.camera.toWorld.off;
  const Float3 &low = snapshot.low, &high = snapshot.high;
  return {axis(eye.x, low[0], high[0]), axis(eye.y, low[1], high[1]), axis(eye.z, low[2], high[2])};
}

SnapshotPtr movedSnapshot(const SnapshotPtr& snapshot, const Vector& origin) {
  if (origin == Vector()) return snapshot;
  auto moved = std::make_shared<Snapshot>(*snapshot);
  const auto shiftAll = [&](Matrix& place, std::vector<Matrix>& motion) {
    place.off = place.off - origin;
    for (Matrix& step : motion)
      step.off = step.off - origin;
  };
  for (Instance& instance : moved->instances)
    shiftAll(instance.toWorld, instance.motion);
  for (SnapshotLight& light : moved->lights)
    light.toWorld.off = light.toWorld.off - origin;
  shiftAll(moved->camera.toWorld, moved->camera.motion);
  const auto shift = [&](Float3& p) {
    p = {static_cast<float>(static_cast<Real>(p[0]) - origin.x),
         static_cast<float>(static_cast<Real>(p[1]) - origin.y),
         static_cast<float>(static_cast<Real>(p[2]) - origin.z)};
  };
  shift(moved->low);
  shift(moved->high);
  return moved;
}

} // namespace host
