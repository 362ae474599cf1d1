#include "mesh_tangents.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <tuple>
#include <utility>

#include "mesh_tools.h"

namespace host {

namespace {

float dot(const Float3& a, const Float3& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// The part of `v` across the unit vector `n`, at unit length; null for a vector along it.
Float3 across(const Float3& v, const Float3& n) {
  const float along = dot(v, n);
  return unit({v[0] - n[0] * along, v[1] - n[1] * along, v[2] - n[2] * along}, {});
}

class Builder {
 public:
  Builder(const Mesh& mesh, std::size_t set, const std::function<bool()>& stopped)
      : mesh_(mesh), uv_(mesh.uv[set]), stopped_(stopped) {}

  CornerTangents build() {
    weld();
    if (ended()) return {};
    measureFaces();
    if (ended()) return {};
    joinAcrossEdges();
    if (ended()) return {};
    return collect();
  }

 private:
  using Index = std::uint32_t;
  struct Face {
    Float3 along{}; // direction in which u grows, not of unit length
    int side = 0;   // 1: the picture shows unmirrored, -1: mirrored, 0: its area is empty
  };

  bool ended() const { return stopped_ && stopped_(); }

  // Vertices of the same position, normal and coordinates count as one.
  void weld() {
    const std::size_t count = mesh_.positions.size();
    const auto key = [&](Index i) { return std::tie(mesh_.positions[i], mesh_.normals[i], uv_[i]); };
    std::vector<Index> order(count);
    std::iota(order.begin(), order.end(), Index{0});
    std::sort(order.begin(), order.end(), [&](Index a, Index b) { return key(a) < key(b); });
    point_.resize(count);
    for (std::size_t i = 0; i < count; ++i)
      point_[order[i]] = i > 0 && key(order[i]) == key(order[i - 1]) ? point_[order[i - 1]] : order[i];
  }

  void measureFaces() {
    faces_.resize(mesh_.triangles.size());
    for (std::size_t f = 0; f < faces_.size(); ++f) {
      const auto& [a, b, c] = mesh_.triangles[f];
      const Float3 d1 = minus(mesh_.positions[b], mesh_.positions[a]);
      const Float3 d2 = minus(mesh_.positions[c], mesh_.positions[a]);
      const float u1 = uv_[b][0] - uv_[a][0], v1 = uv_[b][1] - uv_[a][1];
      const float u2 = uv_[c][0] - uv_[a][0], v2 = uv_[c][1] - uv_[a][1];
      const float area = u1 * v2 - v1 * u2;
      const float sign = area > 0 ? 1.0F : -1.0F;
      Face& face = faces_[f];
      for (std::size_t axis = 0; axis < 3; ++axis)
        face.along[axis] = sign * (d1[axis] * v2 - d2[axis] * v1);
      if (area != 0 && dot(face.along, face.along) > 0) face.side = area > 0 ? 1 : -1;
    }
  }

  // Corners at one point share a tangent where their triangles share an edge and the picture's side.
  void joinAcrossEdges() {
    struct Edge {
      Index low, high; // points
      int side;
      Index corner; // of the edge's start
      auto place() const { return std::tie(low, high, side); }
    };
    group_.resize(3 * faces_.size());
    std::iota(group_.begin(), group_.end(), Index{0});
    std::vector<Edge> edges;
    edges.reserve(group_.size());
    for (Index f = 0; f < faces_.size(); ++f)
      for (Index k = 0; k < 3 && faces_[f].side != 0; ++k) {
        const Index a = pointOf(3 * f + k), b = pointOf(next(3 * f + k));
        edges.push_back({std::min(a, b), std::max(a, b), faces_[f].side, 3 * f + k});
      }
    std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) {
      return std::tie(a.low, a.high, a.side, a.corner) < std::tie(b.low, b.high, b.side, b.corner);
    });
    for (std::size_t i = 1; i < edges.size(); ++i) {
      const Edge &one = edges[i - 1], &other = edges[i];
      if (one.place() != other.place()) continue;
      const bool same = pointOf(one.corner) == pointOf(other.corner);
      join(one.corner, same ? other.corner : next(other.corner));
      join(next(one.corner), same ? next(other.corner) : other.corner);
    }
  }

