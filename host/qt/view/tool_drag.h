// A drag with the move, turn or scale tool in the editor view. Main thread.
#pragma once

#include <QPointF>
#include <optional>
#include <utility>
#include <vector>

#include "session.h"

namespace host {

class EditorView;

/// The tool of the left button: select draws a box around objects; move, turn and scale work on the selected
/// objects; focus sets a camera's focus distance by one click.
enum class ViewTool { select, move, turn, scale, focus };

/// Pixels that the mouse may move in a click.
constexpr double clickReach = 3;

/// Works on all selected objects once the mouse has moved further than a click may; one step of undo.
class ToolDrag {
 public:
  explicit ToolDrag(Session& session) : session_(session) {}

  /// A press at a point of the view: arms the tool when a selected object, or something below one, is there.
  void arm(const EditorView& view, ViewTool tool, const QPointF& at);
  bool isArmed() const { return grip_.has_value(); }
  bool isRunning() const { return grip_ && grip_->running; }
  /// The mouse has moved.
  void drag(const QPointF& at);
  /// Makes the step, or takes the change back. False when the drag had not begun.
  bool end(bool keep);
  /// Forgets it: another document.
  void forget() { grip_.reset(); }

 private:
  struct Grip {
    ViewTool tool = ViewTool::select;
    bool running = false;
    QPointF start;
    Vector place; // of the object that was grasped, in world space
    std::vector<std::pair<Identity, Matrix>> objects;
  };
  Matrix change(const Grip& grip, const QPointF& at) const;

  Session& session_;
  std::optional<Grip> grip_;
};

} // namespace host
