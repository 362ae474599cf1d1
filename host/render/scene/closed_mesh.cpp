#include "closed_mesh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <utility>

#include "vecmath.h"

namespace host::render {
namespace {

constexpr std::size_t mostTriangles = 65536;
constexpr double leastVolume = 1e-6; // over the root of the cubed area: flatter pieces have no inside

/// An edge of a triangle between two places.
struct Edge {
  std::uint32_t low, high, triangle;
  bool forward; // from low to high
};

// A number for each place, by vertex. Seams that were computed twice differ by roundings.
std::vector<std::uint32_t> placesOf(const Mesh& mesh) {
  constexpr float step = 1e-5f; // of the mesh's size
  const float size = maxComponent(Vec3(mesh.high) - Vec3(mesh.low));
  const auto rounded = [&](float v) { return std::round(v / (step * std::max(size, 1e-30f))); };
  std::vector<Float3> at;
  for (const Float3& p : mesh.positions)
    at.push_back({rounded(p[0]), rounded(p[1]), rounded(p[2])});
  std::vector<std::uint32_t> order(at.size()), places(at.size());
  std::iota(order.begin(), order.end(), 0u);
  std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) { return at[a] < at[b]; });
  std::uint32_t place = 0;
  for (std::size_t i = 0; i < order.size(); ++i) {
    if (i > 0 && at[order[i]] != at[order[i - 1]]) ++place;
    places[order[i]] = place;
  }
  return places;
}

std::vector<Edge> edgesOf(const Mesh& mesh) {
  const std::vector<std::uint32_t> places = placesOf(mesh);
  std::vector<Edge> edges;
  edges.reserve(mesh.triangles.size() * 3);
  for (std::uint32_t t = 0; t < mesh.triangles.size(); ++t) {
    const auto& c = mesh.triangles[t];
    const std::array<std::uint32_t, 3> at{places[c[0]], places[c[1]], places[c[2]]};
    if (at[0] == at[1] || at[1] == at[2] || at[2] == at[0]) continue; // as at the poles of spheres
    for (std::size_t i = 0; i < 3; ++i) {
      const std::uint32_t from = at[i], to = at[(i + 1) % 3];
      edges.push_back({std::min(from, to), std::max(from, to), t, from < to});
    }
  }
  std::sort(edges.begin(), edges.end(),
            [](const Edge& a, const Edge& b) { return std::pair(a.low, a.high) < std::pair(b.low, b.high); });
  return edges;
}

/// Pieces of triangles that hang together.
class Pieces {
 public:
  explicit Pieces(std::size_t triangles) : above_(triangles), open_(triangles, false) {
    std::iota(above_.begin(), above_.end(), 0u);
  }
  std::uint32_t of(std::uint32_t triangle) {
    while (above_[triangle] != triangle)
      triangle = above_[triangle] = above_[above_[triangle]];
    return triangle;
  }
  void join(std::uint32_t a, std::uint32_t b) {
    const std::uint32_t first = of(a), second = of(b);
    above_[second] = first;
    open_[first] = open_[first] || open_[second];
  }
  void open(std::uint32_t triangle) { open_[of(triangle)] = true; }
  bool isOpen(std::uint32_t triangle) { return open_[of(triangle)]; }

 private:
  std::vector<std::uint32_t> above_;
  std::vector<bool> open_;
};

Pieces piecesOf(const Mesh& mesh) {
  Pieces pieces(mesh.triangles.size());
  const std::vector<Edge> edges = edgesOf(mesh);
  for (std::size_t i = 0; i < edges.size();) {
    std::size_t end = i + 1;
    while (end < edges.size() && edges[end].low == edges[i].low && edges[end].high == edges[i].high)
      pieces.join(edges[i].triangle, edges[end++].triangle);
    if (end != i + 2 || edges[i].forward == edges[i + 1].forward) pieces.open(edges[i].triangle);
    i = end;
  }
  return pieces;
}

struct Measure {
  double volume = 0, area = 0;
};

} // namespace

std::vector<std::int8_t> outwardSides(const Mesh& mesh) {
  if (mesh.triangles.size() > mostTriangles) return {};
  Pieces pieces = piecesOf(mesh);
  std::vector<Measure> measures(mesh.triangles.size());
  const Vec3 middle = (Vec3(mesh.low) + Vec3(mesh.high)) * 0.5f;
  for (std::uint32_t t = 0; t < mesh.triangles.size(); ++t) {
    const auto& c = mesh.triangles[t];
    const Vec3 a = Vec3(mesh.positions[c[0]]) - middle, b = Vec3(mesh.positions[c[1]]) - middle,
               d = Vec3(mesh.positions[c[2]]) - middle;
    Measure& whole = measures[pieces.of(t)];
    whole.volume += static_cast<double>(dot(a, cross(b, d))) / 6;
    whole.area += 0.5 * static_cast<double>(length(cross(b - a, d - a)));
  }
  std::vector<std::int8_t> sides(mesh.triangles.size(), 0);
  for (std::uint32_t t = 0; t < sides.size(); ++t) {
    const Measure& whole = measures[pieces.of(t)];
    const bool closed = !pieces.isOpen(t) && std::abs(whole.volume) > leastVolume * std::pow(whole.area, 1.5);
    if (closed) sides[t] = whole.volume > 0 ? 1 : -1;
  }
  return sides;
}

} // namespace host::render
