// Layers of the film that split its light: by ways, by groups, and the shadows on catchers.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "layer_table.h"
#include "scene_kit.h"

using namespace kit;

namespace {

constexpr const char* wayNames[] = {"diffuse_direct",
                                    "diffuse_indirect",
                                    "specular_direct",
                                    "specular_indirect",
                                    "transmission",
                                    "emission",
                                    "sky"};

std::vector<std::string> groupNames(const Film& film) {
  std::vector<std::string> names;
  for (const FilmLayerPtr& layer : film.layers())
    if (layer->name().starts_with(lightGroupPrefix)) names.push_back(layer->name());
  return names;
}

Vec3 value(const Result& r, const std::string& layer, int x, int y) {
  const std::vector<float> v = r.layer(layer.c_str(), x, y);
  return v.size() == 3 ? Vec3(v[0], v[1], v[2]) : Vec3(-1.0f);
}

/// Largest distance of a sum of layers from the colour, over the colour and at least a hundredth.
template <class Names>
float worstSum(const Result& r, const Names& names) {
  float worst = 0;
  for (int y = 0; y < r.height; ++y)
    for (int x = 0; x < r.width; ++x) {
      Vec3 sum;
      for (const auto& name : names)
        sum += value(r, name, x, y);
      const Vec3 wanted = r.at(x, y), off = render::abs(sum - wanted);
      const auto over = [&worst](float distance, float colour) {
        worst = std::max(worst, distance / std::max(0.01f, colour));
      };
      over(off.x, wanted.x), over(off.y, wanted.y), over(off.z, wanted.z);
    }
  return worst;
}

Vec3 meanOf(const Result& r, const std::string& layer) {
  Vec3 sum;
  for (int y = 0; y < r.height; ++y)
    for (int x = 0; x < r.width; ++x)
      sum += value(r, layer, x, y);
  return sum / static_cast<float>(r.width * r.height);
}

// A textured floor with a glossy ball, a glass pane, a cut-out and a glowing wall, under a sky and two lamps.
Scene everything() {
  Scene scene;
  scene.materials[0]->baseColorShade = bitmapShade(picture(4, 4, [](int x, int y) {
    return std::array<int, 4>{40 + 50 * x, 200 - 40 * y, 90, 255};
  }));
  int glossy, pane, cut, glow;
  SurfaceMaterial& g = scene.addMaterial(&glossy);
  g.roughness = 0.2f;
  g.clearcoat = 0.5f;
  g.sheenColor = {0.2f, 0.1f, 0.3f};
  SurfaceMaterial& p = scene.addMaterial(&pane);
  p.transmission = 0.9f;
  p.roughness = 0;
  SurfaceMaterial& c = scene.addMaterial(&cut);
  c.alphaMode = AlphaMode::blend;
  c.baseColor = {0.8f, 0.3f, 0.2f, 0.5f};
  SurfaceMaterial& e = scene.addMaterial(&glow);
  e.emission = {30, 20, 10}; // its light from beyond a bounce is cut
  e.lightGroup = "neon.tubes";
  scene.add(quad({-9, -1, 9}, {18, 0, 0}, {0, 0, -18}));
  scene.add(ball(1, 24), glossy);
  scene.add(quad({-3, -1, 2}, {2.5f, 0, 0}, {0, 3, 0}), pane);
  scene.add(quad({1, -1, 2}, {2, 0, 0}, {0, 3, 0}), cut);
  scene.add(quad({3, -1, -3}, {2, 0, 1}, {0, 2, 0}), glow);
  scene.sky(0.4f);
  SnapshotLight& key = scene.addLight(LightKind::spot, {0, 6, 4}, {0, 0, 0}, 60);
  key.radius = 0.3f;
  key.group = "key";
  scene.addLight(LightKind::distant, {4, 5, 1}, {0, 0, 0}, 1.5f).radius = 0.02f;
  scene.lookAt({0, 1.5f, 8}, {0, 0, 0}, false, 0.7f);
  return scene;
}

TEST(LightLayers, AddUpToTheColour) {
  Scene scene = everything();
  auto how = settings(24, 24, 8);
  const Result plain = draw(scene, 24, 24, how);
  for (const render::Filter filter : {render::Filter::area, render::Filter::sinc})
    for (const bool separate : {false, true}) {
      how.filter = filter;
      how.globalIllumination = !separate;
      how.layers = allLayers() & ~denoisedLayer;
      const Result r = draw(scene, 24, 24, how);
      if (filter == render::Filter::area && !separate) {
        EXPECT_EQ(r.pixels, plain.pixels);
      }
      EXPECT_LT(worstSum(r, wayNames), 2e-5f);
      const std::vector<std::string> groups = groupNames(*r.film);
      EXPECT_EQ(groups, (std::vector<std::string>{"lightgroup_key", "lightgroup_default",
                                                  "lightgroup_neon_tubes", "lightgroup_sky"}));
      EXPECT_LT(worstSum(r, groups), 2e-5f);
      for (const char* way : wayNames) {
        const bool none = separate && std::string_view(way) == "diffuse_indirect";
        EXPECT_GT(meanOf(r, way).x, none ? -1 : 1e-5f) << way;
      }
      for (const std::string& group : groups)
        EXPECT_GT(meanOf(r, group).x, 1e-5f) << group;
    }
}

// One lamp over a rough floor: what a sample finds is known for each way.
TEST(LightLayers, SplitDiffuseFromSpecularLight) {
  Scene scene;
  scene.materials[0]->specular = 0;
  scene.materials[0]->baseColor = {0.5f, 0.25f, 1, 1};
  scene.add(quad({-9, 0, 9}, {18, 0, 0}, {0, 0, -18}));
  scene.addLight(LightKind::distant, {0, 5, 0}, {0, 0, 0}, 2);
  scene.lookAt({0, 5, 0}, {0, 0, 0}, true, 1);
  auto how = settings(4, 4, 4);
  how.layers = allLayers() & ~denoisedLayer;
  const Result matt = draw(scene, 4, 4, how);
  EXPECT_NEAR(meanOf(matt, "diffuse_direct").x, 1 / render::pi, 1e-4f);
  EXPECT_NEAR(meanOf(matt, "diffuse_direct").y, 0.5f / render::pi, 1e-4f);
  EXPECT_EQ(meanOf(matt, "specular_direct").x, 0);
  EXPECT_EQ(meanOf(matt, "diffuse_indirect").x, 0);

  scene.materials[0]->metallic = 1;
  scene.materials[0]->roughness = 0.5f;
  const Result metal = draw(scene, 4, 4, how);
  EXPECT_EQ(meanOf(metal, "diffuse_direct").x, 0);
  EXPECT_GT(meanOf(metal, "specular_direct").x, 0.1f);
}

// Light that comes over a second surface is indirect: a lamp lights only the wall, whose light reaches the
// floor.
TEST(LightLayers, SplitDirectFromIndirectLight) {
  Scene scene;
  scene.materials[0]->specular = 0;
  scene.add(quad({-2, 0, 2}, {4, 0, 0}, {0, 0, -4}));
  scene.add(quad({-2, 0.5f, -2}, {4, 0, 0}, {0, 3, 0}));
  SnapshotLight& lamp = scene.addLight(LightKind::distant, {0, 0, 5}, {0, 0, 0}, 3);
  lamp.group = "lamp";
  scene.lookAt({0, 5, 0}, {0, 0, 0}, true, 1);
  auto how = settings(8, 8, 64);
  how.layers = allLayers() & ~denoisedLayer;
  const Result r = draw(scene, 8, 8, how);
  EXPECT_LT(meanOf(r, "diffuse_direct").x, 1e-5f);
  EXPECT_GT(meanOf(r, "diffuse_indirect").x, 0.005f);
  EXPECT_NEAR(meanOf(r, "diffuse_indirect").x, meanOf(r, "lightgroup_lamp").x, 1e-5f);
}

TEST(LightLayers, LightBehindClearGlassIsTransmission) {
  Scene scene;
  int pane;
  SurfaceMaterial& g = scene.addMaterial(&pane);
  g.transmission = 1;
  g.roughness = 0;
  g.ior = 1;
  scene.add(quad({-9, -9, 0}, {18, 0, 0}, {0, 18, 0}));
  scene.add(quad({-9, -9, 3}, {9, 0, 0}, {0, 18, 0}), pane); // over the left half
  scene.addLight(LightKind::distant, {0, 0, 5}, {0, 0, 0}, 2);
  scene.lookAt({0, 0, 9}, {0, 0, 0}, true, 1);
  auto how = settings(4, 4, 8);
  how.layers = allLayers() & ~denoisedLayer;
  const Result r = draw(scene, 4, 4, how);
  EXPECT_EQ(value(r, "diffuse_direct", 0, 1).x, 0);
  EXPECT_NEAR(value(r, "transmission", 0, 1).x, r.at(0, 1).x, 1e-3f);
  EXPECT_GT(value(r, "diffuse_direct", 3, 1).x, 0.1f);
  EXPECT_EQ(value(r, "transmission", 3, 1).x, 0);
}

TEST(LightLayers, SamplesNoisePositionAndTextureCoordinates) {
  Scene scene;
  scene.add(quad({1000, -8, 0}, {8, 0, 0}, {0, 16, 0})); // away from the renderer's origin
  scene.sky(1);
  scene.lookAt({1004, 0, 5}, {1004, 0, 0}, true, 8);
  auto how = settings(8, 8, 16);
  how.layers = allLayers() & ~denoisedLayer;
  const Result r = draw(scene, 8, 8, how);
  EXPECT_EQ(r.layer("samples", 3, 3)[0], 16);
  const std::vector<float> at = r.layer("position", 3, 3), uv = r.layer("uv", 3, 3);
  ASSERT_EQ(at.size(), 3u);
  EXPECT_NEAR(at[0], 1003, 0.25f); // the pixel from 1002 to 1004
  EXPECT_NEAR(at[1], 1, 0.25f);
  EXPECT_NEAR(at[2], 0, 1e-4f);
  ASSERT_EQ(uv.size(), 2u);
  EXPECT_NEAR(uv[0], 3.0f / 8, 0.13f);
  EXPECT_EQ(r.layer("position", 0, 0)[0], 0); // no surface there
  EXPECT_EQ(r.layer("noise", 3, 3).size(), 1u);
}

TEST(LightLayers, NoiseIsTheErrorOfThePicture) {
  Scene scene;
  scene.add(quad({-9, 0, 9}, {18, 0, 0}, {0, 0, -18}));
  scene.add(quad({-1, 1, 1}, {2, 0, 0}, {0, 0, -2}));
  SnapshotLight& lamp = scene.addLight(LightKind::point, {0, 4, 0}, {0, 0, 0}, 20);
  lamp.radius = 2;
  scene.lookAt({0, 8, 0.01f}, {0, 0, 0}, true, 3);
  auto how = settings(32, 32, 16);
  how.layers = noiseLayer;
  const Result r = draw(scene, 32, 32, how);
  how.layers = 0;
  how.samples = 1024;
  const Result exact = draw(scene, 32, 32, how);
  double error = 0, estimate = 0;
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 32; ++x) {
      const auto tone = [](Vec3 c) { return std::sqrt(render::clamp01(render::luminance(c))); };
      const double off = static_cast<double>(tone(r.at(x, y)) - tone(exact.at(x, y)));
      const double noise = static_cast<double>(r.layer("noise", x, y)[0]);
      error += off * off, estimate += noise * noise;
    }
  EXPECT_GT(estimate, 0.5 * error);
  EXPECT_LT(estimate, 6 * error);
}

