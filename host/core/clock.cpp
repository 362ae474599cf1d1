#include "clock.h"

#include <atomic>
#include <chrono>

#include "c4d_threading.h"

namespace host {

Clock::~Clock() = default;

namespace {

class SystemClock final : public Clock {
 public:
  Milliseconds now() const override {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
  }
  std::int64_t wallSeconds() const override {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
  }
};

std::atomic<Clock*> current{nullptr};

} // namespace

Clock& clock() noexcept {
  static SystemClock system;
  Clock* replaced = current.load(std::memory_order_acquire);
  return replaced ? *replaced : system;
}

void setClock(Clock* replacement) noexcept {
  current.store(replacement, std::memory_order_release);
}

} // namespace host

LONG GeGetTimer() {
  return static_cast<LONG>(static_cast<ULONG>(static_cast<ULLONG>(host::clock().now())));
}
