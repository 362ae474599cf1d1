// The number of samples of every pixel: the same for all, or more where the picture is noisy. It depends on
// the samples alone, never on time or threads.
#pragma once

#include <cstdint>
#include <vector>

namespace host::render {

/// A pixel's noise and the cost of its samples.
struct PixelDemand {
  float deviation = 0; // standard deviation of a sample, as a display shows it
  float cost = 1;      // of a sample, above 0
};

/// Samples are counted by levels: the cost of a level is that of so many samples for every pixel. Up to a
/// first level all pixels have that number. From then on each doubling begins a round, which is dealt out
/// anew. One thread at a time.
class SampleGoals {
 public:
  /// `samples`: the last level, at least 1. `even`: all pixels stay alike.
  SampleGoals(std::size_t pixels, int samples, bool even);

  bool even() const { return to_.empty(); }
  /// True when the samples up to the next doubling have to be dealt out before they are taken.
  bool wantsDeal(int level) const { return !even() && level >= toLevel_ && level < samples_; }
  /// Deals out the samples from a level up to the next doubling or the last level. A pixel's whole number
  /// follows its deviation over the root of its cost, which leaves the least squared error at a given cost.
  /// No pixel loses what it has, has less than a quarter of the level, or gets more than `mostTimes` the
  /// level.
  void deal(int level, const std::vector<PixelDemand>& demands);

  /// Goes on from a level that an earlier render has reached with so many samples of each pixel.
  void goOn(int level, std::vector<std::int32_t> counts);

  /// Samples of a pixel at a level of the present round.
  int at(std::size_t pixel, int level) const {
    if (to_.empty() || level <= start_) return level;
    const std::int64_t more = to_[pixel] - from_[pixel];
    return from_[pixel] + static_cast<int>(more * (level - fromLevel_) / (toLevel_ - fromLevel_));
  }
  /// Samples that the present round gives a pixel.
  int ofRound(std::size_t pixel) const { return to_[pixel] - from_[pixel]; }
  /// Levels of the present round.
  int roundLength() const { return toLevel_ - fromLevel_; }

  static constexpr int mostTimes = 8;

 private:
  const int samples_, start_;
  int fromLevel_ = 0, toLevel_ = 0;     // of the present round
  std::vector<std::int32_t> from_, to_; // samples at its beginning and end; empty when all pixels are alike
};

} // namespace host::render
