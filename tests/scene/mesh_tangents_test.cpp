// Tangents made for meshes that have none.
#include "mesh_tangents.h"

#include <gtest/gtest.h>

#include <cmath>

namespace host {
namespace {

// A strip of squares in the plane y = 0 with normals up: `corners` gives x, z, u, v of each vertex.
Mesh flat(const std::vector<Float4>& corners, std::vector<std::array<std::uint32_t, 3>> triangles) {
  Mesh mesh;
  for (const Float4& c : corners) {
    mesh.positions.push_back({c[0], 0, c[1]});
    mesh.normals.push_back({0, 1, 0});
    mesh.uv[0].push_back({c[2], c[3]});
  }
  mesh.triangles = std::move(triangles);
  return mesh;
}

Float4 at(const CornerTangents& t, std::size_t triangle, std::size_t corner) {
  return t.values[t.corners[triangle][corner]];
}

TEST(MeshTangents, FollowU) {
  // u grows along x, v along z: seen from above, v grows downwards.
  const Mesh mesh = flat({{0, 0, 0, 0}, {1, 0, 1, 0}, {1, 1, 1, 1}, {0, 1, 0, 1}}, {{0, 3, 2}, {0, 2, 1}});
  const CornerTangents t = cornerTangents(mesh, 0);
  ASSERT_EQ(t.corners.size(), 2U);
  for (std::size_t f = 0; f < 2; ++f)
    for (std::size_t k = 0; k < 3; ++k)
      EXPECT_EQ(at(t, f, k), (Float4{1, 0, 0, 1}));
}

TEST(MeshTangents, AreWeighedByAnglesAtSharedCorners) {
  // The second triangle's u runs at an angle; it holds 45 of the 135 degrees at the shared corner 0.
  Mesh mesh = flat({{0, 0, 0, 0}, {1, 0, 1, 0}, {0, -1, 0, -1}, {-1, -1, -1, -0.5F}}, {{0, 1, 2}, {0, 2, 3}});
  const CornerTangents t = cornerTangents(mesh, 0);
  const double pi = std::acos(-1.0);
  // The second triangle: e1 = (0, -1) with uv (0, -1), e2 = (-1, -1) with uv (-1, -1/2): u grows along
  // (1, 1/2) in x, z.
  const double length = std::sqrt(1.25), x = pi / 2 + pi / 4 / length, z = pi / 4 * 0.5 / length;
  const double whole = std::sqrt(x * x + z * z);
  EXPECT_NEAR(at(t, 0, 0)[0], x / whole, 1e-5);
  EXPECT_NEAR(at(t, 0, 0)[2], z / whole, 1e-5);
  EXPECT_EQ(at(t, 0, 0), at(t, 1, 0));
  EXPECT_EQ(at(t, 0, 1), (Float4{1, 0, 0, 1})) << "a corner of one triangle";
}

TEST(MeshTangents, MirroredPartsKeepTheirOwn) {
  // u grows to the left and to the right of the middle edge.
  const Mesh mesh = flat({{0, 0, 0, 0}, {0, 1, 0, 1}, {1, 1, 1, 1}, {-1, 1, 1, 1}}, {{0, 1, 2}, {0, 3, 1}});
  const CornerTangents t = cornerTangents(mesh, 0);
  EXPECT_EQ(at(t, 0, 0), (Float4{1, 0, 0, 1}));
  EXPECT_EQ(at(t, 1, 0), (Float4{-1, 0, 0, -1}));
}

TEST(MeshTangents, EqualVerticesCountAsOne) {
  Mesh shared =
      flat({{0, 0, 0, 0}, {1, 0, 1, 0}, {0, -1, 0, -1}, {-1, -1, -1, -0.5F}}, {{0, 1, 2}, {0, 2, 3}});
  Mesh split = shared;
  for (const std::size_t vertex : {0U, 2U}) {
    split.positions.push_back(split.positions[vertex]);
    split.normals.push_back(split.normals[vertex]);
    split.uv[0].push_back(split.uv[0][vertex]);
  }
  split.triangles = {{0, 1, 2}, {4, 5, 3}};
  const CornerTangents a = cornerTangents(shared, 0), b = cornerTangents(split, 0);
  for (std::size_t f = 0; f < 2; ++f)
    for (std::size_t k = 0; k < 3; ++k)
      EXPECT_EQ(at(a, f, k), at(b, f, k));
}

TEST(MeshTangents, TrianglesWithoutAreaInThePictureTakeANeighbours) {
  const Mesh mesh = flat({{0, 0, 0, 0}, {0, 1, 0, 1}, {1, 1, 1, 1}, {5, 5, 0, 0}, {6, 5, 0, 0}},
                         {{0, 1, 2}, {0, 0, 1}, {3, 4, 3}});
  const CornerTangents t = cornerTangents(mesh, 0);
  EXPECT_EQ(at(t, 1, 0), (Float4{1, 0, 0, 1}));
  for (std::size_t k = 0; k < 3; ++k)
    for (const float value : at(t, 2, k))
      EXPECT_TRUE(std::isfinite(value));
}

TEST(MeshTangents, EndAfterABreak) {
  const Mesh mesh = flat({{0, 0, 0, 0}, {0, 1, 0, 1}, {1, 1, 1, 1}}, {{0, 1, 2}});
  EXPECT_TRUE(cornerTangents(mesh, 0, [] { return true; }).corners.empty());
}

} // namespace
} // namespace host
