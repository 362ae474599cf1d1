#include "hook_drag.h"

#include <utility>

namespace host {

namespace {

constexpr int patience = 10; // milliseconds

} // namespace

void HookDrag::reset() {
  run_ = false;
  events_.clear();
}

// Of several moves that wait only the last one counts.
void HookDrag::queue(const DragEvent& event) {
  if (event.kind == DragEvent::Kind::move && !events_.empty() && events_.back().kind == DragEvent::Kind::move)
    events_.pop_back();
  events_.push_back(event);
  if (loop_) loop_->quit();
}

bool HookDrag::next(DragEvent& event, bool visible) {
  if (!std::exchange(run_, true)) over_ = !visible;
  if (events_.empty() && !over_) {
    QEventLoop loop;
    loop_ = &loop;
    QTimer::singleShot(patience, &loop, &QEventLoop::quit);
    loop.exec();
    loop_ = nullptr;
  }
  if (over_) return false;
  event = {};
  if (events_.empty()) return true;
  event = events_.front();
  events_.pop_front();
  return true;
}

void HookDrag::finish() {
  over_ = true;
  if (loop_) loop_->quit();
}

} // namespace host
