// The camera of a view, as a value: rays, projection and navigation. Any thread.
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
  double shiftX = 0, shiftY = 0; // of the lens, in widths and heights of the frame: to the right and up
  double near = 0, far = 0;      // along the axis; far 0: without end
  double width = 1, height = 1;

  /// The pixel where the axis lies: the middle of the area, unless the lens is shifted.
  double axisX() const { return width / 2 - shiftX * format * inner * height; }
  double axisY() const { return height / 2 + shiftY * inner * height; }
  ViewRay ray(double x, double y) const;
  struct Spot {
    double x, y, depth; // depth along the axis
  };
  /// Empty for a point behind the camera.
  std::optional<Spot> project(const Vector& point) const;
  /// The width of a pixel at a depth, in metres.
  double pixelSize(double depth) const;
  /// The point under a pixel at a depth.
  Vector pointAt(double x, double y, double depth) const;
  double depthOf(const Vector& point) const;

  friend bool operator==(const ViewCamera& a, const ViewCamera& b) noexcept;
};

/// The camera of a view over its area. Its vertical angle spans the frame's height, as in a render of the
/// frame's shape. The view's own camera has no near limit.
ViewCamera viewCameraOf(const BaseDraw& view);

/// The matrix with orthonormal axes that keeps -Z; identity axes for a degenerate one.
Matrix unitAxes(const Matrix& m);

struct ViewBounds {
  Vector low, high;
  bool empty = true;

  void add(const Vector& point); // ignores points that are not finite
  void add(const Matrix& toWorld, const Float3& meshLow, const Float3& meshHigh);
  Vector center() const { return (low + high) * 0.5; }
  double size() const; // length of the diagonal
};

/// The bounds of the document's polygons. With `activeOnly`: of active objects and their descendants, lights
/// and cameras included with their positions. Generated and deformed geometry comes from `latest` unless it
/// is null. Floors count as a point.
ViewBounds boundsOf(const BaseDocument& document, bool activeOnly, const Snapshot* latest);

namespace navigate {

/// Turns a camera about a point: `yaw` about the world's y, `pitch` about its own x, in radians. The distance
/// to the point stays. An upright camera stays upright: it stops short of the poles.
Matrix orbit(const Matrix& camera, const Vector& pivot, double yaw, double pitch);
/// Moves a camera parallel to its picture plane so that points at `depth` follow the pointer by (dx, dy)
/// pixels.
Matrix pan(const Matrix& camera, const ViewCamera& view, double depth, double dx, double dy);
/// Multiplies a camera's distance to the point by `factor`; the point keeps its place in the picture.
Matrix dolly(const Matrix& camera, const Vector& target, double factor);
/// Moves a camera without turning it so that the bounds fill the frame with a small margin. Orthographic
/// cameras also need `fittingHalf`.
Matrix frame(const Matrix& camera, const ViewCamera& view, const ViewBounds& bounds);
/// Half of the height in metres at which an orthographic picture of the frame's shape shows the bounds.
double fittingHalf(const ViewCamera& view, const ViewBounds& bounds);

} // namespace navigate
} // namespace host
