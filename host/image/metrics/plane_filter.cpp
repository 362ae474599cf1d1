#include "plane_filter.h"

#include <algorithm>
#include <cstddef>

#include "worker_threads.h"

namespace host {
namespace {

void addScaled(const float* from, float weight, float* to, int count) noexcept {
  for (int x = 0; x < count; ++x)
    to[x] += weight * from[x];
}

/// A row with its first and last value repeated beyond its ends.
std::vector<float> padded(const float* row, int width, int radius) {
  std::vector<float> line(static_cast<std::size_t>(width) + 2 * static_cast<std::size_t>(radius));
  const auto first = line.begin() + radius;
  std::copy_n(row, width, first);
  std::fill(line.begin(), first, row[0]);
  std::fill(first + width, line.end(), row[width - 1]);
  return line;
}

} // namespace

Plane filtered(const Plane& plane, const Kernel& across, const Kernel& down) {
  Plane rows(plane.width, plane.height), both(plane.width, plane.height);
  eachRow(plane.height, [&](int y) {
    const std::vector<float> line = padded(plane.row(y), plane.width, across.radius);
    for (std::size_t tap = 0; tap < across.weights.size(); ++tap)
      addScaled(line.data() + tap, across.weights[tap], rows.row(y), plane.width);
  });
  eachRow(plane.height, [&](int y) {
    for (int tap = -down.radius; tap <= down.radius; ++tap) {
      const float weight = down.weights[static_cast<std::size_t>(tap + down.radius)];
      addScaled(rows.row(std::clamp(y + tap, 0, plane.height - 1)), weight, both.row(y), plane.width);
    }
  });
  return both;
}

} // namespace host
