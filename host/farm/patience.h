// Waiting for files that another machine wrote: a shared file system may show them late. Any thread.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <thread>

namespace host::farm {

/// How long, and how: tests replace clock and pause.
struct Patience {
  double seconds = 60;
  std::function<bool()> stopped{}; // may be empty; true ends the waiting
  std::function<double()> now = [] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  };
  std::function<void()> pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(100)); };
};

/// Looks until there is a value; at least once. Nothing when the patience is at its end, or was stopped.
template <class Look>
auto lookPatiently(const Patience& patience, Look&& look) -> decltype(look()) {
  const double limit = patience.now() + patience.seconds;
  while (true) {
    if (auto value = look()) return value;
    if ((patience.stopped && patience.stopped()) || patience.now() > limit) return {};
    patience.pause();
  }
}

} // namespace host::farm
