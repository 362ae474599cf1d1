// Closed glowing meshes: their back faces are no lights for those outside.
#include <gtest/gtest.h>

#include <cmath>

#include "closed_mesh.h"
#include "scene_kit.h"

using namespace kit;

namespace {

// A cube of two triangles a face with corners of their own, wound outwards; `open` leaves the last face out.
MeshPtr cube(float half, bool open = false, bool inwards = false) {
  auto mesh = std::make_shared<Mesh>();
  const float h = half;
  const Float3 faces[6][4] = {
      {{-h, -h, h}, {h, -h, h}, {h, h, h}, {-h, h, h}}, {{h, -h, -h}, {-h, -h, -h}, {-h, h, -h}, {h, h, -h}},
      {{h, -h, h}, {h, -h, -h}, {h, h, -h}, {h, h, h}}, {{-h, -h, -h}, {-h, -h, h}, {-h, h, h}, {-h, h, -h}},
      {{-h, h, h}, {h, h, h}, {h, h, -h}, {-h, h, -h}}, {{-h, -h, -h}, {h, -h, -h}, {h, -h, h}, {-h, -h, h}}};
  for (int face = 0; face < (open ? 5 : 6); ++face) {
    const auto first = static_cast<std::uint32_t>(mesh->positions.size());
    mesh->positions.insert(mesh->positions.end(), std::begin(faces[face]), std::end(faces[face]));
    mesh->triangles.push_back({first, first + 1, first + 2});
    mesh->triangles.push_back({first, first + 2, first + 3});
  }
  if (inwards)
    for (auto& triangle : mesh->triangles)
      std::swap(triangle[1], triangle[2]);
  mesh->groups = {{0, static_cast<std::uint32_t>(mesh->triangles.size())}};
  mesh->low = {-h, -h, -h}, mesh->high = {h, h, h};
  return mesh;
}

TEST(ClosedMesh, FacesOutwards) {
  const auto all = [](const MeshPtr& mesh, std::int8_t side) {
    return render::outwardSides(*mesh) == std::vector<std::int8_t>(mesh->triangles.size(), side);
  };
  EXPECT_TRUE(all(cube(1), 1));
  EXPECT_TRUE(all(cube(1, false, true), -1));
  EXPECT_TRUE(all(cube(1, true), 0));
  EXPECT_TRUE(all(ball(2, 16), 1));
  EXPECT_TRUE(all(quad({0, 0, 0}, {1, 0, 0}, {0, 1, 0}), 0));
  // One turned triangle opens its piece.
  auto turned = std::make_shared<Mesh>(*cube(1));
  std::swap(turned->triangles[3][0], turned->triangles[3][1]);
  EXPECT_TRUE(all(turned, 0));
}

TEST(ClosedMesh, PiecesCountAlone) {
  auto two = std::make_shared<Mesh>(*cube(1));
  const MeshPtr other = cube(1, false, true), open = cube(1, true);
  for (const MeshPtr& more : {other, open}) {
    const auto first = static_cast<std::uint32_t>(two->positions.size());
    for (Float3 at : more->positions) {
      at[0] += static_cast<float>(first);
      two->positions.push_back(at);
    }
    for (const auto& t : more->triangles)
      two->triangles.push_back({t[0] + first, t[1] + first, t[2] + first});
  }
  const std::vector<std::int8_t> sides = render::outwardSides(*two);
  ASSERT_EQ(sides.size(), 34u);
  for (std::size_t i = 0; i < sides.size(); ++i)
    EXPECT_EQ(sides[i], i < 12 ? 1 : i < 24 ? -1 : 0) << i;
}

// A back and a front at one place enclose nothing.
TEST(ClosedMesh, FlatOnesAreOpen) {
  auto flat = std::make_shared<Mesh>(*quad({0, 0, 0}, {1, 0, 0}, {0, 1, 0}));
  const auto front = flat->triangles;
  for (const auto& t : front)
    flat->triangles.push_back({t[0], t[2], t[1]});
  EXPECT_EQ(render::outwardSides(*flat), std::vector<std::int8_t>(4, 0));
}

struct Light {
  bool doubleSided = true, inwards = false, open = false, mirrored = false;
};

// A glowing cube beside a floor that its light grazes.
Scene lamp(const Light& light) {
  Scene scene;
  scene.materials[0]->reflectionOn = false;
  scene.add(quad({-2, 0, 2}, {4, 0, 0}, {0, 0, -4}));
  int glow;
  SurfaceMaterial& m = scene.addMaterial(&glow);
  m.baseColor = {0, 0, 0, 1};
  m.reflectionOn = false;
  m.emission = {4, 4, 4};
  m.doubleSided = light.doubleSided;
  Matrix up;
  up.off = Vector(0, 0.7, 0);
  if (light.mirrored) up.v1 = Vector(-1, 0, 0);
  scene.add(cube(0.4f, light.open, light.inwards), glow, up);
  scene.lookAt({0, 5, 0.01f}, {0, 0, 0}, true, 1.8f);
  return scene;
}

struct Spread {
  double mean = 0, error = 0;
};
// Of the floor beside the cube, over renders with light samples alone.
Spread measure(Scene scene, bool lightsOnly = true) {
  auto how = settings(12, 12, 16);
  how.noise = 0;
  how.globalIllumination = false;
  how.antiAliasing = render::AntiAliasing::none;
  if (lightsOnly) how.lightSampling = render::LightSampling::lightsOnly;
  Spread out;
  constexpr int runs = 12;
  std::vector<double> sums(144), squares(144);
  for (int run = 0; run < runs; ++run) {
    how.seed = static_cast<std::uint32_t>(run);
    const Result r = draw(scene, 12, 12, how);
    for (int i = 0; i < 144; ++i) {
      const auto v = static_cast<double>(r.at(i % 12, i / 12).x);
      sums[static_cast<std::size_t>(i)] += v, squares[static_cast<std::size_t>(i)] += v * v;
    }
  }
  for (int i = 0; i < 144; ++i) {
    const int x = i % 12, y = i / 12;
    if (x >= 3 && x < 9 && y >= 3 && y < 9) continue; // the cube
    const double mean = sums[static_cast<std::size_t>(i)] / runs;
    out.mean += mean;
    out.error += squares[static_cast<std::size_t>(i)] / runs - mean * mean;
  }
  return out;
}

// The same light as that of a one-sided lamp, at the same noise: half of the picks fell on back faces before.
TEST(ClosedEmitter, TwoSidesAreNoNoisierThanOne) {
  const Spread one = measure(lamp({false}));
  ASSERT_GT(one.error, 0);
  for (const Light& light : {Light{}, Light{true, true}, Light{true, false, false, true}}) {
    const Spread two = measure(lamp(light));
    EXPECT_NEAR(two.mean, one.mean, 0.02 * one.mean);
    EXPECT_NEAR(two.error, one.error, 0.25 * one.error);
  }
  EXPECT_GT(measure(lamp({true, false, true})).error, 1.5 * one.error) << "an open cube shines from inside";
}

// All estimators agree on the light of two-sided emitters.
TEST(ClosedEmitter, KeepsItsEnergy) {
  const double wanted = measure(lamp({false}), false).mean;
  EXPECT_NEAR(measure(lamp({}), false).mean, wanted, 0.01 * wanted);
}

// A camera inside sees what the walls send inwards: in a closed glowing room all radiance is the walls' over
// the share of light that they absorb.
TEST(ClosedEmitter, LightsTheCameraInside) {
  Scene scene;
  int glow;
  SurfaceMaterial& m = scene.addMaterial(&glow);
  m.baseColor = {0.5f, 0.5f, 0.5f, 1};
  m.reflectionOn = false;
  m.emission = {1, 1, 1};
  scene.add(cube(1), glow);
  scene.lookAt({0.2f, 0.1f, 0.3f}, {0.2f, 0.1f, -1}, false, 1);
  auto how = settings(8, 8, 64);
  how.noise = 0;
  EXPECT_NEAR(draw(scene, 8, 8, how).mean().x, 2, 0.06);
}

// Rays find the light of an inside that the camera does not share: it looks in through walls that it does
// not see.
TEST(ClosedEmitter, LightsWhatStandsInside) {
  Scene inside;
  inside.materials[0]->reflectionOn = false;
  inside.materials[0]->baseColor = {0.5f, 0.5f, 0.5f, 1};
  inside.add(quad({-0.2f, 0, 0.2f}, {0.4f, 0, 0}, {0, 0, -0.4f}));
  int glow;
  SurfaceMaterial& m = inside.addMaterial(&glow);
  m.baseColor = {0, 0, 0, 1};
  m.reflectionOn = false;
  m.emission = {1, 1, 1};
  inside.add(cube(1), glow).seenByCamera = false;
  inside.lookAt({0, 5, 0.01f}, {0, 0, 0}, true, 0.1f);
  auto how = settings(8, 8, 64);
  how.noise = 0;
  EXPECT_NEAR(draw(inside, 8, 8, how).mean().x, 0.5, 0.01);
}

} // namespace
