// The noise of a picture, estimated from the samples of its pixels and their neighbours.
#pragma once

#include <cstdint>
#include <vector>

#include "pixel_estimate.h"
#include "sample_goals.h"

namespace host::render {

/// Of a picture whose pixels stand row after row. All methods read only; any thread, while none writes
/// pixels.
class NoiseMap {
 public:
  /// `pixels` must outlive it.
  NoiseMap(const std::vector<PixelEstimate>& pixels, int width, int height)
      : pixels_(pixels), width_(width), height_(height) {}

  /// Calls `visit(index)` for the pixels of a square with the sides 2 `reach` + 1, cut at the picture's
  /// edges.
  template <class Visit>
  void eachAround(int x, int y, int reach, Visit&& visit) const {
    for (int ny = std::max(0, y - reach); ny <= std::min(height_ - 1, y + reach); ++ny)
      for (int nx = std::max(0, x - reach); nx <= std::min(width_ - 1, x + reach); ++nx)
        visit(index(nx, ny));
  }

  /// The mean squared error around a pixel, of the pixels that `counts(index)`.
  template <class Counts>
  float squaredError(int x, int y, Counts&& counts) const {
    float sum = 0;
    int count = 0;
    eachAround(x, y, noiseReach, [&](std::size_t i) {
      if (!counts(i)) return;
      sum += pixels_[i].squaredError();
      ++count;
    });
    return sum / static_cast<float>(std::max(1, count));
  }

  /// The demand of each pixel, by the variance around it without its own: a pixel whose samples missed a rare
  /// light looks quiet, and would stay darker if that decided.
  std::vector<PixelDemand> demands() const;

 private:
  static constexpr int noiseReach = 2;
  PixelDemand demand(const std::vector<float>& variances, int x, int y) const;
  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
  }

  const std::vector<PixelEstimate>& pixels_;
  int width_, height_;
};

} // namespace host::render
