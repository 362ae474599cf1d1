// Importance sampling of reconstruction filters: a camera sample is placed by the filter's absolute value and
// weighted by its sign, so every pixel has samples of its own and writes to no other.
#pragma once

#include <array>
#include <cstdint>

#include "render_settings.h"
#include "vecmath.h"

namespace host::render {

class PixelFilter {
 public:
  explicit PixelFilter(Filter kind);

  struct Sample {
    Vec2 offset;  // from the pixel's centre, in pixels
    float weight; // of mean 1; constant for filters without negative lobes
  };
  /// `u` in the unit square, below 1.
  Sample sample(Vec2 u) const;
  /// Half the width, in pixels.
  float radius() const { return radius_; }
  /// The filter's value at a distance along one axis, not normalised.
  static float value(Filter kind, float x);

 private:
  static constexpr int cells = 256;
  float sampleAxis(float u, float& weight) const;
  float radius_;
  std::array<float, cells + 1> cdf_{};
  std::array<float, cells> sign_{};
  std::array<std::uint8_t, cells> first_{}; // the cell of u = i / cells, where the search begins
};

} // namespace host::render
