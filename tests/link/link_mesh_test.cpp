#include <gtest/gtest.h>

#include <cmath>

#include "link_kit.h"
#include "link_mesh.h"

using namespace host;
using namespace linkkit;

TEST(LinkMeshTest, TrianglesAreTakenOver) {
  const MeshPtr mesh = readLinkMesh(square());
  EXPECT_EQ(mesh->positions.size(), 4U);
  EXPECT_EQ(mesh->triangles, (std::vector<std::array<std::uint32_t, 3>>{{0, 1, 2}, {0, 2, 3}}));
  ASSERT_EQ(mesh->groups.size(), 1U);
  EXPECT_EQ(mesh->groups[0].triangleCount, 2U);
  EXPECT_EQ(mesh->high, (Float3{1, 1, 0}));
}

TEST(LinkMeshTest, PolygonsAreCutAndGroupsFollow) {
  Message message(Json{{"type", "mesh"}, {"key", "m"}});
  // A concave pentagon, an arrow head, then a triangle.
  message.block<F3>("positions", "f32x3", {{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {1, 0.5F, 0}, {0, 2, 0}});
  message.block<std::uint32_t>("face_sizes", "u32", {5, 3});
  message.block<std::uint32_t>("face_vertices", "u32", {0, 1, 2, 3, 4, 0, 1, 2});
  message.block<U2>("groups", "u32x2", {{0, 1}, {1, 1}});
  const MeshPtr mesh = readLinkMesh(message);
  ASSERT_EQ(mesh->triangles.size(), 4U);
  ASSERT_EQ(mesh->groups.size(), 2U);
  EXPECT_EQ(mesh->groups[0].triangleCount, 3U);
  EXPECT_EQ(mesh->groups[1].firstTriangle, 3U);
  double area = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    const Float3 &a = mesh->positions[mesh->triangles[i][0]], &b = mesh->positions[mesh->triangles[i][1]],
                 &c = mesh->positions[mesh->triangles[i][2]];
    const double part =
        (double(b[0]) - a[0]) * (double(c[1]) - a[1]) - (double(b[1]) - a[1]) * (double(c[0]) - a[0]);
    EXPECT_GT(part, 0);
    area += part / 2;
  }
  EXPECT_DOUBLE_EQ(area, 2.5); // the square of 4 without the notch of 1.5
}

TEST(LinkMeshTest, CornersThatDifferSplitTheirVertex) {
  Message message = square();
  // The first triangle's corners and the second's differ at vertex 2 alone.
  message.block<F2>("uv0", "f32x2", {{0, 0}, {1, 0}, {1, 1}, {0, 0}, {0.5F, 1}, {0, 1}});
  message.frame().json["corners"] = {"uv0"};
  const MeshPtr mesh = readLinkMesh(message);
  EXPECT_EQ(mesh->positions.size(), 5U);
  EXPECT_EQ(mesh->triangles[0][0], mesh->triangles[1][0]);
  EXPECT_NE(mesh->triangles[0][2], mesh->triangles[1][1]);
  EXPECT_EQ(mesh->positions[mesh->triangles[1][1]], (Float3{1, 1, 0}));
  EXPECT_EQ(mesh->uv[0][mesh->triangles[1][1]], (Float2{0.5F, 1}));
}

TEST(LinkMeshTest, BadMeshesAreRefused) {
  const auto refused = [](const char* what, const Message& message) {
    EXPECT_THROW(readLinkMesh(message), LinkError) << what;
  };
  refused("index", square().block<U3>("indices", "u32x3", {{0, 1, 4}}));
  refused("format", square().block<U3>("indices", "f32x3", {{0, 1, 2}}));
  refused("not finite", square().block<F3>("positions", "f32x3", {{0, 0, NAN}}));
  refused("length", square().block<F3>("normals", "f32x3", {{0, 0, 1}}));
  refused("groups", square().block<U2>("groups", "u32x2", {{0, 3}}));
  refused("gap", square().block<U2>("groups", "u32x2", {{1, 1}}));
  for (const auto& [key, value] :
       {std::pair("offset", ~std::uint64_t{0} - 7), std::pair("offset", std::uint64_t{4}),
        std::pair("count", ~std::uint64_t{0}), std::pair("count", std::uint64_t{1} << 61)}) {
    Message message = square();
    message.frame().json["blocks"]["positions"][key] = value;
    refused(key, message);
  }
}
