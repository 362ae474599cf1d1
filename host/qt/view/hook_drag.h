// The nested event loop of a drag that a scene hook runs in the editor view. Main thread.
#pragma once

#include <deque>

#include "editor_view.h"

class QEventLoop;

namespace host {

/// Events of the mouse and keyboard queue here while the hook asks for them one by one.
class HookDrag {
 public:
  /// A press has come: no drag has run since.
  void reset();
  /// Whether a hook has asked for an event since `reset`.
  bool hasRun() const { return run_; }
  void queue(const DragEvent& event);
  /// Gives the next event, or an empty one after some milliseconds; serves the program meanwhile. False when
  /// the drag is over. `visible`: whether the view is on screen.
  bool next(DragEvent& event, bool visible);
  /// Ends a drag that runs.
  void finish();

 private:
  std::deque<DragEvent> events_;
  QEventLoop* loop_ = nullptr;
  bool run_ = false, over_ = false;
};

} // namespace host
