// A clock that stands still until a test advances it.
#pragma once

#include <atomic>

#include "clock.h"

class TestClock final : public host::Clock {
 public:
  explicit TestClock(host::Milliseconds start = 1000, std::int64_t wall = 1600000000)
      : now_(start), wall_(wall) {}

  host::Milliseconds now() const override { return now_; }
  std::int64_t wallSeconds() const override { return wall_ + now_ / 1000; }
  bool runs() const override { return false; }

  void advance(host::Milliseconds by) { now_ += by; }
  void set(host::Milliseconds now) { now_ = now; }
  void setWall(std::int64_t seconds) { wall_ = seconds - now_ / 1000; }

 private:
  std::atomic<host::Milliseconds> now_;
  std::atomic<std::int64_t> wall_;
};