TEST(LightLayers, PreviewsHaveNone) {
  Scene scene = everything();
  auto how = settings(8, 8, 1);
  how.layers = allLayers();
  how.preview = true;
  const Result r = draw(scene, 8, 8, how);
  ASSERT_EQ(r.film->layers().size(), 1u);
  EXPECT_EQ(r.film->layers()[0]->name(), "sky");
}

TEST(LightLayers, ADenoisedLayerLeavesThePictureNoisy) {
  Scene scene = ballInSky();
  auto how = settings(32, 32, 2);
  const Result noisy = draw(scene, 32, 32, how);
  how.layers = denoisedLayer;
  const Result r = draw(scene, 32, 32, how);
  EXPECT_EQ(r.pixels, noisy.pixels);
  ASSERT_TRUE(r.film->findLayer("denoised"));
  EXPECT_NE(value(r, "denoised", 16, 16).x, noisy.at(16, 16).x);
}

// A lamp straight above; a roof over the left half of the floor keeps all of its light off.
TEST(LightLayers, ShadowCatcher) {
  Scene scene;
  scene.add(quad({-4, 0, 4}, {8, 0, 0}, {0, 0, -8})).catchesShadows = true;
  scene.add(quad({-4, 1, 4}, {4, 0, 0}, {0, 0, -8})).seenByCamera = false;
  scene.addLight(LightKind::distant, {0, 5, 0}, {0, 0, 0}, 2);
  scene.lookAt({0, 5, 0}, {0, 0, 0}, true, 8); // the floor covers the middle half
  const auto how = settings(8, 8, 16);
  const Result r = draw(scene, 8, 8, how);
  EXPECT_EQ(r.layer("shadow_catcher", 3, 3), (std::vector<float>{0, 0, 0}));
  EXPECT_EQ(r.layer("shadow_catcher", 4, 3), (std::vector<float>{1, 1, 1}));
  EXPECT_EQ(r.layer("shadow_catcher", 0, 0), (std::vector<float>{1, 1, 1})); // beside the floor
  scene.snapshot->instances[0].catchesShadows = false;
  EXPECT_TRUE(draw(scene, 8, 8, how).layer("shadow_catcher", 3, 3).empty());
}

