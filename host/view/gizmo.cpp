#include "gizmo.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <optional>

namespace host {

namespace {

constexpr double pi = std::numbers::pi;
constexpr double axisPixels = 90, ringPixels = 78, viewRingPixels = 92;
constexpr double planeNear = 0.28, planeFar = 0.5; // of an axis
constexpr double boxPixels = 6;                    // half of a square
constexpr double grabPixels = 7;
constexpr int ringCorners = 64;
constexpr double mostPixels = 1e5; // of a place from the view's corner
constexpr double steepest = 0.12;  // sine of the angle between an axis and the line of sight
constexpr double edgeOn = 0.2;     // likewise, between a ring's plane and the line of sight
constexpr double scalePerPixel = 0.006, mostScale = 8; // natural logarithms

int axisOf(GizmoPart part) {
  switch (part) {
  case GizmoPart::x:
  case GizmoPart::acrossX:
    return 0;
  case GizmoPart::y:
  case GizmoPart::acrossY:
    return 1;
  case GizmoPart::z:
  case GizmoPart::acrossZ:
    return 2;
  default:
    return -1;
  }
}

bool isAxis(GizmoPart part) {
  return part == GizmoPart::x || part == GizmoPart::y || part == GizmoPart::z;
}

GizmoPart axisPart(int axis) {
  return axis == 0 ? GizmoPart::x : axis == 1 ? GizmoPart::y : GizmoPart::z;
}
GizmoPart planePart(int axis) {
  return axis == 0 ? GizmoPart::acrossX : axis == 1 ? GizmoPart::acrossY : GizmoPart::acrossZ;
}

const Vector& axisVector(const Matrix& axes, int axis) {
  return axis == 0 ? axes.v1 : axis == 1 ? axes.v2 : axes.v3;
}

/// A line through the view's picture, in doubles.
struct Line {
  Vector origin, direction; // not of length 1
};

Line lineAt(const ViewCamera& camera, double x, double y) {
  const Vector one = camera.pointAt(x, y, 1);
  if (camera.orthographic) return {one, -camera.toWorld.v3};
  return {camera.toWorld.off, one - camera.toWorld.off};
}

/// Of length 1, from the eye to the place.
Vector sightOf(const ViewCamera& camera, const Vector& place) {
  const Vector sight = camera.orthographic ? -camera.toWorld.v3 : place - camera.toWorld.off;
  const double size = std::sqrt(Dot(sight, sight));
  return size > 0 ? sight * (1 / size) : -camera.toWorld.v3;
}

std::optional<Vector> onPlane(const Vector& place, const Vector& normal, const Line& line) {
  const double slope = Dot(normal, line.direction);
  const double size = std::sqrt(Dot(line.direction, line.direction));
  if (!(std::abs(slope) > 1e-4 * size)) return std::nullopt;
  const double at = Dot(normal, place - line.origin) / slope;
  if (at < 0) return std::nullopt; // behind the eye
  return line.origin + line.direction * at;
}

/// The pointer's place along an axis through `place`, as a distance from it: in the plane of the axis that
/// faces the eye.
std::optional<double> alongAxis(const Vector& place, const Vector& axis, const ViewCamera& camera, double x,
                                double y) {
  const Vector normal = Cross(Cross(axis, sightOf(camera, place)), axis);
  const double size = std::sqrt(Dot(normal, normal));
  if (!(size > 1e-4)) return std::nullopt;
  const auto point = onPlane(place, normal * (1 / size), lineAt(camera, x, y));
  if (!point) return std::nullopt;
  return Dot(*point - place, axis);
}

double snapped(double value, double step) {
  return step > 0 ? std::round(value / step) * step : value;
}

Matrix movedBy(const Vector& by) {
  Matrix m;
  m.off = by;
  return m;
}

Matrix about(const Vector& place, const Matrix& change) {
  return movedBy(place) * change * movedBy(-place);
}

/// Right-handed about an axis of length 1: Rodrigues' formula.
Matrix turnAbout(const Vector& axis, double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  const auto turn = [&](const Vector& v) {
    return v * c + Cross(axis, v) * s + axis * (Dot(axis, v) * (1 - c));
  };
  Matrix m;
  m.v1 = turn(Vector(1, 0, 0)), m.v2 = turn(Vector(0, 1, 0)), m.v3 = turn(Vector(0, 0, 1));
  return m;
}

/// Stretches along an axis of length 1.
Matrix stretchAlong(const Vector& axis, double factor) {
  const auto stretch = [&](const Vector& v) { return v + axis * (Dot(axis, v) * (factor - 1)); };
  Matrix m;
  m.v1 = stretch(Vector(1, 0, 0)), m.v2 = stretch(Vector(0, 1, 0)), m.v3 = stretch(Vector(0, 0, 1));
  return m;
}

bool isFinite(const Matrix& m) {
  for (const Vector& v : {m.off, m.v1, m.v2, m.v3})
    if (!std::isfinite(v.x + v.y + v.z)) return false;
  return true;
}

/// Makes the handles of one gizmo.
class Handles {
 public:
  Handles(const Gizmo& gizmo, const ViewCamera& camera)
      : gizmo_(gizmo), camera_(camera), center_(camera.project(gizmo.place)),
        sight_(sightOf(camera, gizmo.place)) {}

