// The handles of the move, turn and scale tools, as values: their places on the screen, and the change that a
// drag of one makes. Any thread.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "view_camera.h"

namespace host {

enum class GizmoKind { move, turn, scale };

/// The axes x, y, z; the planes across them (of a move); the picture plane: a free move, a turn about the
/// line of sight, an even scale.
enum class GizmoPart { none, x, y, z, acrossX, acrossY, acrossZ, view };

struct Gizmo {
  GizmoKind kind = GizmoKind::move;
  Vector place; // world space
  Matrix axes;  // unit axes at right angles; the offset is not used

  friend bool operator==(const Gizmo&, const Gizmo&) = default;
};

/// Steps of a snapped drag.
struct GizmoSteps {
  double move = 0.1; // metres
  double turn = 15;  // degrees
  double scale = 10; // percent
};

/// Logical pixels of the view.
struct GizmoPoint {
  double x = 0, y = 0;
};

struct GizmoHandle {
  GizmoPart part = GizmoPart::none;
  std::vector<GizmoPoint> line; // neighbours are joined; a closed one ends where it begins
  bool filled = false;          // the inside counts, too
  bool faint = false;           // the far side of a ring
};

/// The handles, those on top last. Empty when the place lies behind the camera or far out of the view.
/// Handles that the camera looks along are left out: a drag could not move them.
std::vector<GizmoHandle> gizmoHandles(const Gizmo& gizmo, const ViewCamera& camera);

/// The topmost handle within a few pixels of a point.
GizmoPart gizmoPartAt(const std::vector<GizmoHandle>& handles, double x, double y);

/// The change of a drag, for matrices in world space: new = change.by * old.
struct GizmoChange {
  Matrix by;
  double amount = 0; // metres along an axis or in all, radians, or a factor
};

/// A drag of a handle. Angles beyond half a turn are followed, so moves must come in order.
class GizmoDrag {
 public:
  GizmoDrag(const Gizmo& gizmo, GizmoPart part, const ViewCamera& camera, double x, double y);

  /// The pointer is at (x, y); `steps` null: no snapping. The change is none where it would not be finite.
  GizmoChange to(double x, double y, const GizmoSteps* steps);

 private:
  GizmoChange moved(double x, double y, const GizmoSteps* steps) const;
  GizmoChange turned(double x, double y, const GizmoSteps* steps);
  GizmoChange scaled(double x, double y, const GizmoSteps* steps) const;

  Gizmo gizmo_;
  GizmoPart part_;
  ViewCamera camera_;
  double startX_, startY_;
  double lastAngle_ = 0, angle_ = 0;
};

/// "X 0.35 m", "45.0°", "120 %", for a label beside the pointer.
std::string gizmoText(const Gizmo& gizmo, GizmoPart part, const GizmoChange& change);

} // namespace host