// Half of an even sky is hidden behind a wall that stands on the floor's edge.
TEST(LightLayers, ShadowCatcherUnderASky) {
  Scene scene;
  scene.materials[0]->specular = 0;
  scene.add(quad({0, 0, 20}, {20, 0, 0}, {0, 0, -40})).catchesShadows = true;
  scene.add(quad({0, 0, 400}, {0, 800, 0}, {0, 0, -800})).seenByCamera = false;
  scene.sky(1);
  scene.lookAt({0.02f, 5, 0}, {0.02f, 0, 0}, true, 0.01f);
  auto how = settings(4, 4, 256);
  how.bounces = 1;
  const Result r = draw(scene, 4, 4, how);
  EXPECT_NEAR(meanOf(r, "shadow_catcher").x, 0.5f, 0.03f);
}

// The left wall has texture coordinates without an end, the right one an infinite light.
TEST(LightLayers, ValuesThatAreNotFiniteAreCountedAndStayAlone) {
  Scene scene;
  const auto wall = std::make_shared<Mesh>(*quad({-8, -8, 0}, {8, 0, 0}, {0, 16, 0}));
  for (Float2& uv : wall->uv[0])
    uv[0] = std::numeric_limits<float>::infinity();
  scene.add(wall);
  int bright;
  scene.addMaterial(&bright).emission = {std::numeric_limits<float>::infinity(), 1, 1};
  scene.add(quad({0, -8, 0}, {4, 0, 0}, {0, 16, 0}), bright);
  scene.add(quad({4, -8, 0}, {4, 0, 0}, {0, 16, 0}));
  scene.sky(0.5f);
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 8);
  auto how = settings(8, 8, 4);
  how.layers = allLayers() & ~denoisedLayer;
  const Result r = draw(scene, 8, 8, how);
  for (const FilmLayerPtr& layer : r.film->layers())
    for (int y = 0; y < 8; ++y)
      for (int x = 0; x < 8; ++x)
        for (const float v : r.layer(layer->name().c_str(), x, y))
          ASSERT_TRUE(std::isfinite(v)) << layer->name() << " " << x << ", " << y;
  EXPECT_GT(r.layer("uv", 7, 3)[0], 0.4f);
  EXPECT_NEAR(r.at(7, 3).x, 0.5f, 0.05f);
  ASSERT_EQ(r.problems.size(), 1u);
  EXPECT_NE(r.problems[0].find("samples were infinite or not numbers"), std::string::npos) << r.problems[0];
}

} // namespace
