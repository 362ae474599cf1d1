// Picking and navigation of a view.
#include <algorithm>
#include <cmath>

#include "active_document.h"
#include "document.h"
#include "editor_view_self.h"
#include "parameters.h"

namespace host {

namespace {

constexpr double symbolReach = 9; // logical pixels around the sign of a light or camera
constexpr double turnPerPixel = 0.008;
constexpr double dollyPerPixel = 0.006;

Gesture gestureOf(const ViewMouse& mouse) {
  if (mouse.button == MouseButton::left && mouse.keys.digit >= 1 && mouse.keys.digit <= 3)
    return mouse.keys.digit == 1 ? Gesture::orbit : mouse.keys.digit == 2 ? Gesture::pan : Gesture::dolly;
  if (mouse.button == MouseButton::middle) return Gesture::pan;
  if (!mouse.keys.alt) return Gesture::none;
  return mouse.button == MouseButton::left    ? Gesture::orbit
         : mouse.button == MouseButton::right ? Gesture::dolly
                                              : Gesture::none;
}

bool finite(const Matrix& m) {
  const Vector sum = m.off + m.v1 + m.v2 + m.v3;
  return std::isfinite(sum.x + sum.y + sum.z);
}

} // namespace

ViewHit EditorView::Self::hitAt(double x, double y) const {
  ViewHit hit;
  const BaseDraw* draw = view();
  if (!scene_ || !draw) return hit;
  const ViewRay ray = viewCameraOf(*draw).ray(x, y);
  scene_->trace({&ray, 1}, {&hit, 1});
  return hit;
}

std::optional<Vector> EditorView::Self::pointUnder(double x, double y) const {
  const ViewHit hit = hitAt(x, y);
  if (!hit.object) return std::nullopt;
  const ViewRay ray = viewCameraOf(*view()).ray(x, y);
  const double d = hit.distance;
  return Vector(ray.origin[0] + d * ray.direction[0], ray.origin[1] + d * ray.direction[1],
                ray.origin[2] + d * ray.direction[2]);
}

// The point that navigation turns about: under the pointer, else the selection's middle, else the scene's.
Vector EditorView::Self::pivotAt(double x, double y) const {
  if (const auto point = pointUnder(x, y)) return *point;
  const Snapshot* latest = scene_ ? &scene_->snapshot() : nullptr;
  for (const bool activeOnly : {true, false}) {
    const ViewBounds bounds = boundsOf(*document(), activeOnly, latest);
    if (!bounds.empty) return bounds.center();
  }
  return {};
}

BaseObject* EditorView::Self::objectAt(double x, double y) const {
  BaseDocument* active = document();
  const BaseDraw* draw = view();
  if (!active || !draw || x < 0 || y < 0 || x >= width || y >= height) return nullptr;
  const ViewCamera eye = viewCameraOf(*draw);
  Identity found = 0;
  double nearest = symbolReach;
  for (const ViewSymbol& symbol : symbols_) {
    if (symbol.object == camera()->GetIdentity()) continue;
    const auto spot = eye.project(symbol.place);
    const double distance = spot ? std::hypot(spot->x - x, spot->y - y) : nearest;
    if (distance < nearest) nearest = distance, found = symbol.object;
  }
  if (!found) found = hitAt(x, y).object;
  const NodeState* node = found ? findNode(*stateOf(active), found) : nullptr;
  return node && node->kind == NodeKind::object ? nodeOf<BaseObject>(node) : nullptr;
}

std::vector<BaseObject*> EditorView::Self::objectsIn(double x0, double y0, double x1, double y1) const {
  std::vector<BaseObject*> objects;
  BaseDocument* active = document();
  const BaseDraw* draw = view();
  if (!active || !draw) return objects;
  const ViewCamera eye = viewCameraOf(*draw);
  const double left = std::min(x0, x1), right = std::max(x0, x1);
  const double top = std::min(y0, y1), bottom = std::max(y0, y1);
  const auto inside = [&](const Vector& place) {
    const auto spot = eye.project(place);
    return spot && left <= spot->x && spot->x <= right && top <= spot->y && spot->y <= bottom;
  };
  std::unordered_set<Identity> found;
  const Identity own = camera()->GetIdentity();
  for (const ViewSymbol& symbol : symbols_)
    if (symbol.object != own && inside(symbol.place)) found.insert(symbol.object);
  if (scene_) {
    for (const Instance& instance : scene_->snapshot().instances) {
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

void EditorView::Self::selectHere(BaseObject* object, bool add) {
  BaseDocument& active = *document();
  {
    const DocumentEdit edit(active);
    const bool wasActive = object && object->GetBit(BIT_ACTIVE);
    if (!add)
      forEachObject(stateOf(&active)->children, [](ObjectState& other) { other.bits &= ~BIT_ACTIVE; });
    if (object && add && wasActive)
      object->DelBit(BIT_ACTIVE);
    else if (object)
      object->SetBit(BIT_ACTIVE);
  }
  if (selectionShows(active)) EventAdd();
}

void EditorView::Self::pick(double x, double y, bool add) {
  BaseObject* object = objectAt(x, y);
  if (!object && add) return; // nothing to add
  if (services.select)
    services.select(object, add);
  else
    selectHere(object, add);
  requestPicture(true);
}

BaseObject* EditorView::Self::camera() const {
  const BaseDraw* draw = view();
  if (!draw) return nullptr;
  BaseObject* sceneCamera = draw->GetSceneCamera(nullptr);
  return sceneCamera ? sceneCamera : draw->GetEditorCamera();
}

void EditorView::Self::cameraMoved() {
  if (services.viewChanged) services.viewChanged();
  requestPicture(false);
}

void EditorView::Self::setCamera(const Matrix& world, bool finished) {
  if (!finite(world)) return;
  if (isOwnCamera()) {
    const DocumentEdit edit(*document());
    camera()->SetMg(world);
  } else if (services.moveCamera) {
    services.moveCamera(*camera(), world, finished);
    lookAgain_ = true; // other things may hang on it
  } else {
    return;
  }
  cameraMoved();
}

void EditorView::Self::setHalfHeight(double half, bool finished) {
  half = std::clamp(half, 1e-6, 1e9);
  if (isOwnCamera()) {
    const DocumentEdit edit(*document());
    camera()->SetParameter(param::cameraYmag, half);
  } else if (services.zoomCamera) {
    services.zoomCamera(*camera(), half, finished);
  } else {
    return;
  }
  cameraMoved();
}

bool EditorView::Self::startGesture(const ViewMouse& mouse) {
  const Gesture gesture = gestureOf(mouse);
  if (gesture == Gesture::none) return false;
  navigation = {gesture,
                mouse.x,
                mouse.y,
                camera()->GetMg(),
                1,
                viewCameraOf(*view()),
                pivotAt(mouse.x, mouse.y),
                camera()->GetIdentity(),
                false};
  navigation.half = navigation.view.half * navigation.view.inner;
  return true;
}

// Always from where it began, so that no rounding adds up.
void EditorView::Self::moveGesture(double x, double y, bool finished) {
  Navigation& now = navigation;
  const double dx = x - now.x, dy = y - now.y;
  if (!now.moved && dx == 0 && dy == 0) return;
  now.moved = true;
  const double depth = now.view.depthOf(now.pivot);
  switch (now.gesture) {
  case Gesture::orbit:
    setCamera(navigate::orbit(now.camera, now.pivot, -dx * turnPerPixel, -dy * turnPerPixel), finished);
    break;
  case Gesture::pan:
    setCamera(navigate::pan(now.camera, now.view, depth > 1e-6 ? depth : 1, dx, dy), finished);
    break;
  case Gesture::dolly: {
    const double factor = std::exp(std::clamp((dy - dx) * dollyPerPixel, -20.0, 20.0));
    if (now.view.orthographic)
      setHalfHeight(now.half * factor, finished);
    else
      setCamera(navigate::dolly(now.camera, now.pivot, factor), finished);
    break;
  }
  case Gesture::none:
    break;
  }
}

void EditorView::Self::frameObjects(bool activeOnly) {
  if (!ready()) return;
  const Snapshot* latest = scene_ && !lookAgain_ ? &scene_->snapshot() : nullptr;
  ViewBounds bounds = boundsOf(*document(), activeOnly, latest);
  if (bounds.empty && activeOnly) bounds = boundsOf(*document(), false, latest);
  if (bounds.empty) bounds.add({-1, -1, -1}), bounds.add({1, 1, 1});
  const ViewCamera eye = viewCameraOf(*view());
  const Matrix before = camera()->GetMg();
  const Matrix world = navigate::frame(before, eye, bounds);
  if (eye.orthographic) setHalfHeight(navigate::fittingHalf(eye, bounds), true);
  if (isOwnCamera()) {
    // What is small is looked at from nearby: the render must not cut it away.
    const double distance = std::sqrt(Dot(world.off - bounds.center(), world.off - bounds.center()));
    const DocumentEdit edit(*document());
    if (distance < 1) camera()->SetParameter(param::cameraNear, distance * 0.01);
  }
  setCamera(world, true);
}

} // namespace host
