// The synchronous drag of a scene hook: the hook runs a loop, and a pump delivers the program's input. Main
// thread.
#pragma once

#include <functional>
#include <optional>

#include "c4d_view.h"
#include "main_loop.h"
#include "view_input.h"

namespace host {

using DragPump = std::function<bool(DragEvent&)>;

/// A combination of QSHIFT, QCTRL and QALT.
LONG qualifierOf(const ViewKeys& keys) noexcept;

/// The drag of one `MouseInput` call. It ends at once without a pump, or with a button that is not held.
class DragLoop {
 public:
  /// `leftHeld`: the left button (KEY_MLEFT) caused the call, not another button or the wheel.
  DragLoop(const DragPump& pump, const void* owner, bool leftHeld)
      : pump_(pump), owner_(owner), leftHeld_(leftHeld) {}

  void start(LONG button, Real x, Real y);
  MOUSEDRAGRESULT step(Real* dx, Real* dy, BaseContainer* channels);
  MOUSEDRAGRESULT end();

  bool started() const noexcept { return started_; }
  /// Between `start` and `end`.
  bool running() const noexcept { return modal_.has_value(); }
  /// Whether the button was released, or the mouse was lost.
  bool released() const noexcept { return result_ == MOUSEDRAGRESULT_FINISHED; }

 private:
  const DragPump& pump_;
  const void* owner_;
  bool leftHeld_;
  bool started_ = false;
  Real x_ = 0, y_ = 0;
  MOUSEDRAGRESULT result_ = MOUSEDRAGRESULT_CONTINUE;
  std::optional<ModalScope> modal_;
};

} // namespace host
