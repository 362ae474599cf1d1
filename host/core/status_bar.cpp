#include "status_bar.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "c4d_events.h"
#include "main_loop.h"

namespace host {

namespace {

struct Bar {
  std::mutex mutex;
  StatusState state;
  bool posted = false;
  std::function<void(const StatusState&)> listener; // main thread
};

Bar& bar() {
  static Bar& one = *new Bar; // outlives every thread
  return one;
}

void show() {
  StatusState state;
  {
    const std::lock_guard lock(bar().mutex);
    bar().posted = false;
    state = bar().state;
  }
  const auto listener = bar().listener;
  if (listener) listener(state);
}

template <class Change>
void changeStatus(const Change& change) {
  bool post = false;
  {
    const std::lock_guard lock(bar().mutex);
    change(bar().state);
    post = !std::exchange(bar().posted, true);
  }
  if (post) mainLoop().post(show, Urgency::painting);
}

} // namespace

StatusState statusState() {
  const std::lock_guard lock(bar().mutex);
  return bar().state;
}

void setStatusListener(std::function<void(const StatusState&)> listener) {
  bar().listener = std::move(listener);
}

} // namespace host

using host::StatusState;

void StatusSetText(const String& text) {
  host::changeStatus([&](StatusState& state) { state.text = text; });
}

void StatusSetBar(LONG percent) {
  host::changeStatus([&](StatusState& state) {
    state.percent = std::clamp<LONG>(percent, 0, 100);
    state.spinning = false;
  });
}

void StatusSetSpin() {
  host::changeStatus([](StatusState& state) {
    state.spinning = true;
    state.percent = -1;
    ++state.ticks;
  });
}

void StatusClear() {
  host::changeStatus([](StatusState& state) {
    const std::uint64_t ticks = state.ticks;
    state = StatusState();
    state.ticks = ticks;
  });
}
