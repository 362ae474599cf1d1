// The samples of one pixel, summed up.
#pragma once

#include "path_tracer.h"

namespace host::render {

class PixelEstimate {
 public:
  void add(const PathResult& sample, float weight) {
    color_ += weight * sample.color;
    sky_ += weight * sample.sky;
    alpha_ += weight * sample.alpha;
    weight_ += weight;
    const float tone = weight * toneOf(sample.color);
    tone_ += tone;
    tone2_ += tone * tone;
    ++count_;
  }
  int count() const { return count_; }

  /// The mean: a linear colour and its coverage. Only with samples.
  void mean(float rgba[4]) const {
    const float by = divisor();
    rgba[0] = std::max(0.0f, color_.x * by);
    rgba[1] = std::max(0.0f, color_.y * by);
    rgba[2] = std::max(0.0f, color_.z * by);
    rgba[3] = clamp01(alpha_ * by);
  }
  /// The part of the colour that comes from the visible sky.
  void meanSky(float rgb[3]) const {
    const float by = divisor();
    rgb[0] = std::max(0.0f, sky_.x * by);
    rgb[1] = std::max(0.0f, sky_.y * by);
    rgb[2] = std::max(0.0f, sky_.z * by);
  }

  /// The standard error of the mean, as brightness on a display. Needs two samples.
  float error() const {
    const float n = static_cast<float>(count_), mean = tone_ / n;
    return std::sqrt(std::max(0.0f, tone2_ / n - mean * mean) / (n - 1));
  }

 private:
  // Filters have negative lobes: division by the weights keeps even areas even.
  float divisor() const {
    const float n = static_cast<float>(count_);
    return 1 / (weight_ > 0.25f * n ? weight_ : n);
  }
  // Roughly the brightness that a display shows for a linear colour.
  static float toneOf(Vec3 c) { return std::sqrt(clamp01(luminance(c))); }

  Vec3 color_, sky_;
  float alpha_ = 0, weight_ = 0, tone_ = 0, tone2_ = 0;
  std::int32_t count_ = 0;
};

} // namespace host::render
