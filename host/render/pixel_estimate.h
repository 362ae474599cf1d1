// The samples of one pixel, summed up.
#pragma once

#include <bit>

#include "path_tracer.h"

namespace host::render {

class PixelEstimate {
 public:
  void add(const PathResult& sample, float weight) {
    if (std::has_single_bit(static_cast<unsigned>(count_))) {
      half_ = color_;
      halfWeight_ = weight_;
      halfCount_ = count_;
    }
    color_ += weight * sample.color;
    sky_ += weight * sample.sky;
    alpha_ += weight * sample.alpha;
    weight_ += weight;
    ++count_;
  }
  int count() const { return count_; }

  /// The mean: a linear colour and its coverage. Only with samples.
  void mean(float rgba[4]) const {
    const float by = divisor(weight_, count_);
    rgba[0] = std::max(0.0f, color_.x * by);
    rgba[1] = std::max(0.0f, color_.y * by);
    rgba[2] = std::max(0.0f, color_.z * by);
    rgba[3] = clamp01(alpha_ * by);
  }
  /// The part of the colour that comes from the visible sky.
  void meanSky(float rgb[3]) const {
    const float by = divisor(weight_, count_);
    rgb[0] = std::max(0.0f, sky_.x * by);
    rgb[1] = std::max(0.0f, sky_.y * by);
    rgb[2] = std::max(0.0f, sky_.z * by);
  }

  /// The square of half the difference between the first and the second half of the samples, as brightness on
  /// a display: an estimate of the mean's squared error that has the sample points' even spread in it. A
  /// single one says little; the mean over a neighbourhood does. Needs a power of two samples, at least two.
  float squaredError() const {
    const float first = toneOf(half_ * divisor(halfWeight_, halfCount_));
    const float second = toneOf((color_ - half_) * divisor(weight_ - halfWeight_, count_ - halfCount_));
    return 0.25f * (first - second) * (first - second);
  }

 private:
  // Filters have negative lobes: division by the weights keeps even areas even.
  static float divisor(float weight, int count) {
    const float n = static_cast<float>(count);
    return 1 / (weight > 0.25f * n ? weight : n);
  }
  // Roughly the brightness that a display shows for a linear colour.
  static float toneOf(Vec3 c) { return std::sqrt(clamp01(luminance(c))); }

  Vec3 color_, sky_, half_; // half_: the first samples, up to the last power of two below the count
  float alpha_ = 0, weight_ = 0, halfWeight_ = 0;
  std::int32_t count_ = 0, halfCount_ = 0;
};

} // namespace host::render
