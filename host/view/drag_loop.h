// The synchronous drag of a scene hook: the hook loops, the program's input comes in through a pump. Main
// thread.
#pragma once

#include <functional>
#include <optional>

#include "c4d_view.h"
#include "main_loop.h"
#include "view_input.h"

namespace host {

using DragPump = std::function<bool(DragEvent&)>;

/// QSHIFT, QCTRL, QALT.
LONG qualifierOf(const ViewKeys& keys) noexcept;

/// One `MouseInput` call's drag. The pump may be empty: then a drag ends at once.
class DragLoop {
 public:
  DragLoop(const DragPump& pump, const void* owner) : pump_(pump), owner_(owner) {}

  void start(Real x, Real y);
  MOUSEDRAGRESULT step(Real* dx, Real* dy, BaseContainer* channels);
  MOUSEDRAGRESULT end();

  bool started() const noexcept { return started_; }
  /// Between `start` and `end`.
  bool running() const noexcept { return modal_.has_value(); }
  /// Whether the button has been reported up (or there is no mouse any more).
  bool released() const noexcept { return result_ == MOUSEDRAGRESULT_FINISHED; }

 private:
  const DragPump& pump_;
  const void* owner_;
  bool started_ = false;
  Real x_ = 0, y_ = 0;
  MOUSEDRAGRESULT result_ = MOUSEDRAGRESULT_CONTINUE;
  std::optional<ModalScope> modal_;
};

} // namespace host
