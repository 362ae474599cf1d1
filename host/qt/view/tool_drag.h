// Drags with the move, turn and scale tools in the editor view, and their handles. Main thread.
#pragma once

#include <QPointF>
#include <QString>
#include <optional>
#include <utility>
#include <vector>

#include "gizmo.h"
#include "session.h"

namespace host {

class EditorView;

/// The tool of the left button: select draws a box around objects; move, turn and scale work on the selected
/// objects; focus sets a camera's focus distance by one click.
enum class ViewTool { select, move, turn, scale, focus };

/// Pixels that the mouse may move in a click.
constexpr double clickReach = 3;

/// The user's choices for handles, kept in the preferences.
struct ToolChoices {
  bool objectAxes = false; // of moves and turns; scales always have the object's
  GizmoSteps steps;

  static ToolChoices kept();
  void keep() const;
};

/// Works on all selected objects once the mouse has moved further than a click may; one step of undo. A drag
/// begins at a handle, or on a selected object, which moves in the picture plane, turns about the vertical or
/// is scaled evenly.
class ToolDrag {
 public:
  explicit ToolDrag(Session& session) : session_(session) {}

  /// The handles of a tool for the selected objects, by the present choices; empty without any.
  std::vector<GizmoHandle> handles(ViewTool tool) const;
  /// The handle under the pointer, or the one that is dragged.
  GizmoPart part() const { return grip_ ? grip_->part : under_; }
  /// The pointer is at a point; true when it has reached or left a handle.
  bool hover(ViewTool tool, const QPointF& at);

  /// A press at a point of the view: arms the tool when a handle is there.
  bool grab(ViewTool tool, const QPointF& at);
  /// Likewise, when a selected object, or something below one, is there.
  void arm(const EditorView& view, ViewTool tool, const QPointF& at);
  bool isArmed() const { return grip_.has_value(); }
  bool isRunning() const { return grip_ && grip_->running; }
  /// The mouse has moved. `snap`: in steps.
  void drag(const QPointF& at, bool snap);
  /// Makes the step, or takes the change back. False when the drag had not begun.
  bool end(bool keep);
  /// Forgets it: another document.
  void forget() { grip_.reset(); }
  /// The amount of the running drag of a handle, and the pointer's place; empty without one.
  QString text() const { return isRunning() ? grip_->text : QString(); }
  QPointF pointer() const { return grip_ ? grip_->at : QPointF(); }

 private:
  struct Grip {
    ViewTool tool = ViewTool::select;
    bool running = false;
    QPointF start, at;
    Vector place; // of the object that was grasped, in world space
    std::vector<std::pair<Identity, Matrix>> objects;
    GizmoPart part = GizmoPart::none;
    std::optional<Gizmo> gizmo; // with a part
    std::optional<GizmoDrag> drag;
    GizmoSteps steps;
    QString text;
  };
  std::optional<Gizmo> gizmo(ViewTool tool) const;
  void hold(Grip grip);
  Matrix change(Grip& grip, const QPointF& at, bool snap) const;

  Session& session_;
  std::optional<Grip> grip_;
  GizmoPart under_ = GizmoPart::none;
};

} // namespace host
