// The samples of one pixel, summed up.
#pragma once

#include <bit>
#include <cstdlib>

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
    rays_ += sample.rays;
    ++count_;
  }
  /// Adds samples that come after these. The half that the errors are estimated by stays as near to half of
  /// all as the parts allow.
  void add(const PixelEstimate& more) {
    if (count_ == 0) return void(*this = more);
    const auto fromHalf = [all = count_ + more.count_](std::int32_t part) {
      return std::abs(2 * part - all);
    };
    if (fromHalf(count_) <= fromHalf(halfCount_)) half_ = color_, halfWeight_ = weight_, halfCount_ = count_;
    color_ += more.color_, sky_ += more.sky_;
    alpha_ += more.alpha_, weight_ += more.weight_;
    count_ += more.count_, rays_ += more.rays_;
  }
  int count() const { return count_; }

  /// Lists the members for a SampleWriter or a SampleReader.
  template <class Archive>
  void archive(Archive& archive) {
    archive(color_), archive(sky_), archive(half_), archive(alpha_), archive(weight_), archive(halfWeight_);
    archive(count_), archive(halfCount_), archive(rays_);
  }
  /// Of a pixel with samples, unless its values were made up.
  bool plausible() const { return count_ > 0 && halfCount_ >= 0 && halfCount_ < count_; }

  /// The mean: a linear colour and its coverage. Only with samples.
  void mean(float rgba[4]) const {
    const float by = divisor(weight_, count_);
    rgba[0] = std::max(0.0f, color_.x * by);
    rgba[1] = std::max(0.0f, color_.y * by);
    rgba[2] = std::max(0.0f, color_.z * by);
    rgba[3] = clamp01(alpha_ * by);
  }
  /// The part of the mean colour that comes from the visible sky.
  Vec3 meanSky() const { return partOfMean(sky_); }
  /// A part of the mean colour by its weighted sum. Parts add up to the colour: they may be negative where
  /// the filter is, and are 0 where the colour was cut to 0.
  Vec3 partOfMean(Vec3 sum) const {
    const float by = divisor(weight_, count_);
    return {color_.x > 0 ? sum.x * by : 0, color_.y > 0 ? sum.y * by : 0, color_.z > 0 ? sum.z * by : 0};
  }

  /// The square of half the difference between the first and the second half of the samples, as brightness on
  /// a display: an estimate of the mean's squared error that has the sample points' even spread in it. A
  /// single one says little; the mean over a neighbourhood does. With a number of samples between the powers
  /// of two the second half is smaller. 0 with less than two samples.
  float squaredError() const {
    if (count_ < 2) return 0;
    const float n = static_cast<float>(count_), left = static_cast<float>(halfCount_);
    return left * (n - left) / (n * n) * sqr(toneOf(firstHalf()) - toneOf(secondHalf()));
  }

  /// The variance of a sample as a display shows it, in the mean of the channels: of the same two halves. 0
  /// with less than two samples, and where the mean is so far beyond white that many more would show the
  /// same.
  float displayedVariance() const {
    if (count_ < 2) return 0;
    const float n = static_cast<float>(count_), left = static_cast<float>(halfCount_);
    constexpr float part = 0.25f; // of the halves' difference: its size with sixteen times the samples
    const Vec3 mean = color_ * divisor(weight_, count_), away = (firstHalf() - secondHalf()) * (0.5f * part);
    const Vec3 apart = (displayOf(mean + away) - displayOf(mean - away)) * (1 / part);
    return left * (n - left) / n * dot(apart, apart) / 3;
  }
  /// Rays of a sample in the mean: its cost. Only with samples.
  float raysOfSample() const { return static_cast<float>(rays_) / static_cast<float>(count_); }

 private:
  // Filters have negative lobes: division by the weights keeps even areas even.
  static float divisor(float weight, int count) {
    const float n = static_cast<float>(count);
    return 1 / (weight > 0.25f * n ? weight : n);
  }
  Vec3 firstHalf() const { return half_ * divisor(halfWeight_, halfCount_); }
  Vec3 secondHalf() const { return (color_ - half_) * divisor(weight_ - halfWeight_, count_ - halfCount_); }
  // Roughly the brightness that a display shows for a linear colour.
  static float toneOf(Vec3 c) { return std::sqrt(clamp01(luminance(c))); }
  // Roughly the sRGB values of a linear colour: the root, with the curve's slope of 12.9 at black.
  static Vec3 displayOf(Vec3 c) {
    const auto shown = [](float v) { return std::sqrt(clamp01(v) + 0.0015f); };
    return {shown(c.x), shown(c.y), shown(c.z)};
  }

  Vec3 color_, sky_, half_; // half_: the first samples, up to the last power of two below the count
  float alpha_ = 0, weight_ = 0, halfWeight_ = 0;
  std::int32_t count_ = 0, halfCount_ = 0;
  std::uint32_t rays_ = 0;
};

} // namespace host::render
