#include "ssim.h"

#include <cmath>

#include "plane_filter.h"

namespace host {
namespace {

constexpr int radius = 5;
constexpr float c1 = 0.01f * 0.01f, c2 = 0.03f * 0.03f;

/// Less one half: differences of squares keep more digits.
Plane luma(const MetricImage& image) {
  Plane plane(image.width, image.height);
  const float* p = image.rgb.data();
  for (float& value : plane.values) {
    value = 0.299f * p[0] + 0.587f * p[1] + 0.114f * p[2] - 0.5f;
    p += 3;
  }
  return plane;
}

Plane product(const Plane& a, const Plane& b) {
  Plane plane(a.width, a.height);
  for (std::size_t i = 0; i < plane.values.size(); ++i)
    plane.values[i] = a.values[i] * b.values[i];
  return plane;
}

/// The map's mean over the pixels at least `edge` from every border.
double innerMean(const Plane& map, int edge) {
  double sum = 0;
  for (int y = edge; y < map.height - edge; ++y)
    for (int x = edge; x < map.width - edge; ++x)
      sum += static_cast<double>(map.row(y)[x]);
  return sum / (static_cast<double>(map.width - 2 * edge) * (map.height - 2 * edge));
}

} // namespace

Similarity similarity(const MetricImage& a, const MetricImage& b) {
  const Kernel window = kernelOf(radius, [](double at) { return std::exp(-at * at / (2 * 1.5 * 1.5)); });
  const auto mean = [&](const Plane& plane) { return filtered(plane, window, window); };
  const Plane x = luma(a), y = luma(b);
  const Plane meanX = mean(x), meanY = mean(y);
  const Plane squareX = mean(product(x, x)), squareY = mean(product(y, y)), both = mean(product(x, y));
  Plane map(a.width, a.height);
  for (std::size_t i = 0; i < map.values.size(); ++i) {
    const float dx = meanX.values[i], dy = meanY.values[i], mx = dx + 0.5f, my = dy + 0.5f;
    const float vx = squareX.values[i] - dx * dx, vy = squareY.values[i] - dy * dy;
    const float covariance = both.values[i] - dx * dy;
    map.values[i] = (2 * mx * my + c1) * (2 * covariance + c2) / ((mx * mx + my * my + c1) * (vx + vy + c2));
  }
  const bool small = a.width <= 2 * radius || a.height <= 2 * radius;
  const int edge = small ? 0 : radius;
  const double result = innerMean(map, edge);
  return {result, std::move(map.values)};
}

} // namespace host
