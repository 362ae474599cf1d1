#include "view_picking.h"

#include <algorithm>
#include <cmath>

#include "active_document.h"
#include "document.h"

namespace host {

namespace {

constexpr double symbolReach = 9; // logical pixels around the sign of a light or camera

ViewHit hitAt(const ViewDisplay& display, double x, double y) {
  ViewHit hit;
  const BaseDraw* draw = display.view();
  if (!display.scene() || !draw) return hit;
  const ViewRay ray = viewCameraOf(*draw).ray(x, y);
  display.scene()->trace({&ray, 1}, {&hit, 1});
  return hit;
}

} // namespace

std::optional<Vector> pointUnder(const ViewDisplay& display, double x, double y) {
  const ViewHit hit = hitAt(display, x, y);
  if (!hit.object) return std::nullopt;
  const ViewRay ray = viewCameraOf(*display.view()).ray(x, y);
  const double d = hit.distance;
  return Vector(ray.origin[0] + d * ray.direction[0], ray.origin[1] + d * ray.direction[1],
                ray.origin[2] + d * ray.direction[2]);
}

Vector pivotAt(const ViewDisplay& display, double x, double y) {
  if (const auto point = pointUnder(display, x, y)) return *point;
  const Snapshot* latest = display.scene() ? &display.scene()->snapshot() : nullptr;
  for (const bool activeOnly : {true, false}) {
    const ViewBounds bounds = boundsOf(*display.document(), activeOnly, latest);
    if (!bounds.empty) return bounds.center();
  }
  return {};
}

BaseObject* objectAt(const ViewDisplay& display, double x, double y) {
  BaseDocument* active = display.document();
  const BaseDraw* draw = display.view();
  if (!active || !draw || x < 0 || y < 0 || x >= display.width || y >= display.height) return nullptr;
  const ViewCamera eye = viewCameraOf(*draw);
  Identity found = 0;
  double nearest = symbolReach;
  for (const ViewSymbol& symbol : display.symbols()) {
    if (symbol.object == display.camera()->GetIdentity()) continue;
    const auto spot = eye.project(symbol.place);
    const double distance = spot ? std::hypot(spot->x - x, spot->y - y) : nearest;
    if (distance < nearest) nearest = distance, found = symbol.object;
  }
  if (!found) found = hitAt(display, x, y).object;
  const NodeState* node = found ? findNode(*stateOf(active), found) : nullptr;
  return node && node->kind == NodeKind::object ? nodeOf<BaseObject>(node) : nullptr;
}

std::vector<BaseObject*> objectsIn(const ViewDisplay& display, double x0, double y0, double x1, double y1) {
  std::vector<BaseObject*> objects;
  BaseDocument* active = display.document();
  const BaseDraw* draw = display.view();
  if (!active || !draw) return objects;
  const ViewCamera eye = viewCameraOf(*draw);
  const double left = std::min(x0, x1), right = std::max(x0, x1);
  const double top = std::min(y0, y1), bottom = std::max(y0, y1);
  const auto inside = [&](const Vector& place) {
    const auto spot = eye.project(place);
    return spot && left <= spot->x && spot->x <= right && top <= spot->y && spot->y <= bottom;
  };
  std::unordered_set<Identity> found;
  const Identity own = display.camera()->GetIdentity();
  for (const ViewSymbol& symbol : display.symbols())
    if (symbol.object != own && inside(symbol.place)) found.insert(symbol.object);
  if (display.scene()) {
    for (const Instance& instance : display.scene()->snapshot().instances) {
      if (instance.isFloor || !instance.seenByCamera || found.contains(instance.object)) continue;
      const auto& points = instance.mesh->positions;
      if (std::any_of(points.begin(), points.end(),
                      [&](const auto& p) { return inside(instance.toWorld * Vector(p[0], p[1], p[2])); }))
        found.insert(instance.object);
    }
  }
  forEachObject(stateOf(active)->children, [&](ObjectState& object) {
    if (found.contains(object.identity)) objects.push_back(nodeOf<BaseObject>(&object));
  });
  return objects;
}

} // namespace host
