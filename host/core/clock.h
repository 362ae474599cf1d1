// The host's clock. Tests replace it to test pacing exactly and without sleeping.
#pragma once

#include <cstdint>

namespace host {

using Milliseconds = std::int64_t;

/// A source of time. Any thread.
class Clock {
 public:
  virtual ~Clock();
  /// Milliseconds from an arbitrary start; never runs backwards.
  virtual Milliseconds now() const = 0;
  /// Seconds since 1 January 1970, UTC.
  virtual std::int64_t wallSeconds() const = 0;
  /// Whether `now` advances by itself, so that waiting makes sense.
  virtual bool runs() const { return true; }
};

/// The current clock: the system's unless another was set. Any thread.
Clock& clock() noexcept;

/// Sets the clock (null: the system's); it must live until the next call. Main thread, while no other thread
/// asks for the time.
void setClock(Clock* clock) noexcept;

} // namespace host
