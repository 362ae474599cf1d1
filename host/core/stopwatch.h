// Elapsed real time, for statistics. Pacing goes by the host's clock (clock.h), which a test can replace.
#pragma once

#include <chrono>

namespace host {

/// Starts when it is made; a copy goes on from the same start. A value, any thread.
class Stopwatch {
 public:
  double milliseconds() const {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_).count();
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace host