  std::vector<GizmoHandle> make() {
    const auto inReach = [](double v) { return std::abs(v) < mostPixels; };
    if (!center_ || !inReach(center_->x) || !inReach(center_->y)) return {};
    pixel_ = camera_.pixelSize(center_->depth);
    if (gizmo_.kind == GizmoKind::turn)
      addRings();
    else
      addAxes();
    return std::move(handles_);
  }

 private:
  const Vector& axis(int index) const { return axisVector(gizmo_.axes, index); }

  std::optional<GizmoPoint> shown(const Vector& point) const {
    const auto spot = camera_.project(point);
    if (!spot) return std::nullopt;
    return GizmoPoint{spot->x, spot->y};
  }

  void add(GizmoPart part, const std::vector<Vector>& points, bool filled, bool faint = false) {
    GizmoHandle handle{part, {}, filled, faint};
    for (const Vector& point : points)
      if (const auto at = shown(point)) handle.line.push_back(*at);
    if (handle.line.size() == points.size()) handles_.push_back(std::move(handle));
  }

  void addSquare(GizmoPart part, GizmoPoint at) {
    const double b = boxPixels;
    handles_.push_back({part,
                        {{at.x - b, at.y - b},
                         {at.x + b, at.y - b},
                         {at.x + b, at.y + b},
                         {at.x - b, at.y + b},
                         {at.x - b, at.y - b}},
                        true});
  }

  void addAxes() {
    const double length = axisPixels * pixel_;
    if (gizmo_.kind == GizmoKind::move) {
      for (int i = 0; i < 3; ++i) {
        if (std::abs(Dot(axis(i), sight_)) < steepest) continue; // seen from its edge
        const Vector a = axis((i + 1) % 3) * length, b = axis((i + 2) % 3) * length;
        const Vector corner = gizmo_.place + a * planeNear + b * planeNear;
        const double side = planeFar - planeNear;
        add(planePart(i),
            {corner, corner + a * side, corner + a * side + b * side, corner + b * side, corner}, true);
      }
    }
    for (int i = 0; i < 3; ++i) {
      if (1 - std::abs(Dot(axis(i), sight_)) < steepest * steepest / 2) continue; // seen from its end
      const Vector end = gizmo_.place + axis(i) * length;
      add(axisPart(i), {gizmo_.place, end}, false);
      const auto tip = shown(end);
      if (gizmo_.kind == GizmoKind::scale && tip) addSquare(axisPart(i), *tip);
      if (gizmo_.kind == GizmoKind::move && tip) addArrow(axisPart(i), *tip);
    }
    addSquare(GizmoPart::view, {center_->x, center_->y});
  }

  void addArrow(GizmoPart part, GizmoPoint tip) {
    const double dx = tip.x - center_->x, dy = tip.y - center_->y, size = std::hypot(dx, dy);
    if (!(size > 1)) return;
    const double ux = dx / size, uy = dy / size;
    const GizmoPoint point{tip.x + 10 * ux, tip.y + 10 * uy};
    handles_.push_back({part,
                        {{tip.x - 5 * uy, tip.y + 5 * ux},
                         point,
                         {tip.x + 5 * uy, tip.y - 5 * ux},
                         {tip.x - 5 * uy, tip.y + 5 * ux}},
                        true});
  }

