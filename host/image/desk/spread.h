// Recursive filters that spread light. Private to host/image/desk.
#pragma once

#include <cstddef>
#include <vector>

namespace host {

/// Red, green and blue of each pixel, rows from the top, finite.
struct LightPlane {
  LightPlane(int w, int h)
      : width(w), height(h), values(3 * static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}
  float* row(int y) noexcept {
    return values.data() + 3 * static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
  }
  const float* row(int y) const noexcept {
    return values.data() + 3 * static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
  }

  int width, height;
  std::vector<float> values;
};

/// Blurs by a bell of this standard deviation in pixels, above 0: its weights have a sum of 1, light is black
/// beyond the edges. Uses the workers.
void blur(LightPlane& plane, double deviation);

/// A ray from each pixel: light in proportion to decay^distance, its sum that of the pixel. `decay` lies
/// above 0 and below 1, `angle` in radians anticlockwise from the right. Uses the workers.
LightPlane ray(const LightPlane& plane, double angle, double decay);

/// Factor of one step of an exponential whose passes, forwards and backwards `times` times, have this
/// standard deviation together.
double decayOf(double deviation, int times) noexcept;

} // namespace host
