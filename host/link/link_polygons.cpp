#include <cmath>

#include "link_mesh.h"

namespace host {

namespace {

using Plane = std::array<double, 2>;

constexpr std::size_t mostEarPoints = 1024;

// The points in the plane of the polygon (Newell's normal), counter-clockwise.
std::vector<Plane> flatten(const std::vector<Float3>& points) {
  std::array<double, 3> normal{};
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Float3 &a = points[i], &b = points[(i + 1) % points.size()];
    for (std::size_t k = 0; k < 3; ++k) {
      const std::size_t u = (k + 1) % 3, v = (k + 2) % 3;
      normal[k] += (double(a[u]) - b[u]) * (double(a[v]) + b[v]);
    }
  }
  std::size_t axis = 0;
  for (std::size_t k = 1; k < 3; ++k)
    if (std::abs(normal[k]) > std::abs(normal[axis])) axis = k;
  const double sign = normal[axis] < 0 ? -1 : 1;
  std::vector<Plane> flat;
  for (const Float3& point : points)
    flat.push_back({double(point[(axis + 1) % 3]) * sign, double(point[(axis + 2) % 3])});
  return flat;
}

double turn(const Plane& a, const Plane& b, const Plane& c) {
  return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
}

bool isEar(const std::vector<Plane>& flat, const std::vector<std::uint32_t>& left, std::size_t at) {
  const std::size_t count = left.size();
  const std::uint32_t before = left[(at + count - 1) % count], self = left[at],
                      after = left[(at + 1) % count];
  if (turn(flat[before], flat[self], flat[after]) <= 0) return false;
  for (const std::uint32_t other : left) {
    if (other == before || other == self || other == after) continue;
    if (turn(flat[before], flat[self], flat[other]) >= 0 && turn(flat[self], flat[after], flat[other]) >= 0 &&
        turn(flat[after], flat[before], flat[other]) >= 0)
      return false;
  }
  return true;
}

void fan(const std::vector<std::uint32_t>& left, std::vector<std::array<std::uint32_t, 3>>& triangles) {
  for (std::size_t i = 1; i + 1 < left.size(); ++i)
    triangles.push_back({left[0], left[i], left[i + 1]});
}

} // namespace

void cutPolygon(const std::vector<Float3>& points, std::vector<std::array<std::uint32_t, 3>>& triangles) {
  std::vector<std::uint32_t> left(points.size());
  for (std::size_t i = 0; i < left.size(); ++i)
    left[i] = static_cast<std::uint32_t>(i);
  if (left.size() <= 3 || left.size() > mostEarPoints) return fan(left, triangles);
  const std::vector<Plane> flat = flatten(points);
  while (left.size() > 3) {
    std::size_t at = 0;
    while (at < left.size() && !isEar(flat, left, at))
      ++at;
    if (at == left.size()) break;
    const std::size_t count = left.size();
    triangles.push_back({left[(at + count - 1) % count], left[at], left[(at + 1) % count]});
    left.erase(left.begin() + static_cast<std::ptrdiff_t>(at));
  }
  fan(left, triangles);
}

} // namespace host
