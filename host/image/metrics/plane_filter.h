// One channel of a picture, and separable filters on it. Private to host/image/metrics.
#pragma once

#include <vector>

namespace host {

/// One value for each pixel, rows from the top.
struct Plane {
  Plane() = default;
  Plane(int w, int h)
      : width(w), height(h), values(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}
  float* row(int y) noexcept {
    return values.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
  }
  const float* row(int y) const noexcept {
    return values.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
  }

  int width = 0, height = 0;
  std::vector<float> values;
};

/// Weights of the neighbours from -radius to radius.
struct Kernel {
  int radius = 0;
  std::vector<float> weights; // 2 radius + 1
};

/// The weights `shape(offset)` at whole offsets. The positive ones are scaled to a sum of 1, the negative
/// ones to -1.
template <class Shape>
Kernel kernelOf(int radius, Shape shape) {
  std::vector<double> exact;
  double positive = 0, negative = 0;
  for (int at = -radius; at <= radius; ++at) {
    exact.push_back(shape(static_cast<double>(at)));
    (exact.back() > 0 ? positive : negative) += exact.back();
  }
  Kernel kernel{radius, {}};
  for (const double weight : exact)
    kernel.weights.push_back(static_cast<float>(weight > 0    ? weight / positive
                                                : weight == 0 ? 0
                                                              : weight / -negative));
  return kernel;
}

/// Filters rows by `across` and columns by `down`; pixels beyond an edge are those of the edge. Uses the
/// workers.
Plane filtered(const Plane& plane, const Kernel& across, const Kernel& down);

} // namespace host
