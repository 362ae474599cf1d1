// The model of the status bar. Any thread changes it without blocking; a program shows it.
#pragma once

#include <cstdint>
#include <functional>

#include "c4d_string.h"

namespace host {

struct StatusState {
  String text;
  LONG percent = -1;       // 0 to 100; -1: no bar
  bool spinning = false;   // busy, progress unknown
  std::uint64_t ticks = 0; // one more with every spin call: drives the animation
  friend bool operator==(const StatusState&, const StatusState&) = default;
};

/// The state to show now. Any thread.
StatusState statusState();

/// The listener is called on the main thread after one or more changes; null removes it. Main thread.
void setStatusListener(std::function<void(const StatusState&)> listener);

} // namespace host
