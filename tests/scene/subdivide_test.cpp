// Catmull-Clark subdivision against known shapes.
#include "subdivide.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>

#include "generated_mesh.h"
#include "identity.h"
#include "mesh_tools.h"

namespace host {
namespace {

// A cube from -1 to 1 as in a file: every face has its own vertices and normals, two triangles each.
std::shared_ptr<Mesh> cube() {
  auto mesh = std::make_shared<Mesh>();
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (const float side : {-1.0F, 1.0F}) {
      const auto first = static_cast<std::uint32_t>(mesh->positions.size());
      const std::size_t u = (axis + 1) % 3, v = (axis + 2) % 3;
      for (const auto& [a, b] : {std::pair(-1.0F, -1.0F), {1.0F, -1.0F}, {1.0F, 1.0F}, {-1.0F, 1.0F}}) {
        Float3 p{}, n{};
        p[axis] = n[axis] = side;
        p[u] = side > 0 ? a : -a; // keeps the front outside
        p[v] = b;
        mesh->positions.push_back(p);
        mesh->normals.push_back(n);
        mesh->uv[0].push_back({(a + 1) / 2, (b + 1) / 2});
      }
      mesh->triangles.push_back({first, first + 1, first + 2});
      mesh->triangles.push_back({first, first + 2, first + 3});
    }
  }
  mesh->groups = {{0, 4}, {4, 8}};
  setBounds(*mesh);
  return mesh;
}

float length(const Float3& p) {
  return std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
}

// Faces that meet at a corner with the same coordinates share a vertex there.
int cornersOf(const Mesh& mesh) {
  std::set<std::pair<Float3, Float2>> corners;
  for (std::size_t v = 0; v < mesh.positions.size(); ++v)
    corners.emplace(mesh.positions[v], mesh.uv[0][v]);
  return static_cast<int>(corners.size());
}

TEST(Subdivision, levelZeroIsTheMeshItself) {
  const auto mesh = cube();
  EXPECT_EQ(subdivide(mesh, 0, nullptr), mesh);
}

TEST(Subdivision, firstStepOfACube) {
  const MeshPtr fine = subdivide(cube(), 1, nullptr);
  EXPECT_EQ(fine->triangles.size(), 48U);
  // Face points stay on the faces' middles, edge points at 3/4, corners at 5/9 (Catmull and Clark, 1978).
  std::map<int, int> kinds;
  for (const Float3& p : fine->positions) {
    int zeros = 0;
    float largest = 0;
    for (const float c : p) {
      zeros += std::abs(c) < 1e-5F;
      largest = std::max(largest, std::abs(c));
    }
    ++kinds[zeros];
    EXPECT_NEAR(largest, zeros == 2 ? 1.0F : zeros == 1 ? 0.75F : 5.0F / 9, 1e-5F);
  }
  EXPECT_EQ(kinds[2], 6);
  EXPECT_EQ(kinds[1], 12 * 2) << "a seam of coordinates has a vertex on each side";
  EXPECT_EQ(kinds[0], cornersOf(*cube())) << "and so has a corner, for each place in the picture";
}

TEST(Subdivision, aCubeBecomesRoundAndStaysClosed) {
  const MeshPtr fine = subdivide(cube(), 4, nullptr);
  EXPECT_EQ(fine->triangles.size(), 12U * 256 / 2 * 2);
  float least = 9, most = 0;
  for (const Float3& p : fine->positions)
    least = std::min(least, length(p)), most = std::max(most, length(p));
  EXPECT_LT(most / least, 1.15F);
  std::map<std::pair<Float3, Float3>, int> edges;
  for (const auto& t : fine->triangles)
    for (std::size_t i = 0; i < 3; ++i)
      ++edges[{fine->positions[t[i]], fine->positions[t[(i + 1) % 3]]}];
  for (const auto& [edge, count] : edges) {
    ASSERT_EQ(count, 1);
    ASSERT_TRUE(edges.contains({edge.second, edge.first})) << "each edge has its other side";
  }
  for (std::size_t v = 0; v < fine->normals.size(); ++v) {
    EXPECT_NEAR(length(fine->normals[v]), 1, 1e-5F);
    const Float3& p = fine->positions[v];
    const Float3& n = fine->normals[v];
    EXPECT_GT((n[0] * p[0] + n[1] * p[1] + n[2] * p[2]) / length(p), 0.95F) << "normals point out";
  }
}

TEST(Subdivision, coordinatesKeepTheirSeams) {
  const MeshPtr fine = subdivide(cube(), 2, nullptr);
  ASSERT_EQ(fine->uv[0].size(), fine->positions.size());
  for (const auto& uv : fine->uv[0])
    for (const float c : uv)
      EXPECT_TRUE(c >= -1e-6F && c <= 1 + 1e-6F);
  // The corners of every face keep the corners of the picture.
  int corners = 0;
  for (const auto& uv : fine->uv[0])
    corners += (std::abs(uv[0]) < 1e-6F || std::abs(uv[0] - 1) < 1e-6F) &&
               (std::abs(uv[1]) < 1e-6F || std::abs(uv[1] - 1) < 1e-6F);
  EXPECT_EQ(corners, cornersOf(*cube()));
}

TEST(Subdivision, groupsStayApart) {
  const MeshPtr fine = subdivide(cube(), 1, nullptr);
  ASSERT_EQ(fine->groups.size(), 2U);
  EXPECT_EQ(fine->groups[0].firstTriangle, 0U);
  EXPECT_EQ(fine->groups[0].triangleCount, 16U);
  EXPECT_EQ(fine->groups[1].firstTriangle, 16U);
  EXPECT_EQ(fine->groups[1].triangleCount, 32U);
}

TEST(Subdivision, badShapesDoNoHarm) {
  auto mesh = std::make_shared<Mesh>();
  mesh->positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}};
  mesh->triangles = {{0, 1, 2}, {0, 1, 3}, {1, 0, 3},
                     {0, 0, 1}, {0, 4, 1}, {2, 1, 0}}; // three at an edge, degenerate ones
  mesh->groups = {{0, 6}};
  const MeshPtr fine = subdivide(mesh, 3, nullptr);
  ASSERT_TRUE(fine);
  for (const auto& t : fine->triangles)
    for (const std::uint32_t v : t)
      ASSERT_LT(v, fine->positions.size());
  mesh->triangles = {{0, 0, 0}};
  mesh->groups = {{0, 1}};
  EXPECT_EQ(subdivide(mesh, 2, nullptr), mesh);
}

// The cache holds no mesh whose source is gone: a scene that is read again and again does not let it grow.
TEST(Subdivision, TheCacheForgetsLostSources) {
  const auto made = [] {
    auto mesh = cube();
    mesh->id = newIdentity();
    return mesh;
  };
  const MeshPtr kept = made();
  const MeshPtr fine = subdividedMesh(kept, 2, nullptr);
  MeshPtr last = made();
  subdividedMesh(last, 2, nullptr);
  const std::size_t two = generatedMeshBytes();
  for (int i = 0; i < 20; ++i) {
    last = made();
    subdividedMesh(subdividedMesh(last, 1, nullptr), 1, nullptr); // of a generated mesh as well
  }
  last = made();
  subdividedMesh(last, 2, nullptr);
  EXPECT_EQ(generatedMeshBytes(), two);
  EXPECT_EQ(subdividedMesh(kept, 2, nullptr), fine) << "a source that lives keeps its mesh";
}

} // namespace
} // namespace host
