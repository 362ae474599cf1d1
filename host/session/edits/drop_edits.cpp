#include "drop_edits.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "generated_mesh.h"
#include "node_lookup.h"
#include "object_edits.h"

namespace host {

namespace {

constexpr Real nowhere = std::numeric_limits<Real>::infinity();

Real lowestOf(const Mesh& mesh, const Matrix& world) {
  Real lowest = nowhere;
  for (const Float3& p : mesh.positions) {
    const Real y = world.off.y + world.v1.y * Real(p[0]) + world.v2.y * Real(p[1]) + world.v3.y * Real(p[2]);
    if (y < lowest) lowest = y;
  }
  return lowest;
}

// Of an object and all below it, in world space.
Real lowestOf(const DocumentState& document, const ObjectState& object, const Matrix& world) {
  Real lowest = nowhere;
  if (object.type == Opolygon && object.mesh) {
    const MeshPtr mesh = deformedMesh(document, object, nullptr);
    if (mesh && object.placements)
      for (std::size_t copy = 0; copy < object.placements->count; ++copy)
        lowest = std::min(lowest, lowestOf(*mesh, world * matrixOf(*object.placements, copy)));
    else if (mesh)
      lowest = lowestOf(*mesh, world);
  }
  for (const NodeState* node = object.children.first(); node; node = node->next) {
    const auto& child = static_cast<const ObjectState&>(*node);
    lowest = std::min(lowest, lowestOf(document, child, world * child.local));
  }
  return lowest;
}

Real floorHeight(const DocumentState& document) {
  const ObjectState* first = nullptr;
  forEachObject(document.children, [&](const ObjectState& object) {
    if (!first && object.type == Ofloor) first = &object;
  });
  return first ? worldOf(*first).off.y : 0;
}

} // namespace

bool dropObjects(BaseDocument& document, std::span<const Identity> objects) {
  DocumentState& state = stateIn(document);
  const Real floor = floorHeight(state);
  bool done = false;
  for (const Identity identity : topmost(document, objects)) {
    ObjectState* object = objectIn(state, identity);
    if (!object || object->type == Ofloor) continue;
    const Matrix world = worldOf(*object);
    const Real rise = floor - lowestOf(state, *object, world);
    if (!std::isfinite(rise) || rise == 0) continue;
    const ObjectState* parent = parentOf(*object);
    const Vector up(0, rise, 0);
    const Vector step = parent ? worldOf(*parent).Inverse().TransformVector(up) : up;
    object->local.off += step;
    if (object->pose) object->pose->translation += step;
    done = true;
  }
  return done;
}

} // namespace host
