#include "view_camera.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "document.h"
#include "light_source.h"
#include "parameters.h"
#include "snapshot_range.h"

namespace host {

namespace {

constexpr double air = 1.06; // margin around the framed bounds

Float3 floats(const Vector& v) {
  return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

double length(const Vector& v) {
  return std::sqrt(Dot(v, v));
}

Vector unit(const Vector& v, const Vector& otherwise) {
  const double l = length(v);
  return l > 0 && std::isfinite(l) ? v * (1 / l) : otherwise;
}

bool finite(const Vector& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

template <class Visit>
void forEachCorner(const Vector& low, const Vector& high, const Visit& visit) {
  for (int corner = 0; corner < 8; ++corner)
    visit(Vector(corner & 1 ? high.x : low.x, corner & 2 ? high.y : low.y, corner & 4 ? high.z : low.z));
}

// Rotation of `v` about a unit axis (Rodrigues).
Vector rotated(const Vector& v, const Vector& axis, double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  return v * c + Cross(axis, v) * s + axis * (Dot(axis, v) * (1 - c));
}

} // namespace

Matrix unitAxes(const Matrix& m) {
  const Vector z = unit(m.v3, {0, 0, 1});
  Vector y = unit(m.v2 - z * Dot(z, m.v2), Vector());
  if (y == Vector())
    y = unit(Cross(z, std::abs(z.y) < 0.9 ? Cross({0, 1, 0}, z) : Vector(1, 0, 0)), {0, 1, 0});
  return {eyeInRange(m.off), Cross(y, z), y, z};
}

ViewRay ViewCamera::ray(double x, double y) const {
  const double unitsPerPixel = 2 * half / height;
  const Vector across =
      toWorld.v1 * ((x - axisX()) * unitsPerPixel) + toWorld.v2 * ((axisY() - y) * unitsPerPixel);
  const Vector forward = -toWorld.v3;
  ViewRay ray;
  double stretch = 1;
  if (orthographic) {
    ray.origin = floats(toWorld.off + across);
    ray.direction = floats(forward);
  } else {
    const Vector d = forward + across;
    stretch = length(d);
    ray.origin = floats(toWorld.off);
    ray.direction = floats(d * (1 / stretch));
  }
  ray.near = static_cast<float>(std::max(0.0, near) * stretch);
  ray.far = far > near ? static_cast<float>(std::min(1e30, far * stretch)) : 1e30f;
  return ray;
}

double ViewCamera::depthOf(const Vector& point) const {
  return -Dot(point - toWorld.off, toWorld.v3);
}

std::optional<ViewCamera::Spot> ViewCamera::project(const Vector& point) const {
  const Vector d = point - toWorld.off;
  const double depth = -Dot(d, toWorld.v3);
  if (!(depth > 1e-9) && !orthographic) return std::nullopt;
  const double scale = height / (2 * half * (orthographic ? 1 : depth));
  return Spot{axisX() + Dot(d, toWorld.v1) * scale, axisY() - Dot(d, toWorld.v2) * scale, depth};
}

double ViewCamera::pixelSize(double depth) const {
  return 2 * half / height * (orthographic ? 1 : depth);
}

Vector ViewCamera::pointAt(double x, double y, double depth) const {
  const double size = pixelSize(depth);
  return toWorld.off - toWorld.v3 * depth + toWorld.v1 * ((x - axisX()) * size) +
         toWorld.v2 * ((axisY() - y) * size);
}

bool operator==(const ViewCamera& a, const ViewCamera& b) noexcept {
  return a.toWorld == b.toWorld && a.orthographic == b.orthographic && a.half == b.half &&
         a.inner == b.inner && a.format == b.format && a.shiftX == b.shiftX && a.shiftY == b.shiftY &&
         a.near == b.near && a.far == b.far && a.width == b.width && a.height == b.height;
}

ViewCamera viewCameraOf(const BaseDraw& view) {
  const BaseObject* sceneCamera = view.GetSceneCamera(nullptr);
  const BaseObject* camera = sceneCamera ? sceneCamera : view.GetEditorCamera();
  const ObjectState& state = *stateOf(camera);
  ViewCamera result;
  result.toWorld = unitAxes(worldOf(state));
  result.orthographic = param::integer(state, param::cameraProjection) == 1;
  const auto real = [&state](LONG id, double low, double high, double otherwise) {
    const double value = param::real(state, id);
    return std::isfinite(value) ? std::clamp(value, low, high) : otherwise;
  };
  result.half = result.orthographic ? std::max(1e-9, std::abs(real(param::cameraYmag, -1e9, 1e9, 1)))
                                    : std::tan(viewAngleOf(state) / 2);
  result.shiftX = real(param::cameraShiftX, -farthestShift, farthestShift, 0);
  result.shiftY = real(param::cameraShiftY, -farthestShift, farthestShift, 0);
  result.near = sceneCamera ? real(param::cameraNear, 0, 1e30, 0) : 0;
  result.far = sceneCamera ? real(param::cameraFar, 0, 1e30, 0) : 0;

  const auto [left, top, right, bottom] = stateOf(&view)->area;
  result.width = std::max<LONG>(1, right - left);
  result.height = std::max<LONG>(1, bottom - top);
  LONG frameLeft = 0, frameTop = 0, frameRight = 0, frameBottom = 0;
  view.GetFrame(&frameLeft, &frameTop, &frameRight, &frameBottom);
  const double frameWidth = std::max<LONG>(1, frameRight - frameLeft);
  const double frameHeight = std::max<LONG>(1, frameBottom - frameTop);
  result.format = frameWidth / frameHeight;
  const double fit = result.orthographic ? 0 : real(param::cameraFitAspect, 0, 1000, 0);
  if (result.format < fit) result.half *= fit / result.format;
  result.inner = frameHeight / result.height;
  result.half /= result.inner;
  return result;
}

void ViewBounds::add(const Vector& p) {
  if (!finite(p)) return;
  low = empty ? p : Vector(std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z));
  high = empty ? p : Vector(std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z));
  empty = false;
}

void ViewBounds::add(const Matrix& toWorld, const Float3& meshLow, const Float3& meshHigh) {
  forEachCorner({meshLow[0], meshLow[1], meshLow[2]}, {meshHigh[0], meshHigh[1], meshHigh[2]},
                [&](const Vector& corner) { add(toWorld * corner); });
}

double ViewBounds::size() const {
  return empty ? 0 : length(high - low);
}

namespace {

using InstancesOf = std::unordered_map<Identity, const Instance*>;

void addObjects(const NodeList& list, const Matrix& above, bool aboveCounts, bool activeOnly,
                const InstancesOf& instances, ViewBounds& bounds) {
  for (const NodeState* node = list.first(); node; node = node->next) {
    const auto& object = static_cast<const ObjectState&>(*node);
    const Matrix world = above * object.local;
    const bool counts = aboveCounts || (object.bits & BIT_ACTIVE) != 0;
    const auto instance = instances.find(object.identity);
    if (counts && instance != instances.end() && !instance->second->isFloor)
      bounds.add(instance->second->toWorld, instance->second->mesh->low, instance->second->mesh->high);
    else if (counts && object.mesh && !object.mesh->triangles.empty())
      bounds.add(world, object.mesh->low, object.mesh->high);
    else if (counts && activeOnly)
      bounds.add(world.off);
    addObjects(object.children, world, counts, activeOnly, instances, bounds);
  }
}

} // namespace

ViewBounds boundsOf(const BaseDocument& document, bool activeOnly, const Snapshot* latest) {
  InstancesOf instances;
  if (latest)
    for (const Instance& instance : latest->instances)
      instances.emplace(instance.object, &instance);
  ViewBounds bounds;
  addObjects(stateOf(&document)->children, Matrix(), !activeOnly, activeOnly, instances, bounds);
  return bounds;
}

namespace navigate {

Matrix orbit(const Matrix& camera, const Vector& pivot, double yaw, double pitch) {
  constexpr double limit = 1.5690; // a little less than a right angle
  const Vector back = unit(camera.v3, {0, 0, 1}), side = unit(camera.v1, {1, 0, 0});
  if (camera.v2.y > 0) {
    // Turning about the camera's own x axis by `pitch` raises it by -pitch.
    const double elevation = std::asin(std::clamp(back.y, -1.0, 1.0));
    const double low = std::min(-limit, elevation), high = std::max(limit, elevation);
    pitch = elevation - std::clamp(elevation - pitch, low, high);
  }
  const Vector up(0, 1, 0);
  const auto turn = [&](const Vector& v) { return rotated(rotated(v, side, pitch), up, yaw); };
  return {pivot + turn(camera.off - pivot), turn(camera.v1), turn(camera.v2), turn(camera.v3)};
}

Matrix pan(const Matrix& camera, const ViewCamera& view, double depth, double dx, double dy) {
  const double size = view.pixelSize(depth);
  Matrix moved = camera;
  moved.off += view.toWorld.v1 * (-dx * size) + view.toWorld.v2 * (dy * size);
  return moved;
}

Matrix dolly(const Matrix& camera, const Vector& target, double factor) {
  Matrix moved = camera;
  moved.off = target + (camera.off - target) * factor;
  return moved;
}

double fittingHalf(const ViewCamera& view, const ViewBounds& bounds) {
  const Vector center = bounds.center();
  double half = 1e-6;
  forEachCorner(bounds.low, bounds.high, [&](const Vector& corner) {
    const Vector d = corner - center;
    half =
        std::max({half, std::abs(Dot(d, view.toWorld.v2)), std::abs(Dot(d, view.toWorld.v1)) / view.format});
  });
  return half * air;
}

Matrix frame(const Matrix& camera, const ViewCamera& view, const ViewBounds& bounds) {
  if (bounds.empty) return camera;
  const Vector center = bounds.center();
  const double tanY = view.half * view.inner, tanX = tanY * view.format;
  // The way aside to the middle of the picture, one along the axis; orthographic: the way at any depth.
  const double asideX = 2 * view.shiftX * tanX, asideY = 2 * view.shiftY * tanY;
  double distance = 1e-6;
  forEachCorner(bounds.low, bounds.high, [&](const Vector& corner) {
    const Vector d = corner - center;
    const double depth = Dot(d, view.toWorld.v3);
    const double across = std::max(std::abs(Dot(d, view.toWorld.v1) + asideX * depth) / tanX,
                                   std::abs(Dot(d, view.toWorld.v2) + asideY * depth) / tanY);
    distance = std::max(distance, view.orthographic ? depth : depth + across);
  });
  if (bounds.size() == 0) distance = 3; // a point: a distance that suits an object of a metre
  const double back = distance * air + view.near, along = view.orthographic ? 1 : back;
  Matrix moved = camera;
  moved.off = center + view.toWorld.v3 * back - (view.toWorld.v1 * asideX + view.toWorld.v2 * asideY) * along;
  return moved;
}

} // namespace navigate
} // namespace host
