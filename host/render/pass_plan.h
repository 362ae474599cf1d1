// The passes of a render: where they end, and when the picture is denoised meanwhile. Both depend on time,
// and neither changes the finished picture.
#pragma once

#include <algorithm>
#include <bit>

namespace host::render {

/// Cuts the way to the most samples into passes. Every doubling is the end of a pass, because noise is
/// estimated there; long ways to the next doubling are cut so that a pass takes about a tenth of a second,
/// and later a quarter of the time so far.
class PassPlan {
 public:
  /// `done`: samples a pixel that are there before the first pass.
  explicit PassPlan(int samples, int done = 0) : samples_(samples), done_(done) {}
  /// Samples a pixel after the last pass.
  int done() const { return done_; }
  bool finished() const { return done_ >= samples_; }

  /// Samples a pixel after the next pass, which takes `leftMs` at most unless it has a single sample.
  int next(double leftMs) const {
    const auto doubled = static_cast<int>(std::bit_ceil(static_cast<unsigned>(done_) + 1));
    const double pass = std::min(std::max(shortestMs, 0.25 * spentMs_), leftMs);
    const double count = sampleMs_ > 0 ? std::clamp(pass / sampleMs_, 1.0, 1e6) : 1e6;
    return std::min({doubled, samples_, done_ + static_cast<int>(count)});
  }
  void passed(int target, double milliseconds) {
    sampleMs_ = milliseconds / (target - done_);
    spentMs_ += milliseconds;
    done_ = target;
  }

 private:
  static constexpr double shortestMs = 100;
  int samples_, done_;
  double sampleMs_ = 0, spentMs_ = 0;
};

/// Decides when a refining picture is denoised: after each doubling, as soon as that takes no more than a
/// fifth of the time.
class LiveDenoising {
 public:
  explicit LiveDenoising(std::size_t pixels) : expectedMs_(static_cast<double>(pixels) * firstGuessMs) {}

  /// `elapsedMs`: since the render began, denoising included.
  bool isDue(int samples, double elapsedMs) const {
    return samples >= 2 * samples_ && spentMs_ + expectedMs_ <= share * (elapsedMs + expectedMs_);
  }
  void denoised(int samples, double milliseconds) {
    samples_ = samples;
    spentMs_ += milliseconds;
    expectedMs_ = milliseconds;
  }

 private:
  static constexpr double share = 0.2, firstGuessMs = 5e-4; // a pixel
  int samples_ = 0;
  double spentMs_ = 0, expectedMs_;
};

} // namespace host::render
