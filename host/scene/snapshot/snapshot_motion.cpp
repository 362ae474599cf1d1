#include "snapshot_motion.h"

#include <algorithm>
#include <map>

namespace host {

namespace {

// The instances of a snapshot by their object; copies of an object are in order.
using Numbers = std::map<std::pair<Identity, std::size_t>, const Instance*>;

Numbers numbered(const Snapshot& snapshot) {
  std::map<Identity, std::size_t> copies;
  Numbers numbers;
  for (const Instance& instance : snapshot.instances)
    numbers[{instance.object, copies[instance.object]++}] = &instance;
  return numbers;
}

bool moves(const Matrix& place, const std::vector<Matrix>& motion) {
  return std::any_of(motion.begin(), motion.end(), [&](const Matrix& step) { return !(step == place); });
}

// False when a snapshot lacks the instance.
bool collect(const std::vector<Numbers>& steps, const Numbers::key_type& key, Instance& to) {
  for (const Numbers& step : steps) {
    const auto found = step.find(key);
    if (found == step.end()) return false;
    to.motion.push_back(found->second->toWorld);
    to.shapes.push_back(found->second->mesh);
  }
  return true;
}

void addMotion(const std::vector<Numbers>& steps, const Numbers::key_type& key, Instance& instance) {
  Instance moving;
  if (!collect(steps, key, moving)) return;
  if (moves(instance.toWorld, moving.motion)) instance.motion = std::move(moving.motion);
  const bool deforms = std::any_of(moving.shapes.begin(), moving.shapes.end(),
                                   [&](const MeshPtr& shape) { return shape != instance.mesh; });
  if (deforms) instance.shapes = std::move(moving.shapes);
}

} // namespace

SnapshotPtr withMotion(const SnapshotPtr& frame, const std::vector<SnapshotPtr>& steps) {
  auto out = std::make_shared<Snapshot>(*frame);
  std::vector<Numbers> numbers;
  std::vector<Matrix> camera;
  for (const SnapshotPtr& step : steps) {
    numbers.push_back(numbered(*step));
    camera.push_back(step->camera.toWorld);
    for (std::size_t axis = 0; axis < 3 && !step->instances.empty(); ++axis) {
      out->low[axis] = std::min(out->low[axis], step->low[axis]);
      out->high[axis] = std::max(out->high[axis], step->high[axis]);
    }
  }
  if (moves(out->camera.toWorld, camera)) out->camera.motion = std::move(camera);
  std::map<Identity, std::size_t> copies;
  for (Instance& instance : out->instances)
    addMotion(numbers, {instance.object, copies[instance.object]++}, instance);
  return out;
}

} // namespace host