  void addRings() {
    const Vector right = camera_.toWorld.v1, up = camera_.toWorld.v2;
    ring(GizmoPart::view, right, up, viewRingPixels, false);
    // Far halves first: the near ones lie on top.
    for (const bool far : {true, false})
      for (int i = 0; i < 3; ++i)
        ring(axisPart(i), axis((i + 1) % 3), axis((i + 2) % 3), ringPixels, true, far);
  }

  void ring(GizmoPart part, const Vector& a, const Vector& b, double pixels, bool halves, bool far = false) {
    const double radius = pixels * pixel_;
    std::vector<Vector> run;
    const auto flush = [&] {
      if (run.size() > 1) add(part, run, false, far);
      run.clear();
    };
    for (int i = 0; i <= ringCorners; ++i) {
      const double angle = 2 * pi * i / ringCorners;
      const Vector out = a * std::cos(angle) + b * std::sin(angle);
      const bool behind = Dot(out, sight_) > 1e-6;
      if (halves && behind != far) {
        flush();
        continue;
      }
      run.push_back(gizmo_.place + out * radius);
    }
    flush();
  }

  const Gizmo& gizmo_;
  const ViewCamera& camera_;
  std::optional<ViewCamera::Spot> center_;
  Vector sight_;
  double pixel_ = 1;
  std::vector<GizmoHandle> handles_;
};

double distanceTo(const GizmoPoint& a, const GizmoPoint& b, double x, double y) {
  const double dx = b.x - a.x, dy = b.y - a.y, square = dx * dx + dy * dy;
  const double t = square > 0 ? std::clamp(((x - a.x) * dx + (y - a.y) * dy) / square, 0.0, 1.0) : 0;
  return std::hypot(x - a.x - t * dx, y - a.y - t * dy);
}

bool isInside(const std::vector<GizmoPoint>& line, double x, double y) {
  bool inside = false;
  for (std::size_t i = 0; i + 1 < line.size(); ++i) {
    const GizmoPoint &a = line[i], &b = line[i + 1];
    if ((a.y > y) != (b.y > y) && x < a.x + (b.x - a.x) * (y - a.y) / (b.y - a.y)) inside = !inside;
  }
  return inside;
}

} // namespace

std::vector<GizmoHandle> gizmoHandles(const Gizmo& gizmo, const ViewCamera& camera) {
  return Handles(gizmo, camera).make();
}

GizmoPart gizmoPartAt(const std::vector<GizmoHandle>& handles, double x, double y) {
  GizmoPart part = GizmoPart::none;
  double nearest = grabPixels;
  for (const GizmoHandle& handle : handles) {
    double distance = mostPixels;
    for (std::size_t i = 0; i + 1 < handle.line.size(); ++i)
      distance = std::min(distance, distanceTo(handle.line[i], handle.line[i + 1], x, y));
    if (handle.filled && isInside(handle.line, x, y)) distance = 0;
    if (handle.faint) distance += 3; // the near side wins
    if (distance > nearest) continue;
    nearest = distance;
    part = handle.part;
  }
  return part;
}

GizmoDrag::GizmoDrag(const Gizmo& gizmo, GizmoPart part, const ViewCamera& camera, double x, double y)
    : gizmo_(gizmo), part_(part), camera_(camera), startX_(x), startY_(y) {
}

GizmoChange GizmoDrag::to(double x, double y, const GizmoSteps* steps) {
  GizmoChange change;
  switch (gizmo_.kind) {
  case GizmoKind::move:
    change = moved(x, y, steps);
    break;
  case GizmoKind::turn:
    change = turned(x, y, steps);
    break;
  case GizmoKind::scale:
    change = scaled(x, y, steps);
    break;
  }
  if (!isFinite(change.by) || !std::isfinite(change.amount)) return {};
  return change;
}

GizmoChange GizmoDrag::moved(double x, double y, const GizmoSteps* steps) const {
  const int axis = axisOf(part_);
  if (isAxis(part_)) {
    const Vector& direction = axisVector(gizmo_.axes, axis);
    const auto from = alongAxis(gizmo_.place, direction, camera_, startX_, startY_);
    const auto to = alongAxis(gizmo_.place, direction, camera_, x, y);
    if (!from || !to) return {};
    const double distance = steps ? snapped(*to - *from, steps->move) : *to - *from;
    return {movedBy(direction * distance), distance};
  }
  const Vector normal = axis >= 0 ? axisVector(gizmo_.axes, axis) : camera_.toWorld.v3;
  const auto from = onPlane(gizmo_.place, normal, lineAt(camera_, startX_, startY_));
  const auto to = onPlane(gizmo_.place, normal, lineAt(camera_, x, y));
  if (!from || !to) return {};
  Vector by = *to - *from;
  if (steps) {
    Vector rounded;
    for (int i = 0; i < 3; ++i) {
      const Vector& direction = axisVector(gizmo_.axes, i);
      if (i != axis) rounded = rounded + direction * snapped(Dot(by, direction), steps->move);
    }
    by = rounded;
  }
  return {movedBy(by), std::sqrt(Dot(by, by))};
}

GizmoChange GizmoDrag::turned(double x, double y, const GizmoSteps* steps) {
  const Vector sight = sightOf(camera_, gizmo_.place);
  const bool free = part_ == GizmoPart::view;
  const Matrix& axes = free ? camera_.toWorld : gizmo_.axes;
  const int index = free ? 2 : axisOf(part_);
  const Vector& axis = axisVector(axes, index);
  if (std::abs(Dot(axis, sight)) < edgeOn) {
    // The ring is seen from its edge: the way along its line counts, a radius a radian.
    const Vector along = Cross(axis, sight);
    const double ux = Dot(along, camera_.toWorld.v1), uy = -Dot(along, camera_.toWorld.v2);
    angle_ = -((x - startX_) * ux + (y - startY_) * uy) / ringPixels;
  } else {
    const auto from = onPlane(gizmo_.place, axis, lineAt(camera_, startX_, startY_));
    const auto to = onPlane(gizmo_.place, axis, lineAt(camera_, x, y));
    if (!from || !to) return {};
    const auto angleOf = [&](const Vector& point) {
      const Vector out = point - gizmo_.place;
      return std::atan2(Dot(out, axisVector(axes, (index + 2) % 3)),
                        Dot(out, axisVector(axes, (index + 1) % 3)));
    };
    const double angle = angleOf(*to) - angleOf(*from);
    double step = angle - lastAngle_;
    step -= 2 * pi * std::round(step / (2 * pi));
    lastAngle_ = angle;
    angle_ += step;
  }
  const double angle = steps ? snapped(angle_, steps->turn * pi / 180) : angle_;
  return {about(gizmo_.place, turnAbout(axis, angle)), angle};
}

GizmoChange GizmoDrag::scaled(double x, double y, const GizmoSteps* steps) const {
  const auto limited = [&](double factor) {
    if (steps) factor = std::max(snapped(factor, steps->scale / 100), steps->scale / 100);
    return std::clamp(factor, std::exp(-mostScale), std::exp(mostScale));
  };
  if (!isAxis(part_)) {
    const double factor = limited(std::exp((x - startX_ - (y - startY_)) * scalePerPixel));
    Matrix even;
    even.v1 = even.v1 * factor, even.v2 = even.v2 * factor, even.v3 = even.v3 * factor;
    return {about(gizmo_.place, even), factor};
  }
  const Vector& direction = axisVector(gizmo_.axes, axisOf(part_));
  const auto from = alongAxis(gizmo_.place, direction, camera_, startX_, startY_);
  const auto to = alongAxis(gizmo_.place, direction, camera_, x, y);
  if (!from || !to || std::abs(*from) < 1e-12) return {};
  const double factor = limited(*to / *from);
  return {about(gizmo_.place, stretchAlong(direction, factor)), factor};
}

std::string gizmoText(const Gizmo& gizmo, GizmoPart part, const GizmoChange& change) {
  const char* name = isAxis(part) ? std::array{"X ", "Y ", "Z "}[static_cast<std::size_t>(axisOf(part))] : "";
  std::array<char, 64> text{};
  if (gizmo.kind == GizmoKind::move)
    std::snprintf(text.data(), text.size(), "%s%.3f m", name, change.amount);
  else if (gizmo.kind == GizmoKind::turn)
    std::snprintf(text.data(), text.size(), "%s%.1f°", name, change.amount * 180 / pi);
  else
    std::snprintf(text.data(), text.size(), "%s%.0f %%", name, change.amount * 100);
  return text.data();
}

} // namespace host
