#include "isolated_snapshot.h"

#include <algorithm>
#include <unordered_set>

#include "node_state.h"

namespace host::render {
namespace {

void addBelow(const NodeList& list, bool shown, std::span<const Identity> objects,
              std::unordered_set<Identity>& all) {
  for (const NodeState* node = list.first(); node; node = node->next) {
    const bool here = shown || std::find(objects.begin(), objects.end(), node->identity) != objects.end();
    if (here) all.insert(node->identity);
    addBelow(node->children, here, objects, all);
  }
}

bool glows(const Snapshot& snapshot, const Instance& instance) {
  return std::any_of(instance.materials.begin(), instance.materials.end(), [&](int material) {
    return snapshot.materials[static_cast<std::size_t>(material)]->emission != Float3{};
  });
}

} // namespace

// The bounds stay those of the whole scene: nothing that depends on its size changes.
SnapshotPtr isolated(const SnapshotPtr& snapshot, const BaseDocument& document,
                     std::span<const Identity> objects) {
  if (!snapshot || objects.empty()) return snapshot;
  std::unordered_set<Identity> shown;
  {
    const auto lock = lockOf(stateOf(&document));
    addBelow(stateOf(&document)->children, false, objects, shown);
  }
  if (shown.empty()) return snapshot;
  auto alone = std::make_shared<Snapshot>(*snapshot);
  alone->instances.clear();
  for (const Instance& instance : snapshot->instances) {
    const bool seen = shown.contains(instance.object);
    if (!seen && !glows(*snapshot, instance)) continue;
    alone->instances.push_back(instance);
    if (!seen) alone->instances.back().seenByCamera = false;
  }
  return alone;
}

} // namespace host::render
