// The status bar's model. Changed from any thread without blocking; a program shows it.
#pragma once

#include <cstdint>
#include <functional>

#include "c4d_string.h"

namespace host {

struct StatusState {
  String text;
  LONG percent = -1;       // 0 to 100; -1: no bar
  bool spinning = false;   // busy, without knowing how far
  std::uint64_t ticks = 0; // grows with every spin call: drives the animation
  friend bool operator==(const StatusState&, const StatusState&) = default;
};

/// What is to be shown now. Any thread.
StatusState statusState();

/// Called on the main thread after changes, several may have become one. Null takes it away. Main thread.
void setStatusListener(std::function<void(const StatusState&)> listener);

} // namespace host
