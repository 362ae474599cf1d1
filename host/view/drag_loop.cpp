#include "drag_loop.h"

namespace host {

LONG qualifierOf(const ViewKeys& keys) noexcept {
  return (keys.shift ? QSHIFT : 0) | (keys.ctrl ? QCTRL : 0) | (keys.alt ? QALT : 0);
}

void DragLoop::start(LONG button, Real x, Real y) {
  if ((button == KEY_MLEFT) != leftHeld_) return;
  started_ = true;
  x_ = x, y_ = y;
  if (!modal_) modal_.emplace(owner_);
}

MOUSEDRAGRESULT DragLoop::step(Real* dx, Real* dy, BaseContainer* channels) {
  if (dx) *dx = 0;
  if (dy) *dy = 0;
  if (!modal_) return MOUSEDRAGRESULT_FINISHED;
  if (result_ != MOUSEDRAGRESULT_CONTINUE) return result_;

  DragEvent event;
  if (!pump_ || !pump_(event)) return result_ = MOUSEDRAGRESULT_FINISHED;
  if (event.kind == DragEvent::Kind::escape) return result_ = MOUSEDRAGRESULT_ESCAPE;
  if (channels) {
    channels->SetLong(BFM_INPUT_DEVICE, BFM_INPUT_MOUSE);
    channels->SetLong(BFM_INPUT_CHANNEL, BFM_INPUT_MOUSEMOVE);
    channels->SetReal(BFM_INPUT_X, event.kind == DragEvent::Kind::none ? x_ : event.x);
    channels->SetReal(BFM_INPUT_Y, event.kind == DragEvent::Kind::none ? y_ : event.y);
    channels->SetLong(BFM_INPUT_QUALIFIER, qualifierOf(event.keys));
  }
  if (event.kind == DragEvent::Kind::none) return MOUSEDRAGRESULT_CONTINUE;

  const bool moved = event.x != x_ || event.y != y_;
  if (dx) *dx = event.x - x_;
  if (dy) *dy = event.y - y_;
  x_ = event.x, y_ = event.y;
  if (event.kind == DragEvent::Kind::release) result_ = MOUSEDRAGRESULT_FINISHED;
  return moved ? MOUSEDRAGRESULT_CONTINUE : result_; // a last movement is reported before the end
}

MOUSEDRAGRESULT DragLoop::end() {
  modal_.reset();
  return result_ == MOUSEDRAGRESULT_CONTINUE ? MOUSEDRAGRESULT_FINISHED : result_;
}

} // namespace host

void EditorWindow::MouseDragStart(LONG button, Real mx, Real my, MOUSEDRAGFLAGS /*flags*/) {
  loop_->start(button, mx, my);
}

MOUSEDRAGRESULT EditorWindow::MouseDrag(Real* mx, Real* my, BaseContainer* channels) {
  return loop_->step(mx, my, channels);
}

MOUSEDRAGRESULT EditorWindow::MouseDragEnd() {
  return loop_->end();
}
