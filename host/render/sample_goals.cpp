#include "sample_goals.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace host::render {
namespace {

constexpr int fewSamples = 4, goodSamples = 16; // for a first estimate of the noise
constexpr int leastPart = 4;                    // no pixel has less than so much of the level
constexpr double leastWeight = 0.05;            // of the mean weight: no estimate is certain
constexpr int steps = 24;                       // of the bisection

// The last level at which all pixels are alike.
int startOf(int samples) {
  if (samples < 2 * fewSamples) return samples;
  return samples < 4 * goodSamples ? fewSamples : goodSamples;
}

/// The samples of each pixel are `scale` times its weight, between a least and a most, and not fewer than it
/// has.
class Shares {
 public:
  Shares(const std::vector<PixelDemand>& demands, const std::vector<std::int32_t>& has, double least,
         double most)
      : has_(has), least_(least), most_(most) {
    double sum = 0;
    for (const PixelDemand& demand : demands) {
      pixels_.push_back({demand.deviation / std::sqrt(demand.cost), demand.cost});
      sum += static_cast<double>(pixels_.back().weight);
    }
    floor_ = sum > 0 ? leastWeight * sum / static_cast<double>(demands.size()) : 1;
  }

  double of(std::size_t i, double scale) const {
    const double wanted = scale * std::max(floor_, static_cast<double>(pixels_[i].weight));
    return std::max(static_cast<double>(has_[i]), std::clamp(wanted, least_, most_));
  }

  // The scale at which all samples cost what `level` samples for each pixel do: by bisection, because the
  // cost grows with it.
  double scaleFor(double level) const {
    double even = 0;
    for (const Pixel& pixel : pixels_)
      even += level * static_cast<double>(pixel.cost);
    double low = 0, high = most_ / floor_;
    for (int step = 0; step < steps; ++step) {
      const double middle = 0.5 * (low + high);
      (costOf(middle) < even ? low : high) = middle;
    }
    return high;
  }

 private:
  struct Pixel {
    float weight, cost;
  };
  double costOf(double scale) const {
    double sum = 0;
    for (std::size_t i = 0; i < pixels_.size(); ++i)
      sum += of(i, scale) * static_cast<double>(pixels_[i].cost);
    return sum;
  }

  std::vector<Pixel> pixels_;
  const std::vector<std::int32_t>& has_;
  double least_, most_, floor_;
};

} // namespace

SampleGoals::SampleGoals(std::size_t pixels, int samples, bool even)
    : samples_(samples), start_(startOf(samples)), fromLevel_(start_), toLevel_(start_) {
  if (even || start_ == samples) return;
  from_.assign(pixels, start_);
  to_ = from_;
}

void SampleGoals::goOn(int level, std::vector<std::int32_t> counts) {
  if (even() || level <= start_) return;
  fromLevel_ = toLevel_ = level;
  from_ = counts;
  to_ = std::move(counts);
}

void SampleGoals::deal(int level, const std::vector<PixelDemand>& demands) {
  from_ = to_;
  fromLevel_ = level;
  toLevel_ = std::min(samples_, static_cast<int>(std::bit_ceil(static_cast<unsigned>(level) + 1)));
  const double mean = toLevel_;
  const Shares shares(demands, from_, mean / leastPart, mean * mostTimes);
  const double scale = shares.scaleFor(mean);
  double rest = 0; // of the rounding, passed on to the next pixel
  for (std::size_t i = 0; i < to_.size(); ++i) {
    const double wanted = shares.of(i, scale) + rest;
    to_[i] = std::max(from_[i], static_cast<std::int32_t>(wanted));
    rest = wanted - to_[i];
  }
}

} // namespace host::render
