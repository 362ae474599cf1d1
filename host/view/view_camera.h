// What a view looks through: rays, projection and the moves of navigation, as values. Any thread.
#pragma once

#include <optional>
#include <span>

#include "c4d_document.h"
#include "view_rays.h"

namespace host {

/// A camera over a view's area in logical pixels: (0, 0) is its upper left corner, y points down. The view's
/// frame lies in the middle of the area.
struct ViewCamera {
  Matrix toWorld; // unit axes at right angles, looks along -Z
  bool orthographic = false;
  double half = 0.4;    // perspective: tangent of half the vertical angle of the whole area; orthographic:
                        // half its height in metres
  double inner = 1;     // the frame's height by the area's: the part of `half` that the camera's angle spans
  double format = 1.78; // the frame's width by its height
  double near = 0, far = 0; // along the axis; far 0: without end
  double width = 1, height = 1;

  ViewRay ray(double x, double y) const;
  struct Spot {
    double x, y, depth; // depth along the axis
  };
  /// Nothing for what lies behind the camera.
  std::optional<Spot> project(const Vector& point) const;
  /// Metres across a pixel at a depth.
  double pixelSize(double depth) const;
  /// The point under a pixel at a depth.
  Vector pointAt(double x, double y, double depth) const;
  double depthOf(const Vector& point) const;

  friend bool operator==(const ViewCamera& a, const ViewCamera& b) noexcept;
};

/// The camera of a view over its area. The camera's vertical angle spans the frame's height, as a render of
/// the frame's shape has it. The view's own camera sees as near as wanted.
ViewCamera viewCameraOf(const BaseDraw& view);

/// Unit axes at right angles, -Z kept; the identity's for what has no axes.
Matrix unitAxes(const Matrix& m);

struct ViewBounds {
  Vector low, high;
  bool empty = true;

  void add(const Vector& point); // what is not finite is left out
  void add(const Matrix& toWorld, const Float3& meshLow, const Float3& meshHigh);
  Vector center() const { return (low + high) * 0.5; }
  double size() const; // length of the diagonal
};

/// The bounds of what the document shows: polygons, and of lights and cameras their places. With `activeOnly`
/// only active objects with what hangs below them; lights and cameras count only then. Generated and deformed
/// geometry is as `latest` has it, when it is there. Floors count as a point.
ViewBounds boundsOf(const BaseDocument& document, bool activeOnly, const Snapshot* latest);

namespace navigate {

/// Turns a camera about a point: `yaw` about the world's y, `pitch` about its own x, in radians. The distance
/// to the point stays. A camera that stands upright stays so: it stops short of the poles.
Matrix orbit(const Matrix& camera, const Vector& pivot, double yaw, double pitch);
/// Moves it parallel to its picture so that what lies at `depth` follows the pointer by (dx, dy) pixels.
Matrix pan(const Matrix& camera, const ViewCamera& view, double depth, double dx, double dy);
/// Moves it so that its distance to the point is `factor` times as long; the point keeps its place in the
/// picture.
Matrix dolly(const Matrix& camera, const Vector& target, double factor);
/// Moves it, keeping its direction, so that the bounds fill the frame with a little air.
/// Orthographic cameras need `fittingHalf` too.
Matrix frame(const Matrix& camera, const ViewCamera& view, const ViewBounds& bounds);
/// Half the height in metres that shows the bounds in an orthographic picture of the frame's shape.
double fittingHalf(const ViewCamera& view, const ViewBounds& bounds);

} // namespace navigate
} // namespace host