  CornerTangents collect() {
    std::vector<Float3> sums(group_.size(), Float3{});
    for (Index corner = 0; corner < group_.size(); ++corner)
      if (faces_[corner / 3].side != 0) add(corner, sums[rootOf(corner)]);
    CornerTangents out;
    out.corners.resize(faces_.size());
    std::vector<Index> places(group_.size(), none), atPoint(mesh_.positions.size(), none);
    for (Index corner = 0; corner < group_.size(); ++corner) {
      const int side = faces_[corner / 3].side;
      if (side == 0) continue;
      Index& place = places[rootOf(corner)];
      if (place == none) {
        const Float3 t = unit(sums[rootOf(corner)], {1, 0, 0});
        place = static_cast<Index>(out.values.size());
        out.values.push_back({t[0], t[1], t[2], side > 0 ? -1.0F : 1.0F}); // v grows downwards
      }
      out.corners[corner / 3][corner % 3] = place;
      atPoint[pointOf(corner)] = place;
    }
    fillEmptyFaces(out, atPoint);
    return out;
  }

  // A triangle without an area in the picture takes over a neighbour's tangents.
  void fillEmptyFaces(CornerTangents& out, const std::vector<Index>& atPoint) const {
    Index otherwise = none;
    for (Index corner = 0; corner < group_.size(); ++corner) {
      if (faces_[corner / 3].side != 0) continue;
      Index place = atPoint[pointOf(corner)];
      if (place == none) {
        if (otherwise == none) {
          otherwise = static_cast<Index>(out.values.size());
          out.values.push_back({1, 0, 0, 1});
        }
        place = otherwise;
      }
      out.corners[corner / 3][corner % 3] = place;
    }
  }

  // The triangle's direction across the normal, weighed by the triangle's angle as seen along the normal.
  void add(Index corner, Float3& sum) const {
    const Index vertex = vertexOf(corner);
    const Float3 &n = mesh_.normals[vertex], &p = mesh_.positions[vertex];
    const Float3 t = across(faces_[corner / 3].along, n);
    const Float3 e1 = across(minus(mesh_.positions[vertexOf(next(corner))], p), n);
    const Float3 e2 = across(minus(mesh_.positions[vertexOf(next(next(corner)))], p), n);
    const float angle = std::acos(std::clamp(dot(e1, e2), -1.0F, 1.0F));
    for (std::size_t axis = 0; axis < 3; ++axis)
      sum[axis] += t[axis] * angle;
  }

  static Index next(Index corner) { return corner % 3 == 2 ? corner - 2 : corner + 1; }
  Index vertexOf(Index corner) const { return mesh_.triangles[corner / 3][corner % 3]; }
  Index pointOf(Index corner) const { return point_[vertexOf(corner)]; }

  Index rootOf(Index corner) {
    while (group_[corner] != corner)
      corner = group_[corner] = group_[group_[corner]];
    return corner;
  }
  void join(Index a, Index b) {
    a = rootOf(a), b = rootOf(b);
    group_[std::max(a, b)] = std::min(a, b);
  }

  static constexpr Index none = ~Index{0};
  const Mesh& mesh_;
  const std::vector<Float2>& uv_;
  const std::function<bool()>& stopped_;
  std::vector<Index> point_; // of each vertex: the first vertex like it
  std::vector<Face> faces_;
  std::vector<Index> group_; // of each corner, up to a root
};

} // namespace

CornerTangents cornerTangents(const Mesh& mesh, std::size_t set, const std::function<bool()>& stopped) {
  return Builder(mesh, set, stopped).build();
}

} // namespace host
