// Progress in steps that a display can show.
#pragma once

#include <algorithm>
#include <functional>

namespace host::render {

/// Counts finished work and reports it as a part of the whole, at most a thousand times. One thread at a
/// time.
class ProgressSteps {
 public:
  /// `report` may be empty and must outlive this.
  explicit ProgressSteps(const std::function<void(double)>& report, double total = 1)
      : report_(report), total_(total) {}

  void setTotal(double total) { total_ = total; }
  void add(double work) {
    done_ += work;
    reach(done_ / total_);
  }
  /// At least this part of the whole is done.
  void reach(double wanted) {
    const double part = std::min(1.0, wanted);
    if (!report_ || (part < reported_ + 0.001 && !(part == 1 && reported_ < 1))) return;
    reported_ = part;
    report_(part);
  }

 private:
  const std::function<void(double)>& report_;
  double total_, done_ = 0, reported_ = -1;
};

} // namespace host::render
