// Coverage and layers of the film.
#include <gtest/gtest.h>

#include "display_transform.h"
#include "scene_kit.h"

using namespace kit;

namespace {

// A picture of 8 x 8 metres and pixels whose left four and a half columns show an unlit wall of 0.8.
Scene halfWall() {
  Scene scene;
  scene.materials[0]->unlit = true;
  scene.materials[0]->baseColor = {0.8f, 0.8f, 0.8f, 1};
  scene.add(quad({-8, -8, 0}, {8.5f, 0, 0}, {0, 16, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 4);
  return scene;
}

// Sixteen samples have eight in either half of a pixel.
TEST(Layers, CoverageOfAnEdgeWithoutASky) {
  Scene scene = halfWall();
  auto how = settings(8, 8, 16);
  how.antiAliasing = render::AntiAliasing::none;
  const Result r = draw(scene, 8, 8, how);
  EXPECT_FLOAT_EQ(r.at(4, 3).x, 0.4f);
  EXPECT_FLOAT_EQ(r.alpha(4, 3), 0.5f);
  EXPECT_EQ(r.display[3 * 8 + 4] & 255u, host::toDisplay(0.4f)); // as it looks over black
  float straight[4];
  r.film->getStraight(4, 3, straight);
  EXPECT_FLOAT_EQ(straight[0], 0.8f);
  EXPECT_FLOAT_EQ(straight[3], 0.5f);
  EXPECT_EQ(r.film->findLayer(film_layers::sky), nullptr);
}

TEST(Layers, CoverageOfAnEdgeBeforeASky) {
  Scene scene = halfWall();
  scene.sky(0.5f);
  for (const bool preview : {false, true}) {
    auto how = settings(8, 8, 16);
    how.antiAliasing = render::AntiAliasing::none;
    how.preview = preview;
    const Result r = draw(scene, 8, 8, how);
    if (!preview) {
      EXPECT_FLOAT_EQ(r.at(4, 3).x, 0.65f);
      float straight[4];
      r.film->getStraight(4, 3, straight);
      EXPECT_FLOAT_EQ(straight[0], 0.8f);
    }
    EXPECT_FLOAT_EQ(r.layer("sky", 6, 3)[0], 0.5f);
    EXPECT_FLOAT_EQ(r.layer("sky", 1, 3)[0], 0.0f);
    float straight[4];
    r.film->getStraight(6, 3, straight); // nothing covers it: as it is seen
    EXPECT_FLOAT_EQ(straight[0], 0.5f);
    EXPECT_EQ(straight[3], 0);
  }
}

TEST(Layers, OfAFlatScene) {
  Scene scene;
  scene.materials[0]->baseColor = {0.7f, 0.5f, 0.25f, 1};
  int second;
  scene.addMaterial(&second).baseColor = {0.25f, 0.5f, 0.75f, 1};
  scene.sky(0.5f);
  scene.add(quad({-8, -8, 0}, {8, 0, 0}, {0, 16, 0}));
  scene.add(quad({0, -8, 1}, {8, 0, 0}, {0, 8, 0}), second);
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 4);
  auto how = settings(8, 8, 4);
  const Result plain = draw(scene, 8, 8, how);
  how.layers = 31;
  const Result r = draw(scene, 8, 8, how);
  EXPECT_EQ(r.pixels, plain.pixels); // layers take no samples of their own
  EXPECT_TRUE(plain.layer("albedo", 1, 1).empty());

  const auto expect = [&](const char* name, int x, int y, std::vector<float> wanted) {
    SCOPED_TRACE(name);
    const std::vector<float> seen = r.layer(name, x, y);
    ASSERT_EQ(seen.size(), wanted.size());
    for (std::size_t i = 0; i < seen.size(); ++i)
      EXPECT_NEAR(seen[i], wanted[i], 1e-5f) << x << ", " << y << ", " << i;
  };
  expect("albedo", 1, 1, {0.7f, 0.5f, 0.25f});
  expect("normal", 1, 1, {0, 0, 1});
  expect("depth", 1, 1, {5});
  expect("object_id", 1, 1, {1});
  expect("material_id", 1, 1, {1});
  expect("albedo", 6, 6, {0.25f, 0.5f, 0.75f});
  expect("depth", 6, 6, {4});
  expect("object_id", 6, 6, {2});
  expect("material_id", 6, 6, {2});
  expect("albedo", 6, 1, {0.5f, 0.5f, 0.5f}); // the sky
  expect("normal", 6, 1, {0, 0, 0});
  expect("depth", 6, 1, {0});
  expect("object_id", 6, 1, {0});
  expect("material_id", 6, 1, {0});
}

TEST(Layers, OnlyThoseAskedFor) {
  Scene scene = halfWall();
  auto how = settings(8, 8, 1);
  how.layers = host::depthLayer;
  const Result r = draw(scene, 8, 8, how);
  ASSERT_EQ(r.film->layers().size(), 1u);
  EXPECT_EQ(r.film->layers()[0]->name(), "depth");
}

// The camera looks along -Z at a mirror under 45 degrees that shows a wall beside it, or through a clear
// pane.
TEST(Layers, LookThroughMirrorsAndClearGlass) {
  Scene scene;
  scene.materials[0]->baseColor = {0.7f, 0.5f, 0.25f, 1};
  int mirror;
  SurfaceMaterial& m = scene.addMaterial(&mirror);
  m.metallic = 1;
  m.roughness = 0;
  m.baseColor = {1, 1, 1, 1};
  scene.add(quad({-6, -9, 9}, {0, 0, -18}, {0, 18, 0})); // seen in the mirror; its front looks to +X
  scene.add(quad({-9, -9, -9}, {18, 0, 18}, {0, 18, 0}), mirror);
  scene.lookAt({2, 0, 9}, {2, 0, 0}, true, 0.5f);
  auto how = settings(4, 4, 8);
  how.layers = 31;
  const Result r = draw(scene, 4, 4, how);
  EXPECT_NEAR(r.layer("albedo", 1, 1)[0], 0.7f, 1e-4f);
  EXPECT_NEAR(r.layer("albedo", 1, 1)[2], 0.25f, 1e-4f);
  EXPECT_NEAR(r.layer("normal", 1, 1)[0], 1, 1e-4f);
  EXPECT_NEAR(r.layer("normal", 1, 1)[2], 0, 1e-4f);
  EXPECT_NEAR(r.layer("depth", 1, 1)[0], 7, 0.5f); // to the mirror
  EXPECT_EQ(r.layer("object_id", 1, 1)[0], 2);
  EXPECT_EQ(r.layer("material_id", 1, 1)[0], 2);

  Scene behind;
  behind.materials[0]->baseColor = {0.7f, 0.5f, 0.25f, 1};
  int pane;
  SurfaceMaterial& g = behind.addMaterial(&pane);
  g.transmission = 1;
  g.roughness = 0;
  g.ior = 1.0f; // nothing is reflected
  behind.add(quad({-9, -9, 0}, {18, 0, 0}, {0, 18, 0}));
  behind.add(quad({-9, -9, 3}, {18, 0, 0}, {0, 18, 0}), pane);
  behind.lookAt({0, 0, 9}, {0, 0, 0}, true, 1);
  const Result glass = draw(behind, 4, 4, how);
  EXPECT_NEAR(glass.layer("albedo", 1, 1)[1], 0.5f, 0.01f);
  EXPECT_NEAR(glass.layer("normal", 1, 1)[2], 1, 0.01f);
  EXPECT_NEAR(glass.layer("depth", 1, 1)[0], 6, 1e-3f);
}

TEST(Layers, DenoisingKeepsTheNoisyColour) {
  Scene scene = ballInSky();
  auto how = settings(32, 32, 2);
  const Result noisy = draw(scene, 32, 32, how);
  how.denoise = render::Denoising::end;
  const Result clean = draw(scene, 32, 32, how);
  ASSERT_TRUE(clean.film->findLayer(film_layers::denoised));
  EXPECT_EQ(clean.film->findLayer("albedo"), nullptr); // not asked for
  EXPECT_NE(clean.pixels, noisy.pixels);
  int wrong = 0;
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 32; ++x) {
      float rgba[4];
      clean.film->getColor(x, y, rgba);
      wrong += rgba[0] != noisy.at(x, y).x || rgba[3] != noisy.alpha(x, y);
    }
  EXPECT_EQ(wrong, 0);
}

} // namespace
