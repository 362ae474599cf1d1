#include "mesh_tools.h"

#include <algorithm>
#include <cmath>

namespace host {

void setBounds(Mesh& mesh) {
  if (mesh.positions.empty()) {
    mesh.low = mesh.high = {};
    return;
  }
  mesh.low = mesh.high = mesh.positions.front();
  for (const Float3& p : mesh.positions)
    for (std::size_t axis = 0; axis < 3; ++axis) {
      mesh.low[axis] = std::min(mesh.low[axis], p[axis]);
      mesh.high[axis] = std::max(mesh.high[axis], p[axis]);
    }
}

Float3 farCenter(const Mesh& mesh) noexcept {
  Float3 center{};
  double away = 0, size = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double low = mesh.low[axis], high = mesh.high[axis];
    center[axis] = static_cast<float>((low + high) / 2);
    away = std::max(away, std::abs(low + high) / 2);
    size = std::max(size, high - low);
  }
  return away > size ? center : Float3{};
}

Float3 minus(const Float3& a, const Float3& b) noexcept {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Float3 cross(const Float3& a, const Float3& b) noexcept {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Float3 unit(const Float3& v, const Float3& otherwise) noexcept {
  const double length = std::sqrt(static_cast<double>(v[0]) * v[0] + static_cast<double>(v[1]) * v[1] +
                                  static_cast<double>(v[2]) * v[2]);
  if (!(length > 0) || !std::isfinite(length)) return otherwise;
  return {static_cast<float>(v[0] / length), static_cast<float>(v[1] / length),
          static_cast<float>(v[2] / length)};
}

std::vector<Float3> smoothNormals(const Mesh& mesh, const std::vector<std::uint32_t>* point) {
  const auto place = [&](std::uint32_t vertex) { return point ? (*point)[vertex] : vertex; };
  std::vector<Float3> sums(mesh.positions.size(), Float3{});
  for (const auto& [a, b, c] : mesh.triangles) {
    const Float3& pa = mesh.positions[a];
    const Float3 area = cross(minus(mesh.positions[b], pa), minus(mesh.positions[c], pa));
    for (const std::uint32_t vertex : {a, b, c})
      for (std::size_t axis = 0; axis < 3; ++axis)
        sums[place(vertex)][axis] += area[axis];
  }
  std::vector<Float3> normals(mesh.positions.size());
  for (std::uint32_t vertex = 0; vertex < normals.size(); ++vertex)
    normals[vertex] = unit(sums[place(vertex)], {0, 1, 0});
  return normals;
}

std::size_t bytesOf(const Mesh& mesh) noexcept {
  const auto size = [](const auto& values) { return values.size() * sizeof(values[0]); };
  return size(mesh.positions) + size(mesh.normals) + size(mesh.tangents) + size(mesh.uv[0]) +
         size(mesh.uv[1]) + size(mesh.colors) + size(mesh.triangles) + size(mesh.groups);
}

} // namespace host
