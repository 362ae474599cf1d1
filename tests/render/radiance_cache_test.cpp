// The radiance cache: its cells, the paths that fill it, and pictures with it beside those without.
#include "radiance_cache.h"

#include <gtest/gtest.h>

#include "cache_paths.h"
#include "layer_table.h"
#include "path_recorder.h"
#include "scene_kit.h"
#include "worker_threads.h"

using namespace kit;
using render::RadianceCache;
using render::RadianceRecords;

namespace {

constexpr Vec3 up{0, 1, 0};

RadianceRecords records(Vec3 position, Vec3 normal, int count, Vec3 light) {
  RadianceRecords made;
  made.points.assign(static_cast<std::size_t>(count), {position, normal, light});
  return made;
}

RadianceCache cacheOf(const std::vector<RadianceRecords>& lists, std::size_t groups = 0) {
  RadianceCache cache({}, 0.01f, groups);
  for (int size = 0; size < RadianceCache::sizes; ++size)
    cache.fill(size, lists);
  return cache;
}

// Ten metres away the smallest cubes have sides of an eighth of a metre.
constexpr Vec3 place{10.01f, 0.01f, 0.01f};

TEST(RadianceCache, GivesTheMeanOfACube) {
  const RadianceCache cache =
      cacheOf({records(place, up, 12, {1, 2, 3}), records(place + Vec3(0.1f, 0, 0), up, 4, {5, 2, 0})});
  RadianceCache::Mean mean;
  ASSERT_TRUE(cache.find(place + Vec3(0.05f, 0.05f, 0.05f), up, 1, mean));
  EXPECT_EQ(mean.count, 16);
  EXPECT_EQ(mean.light.x, 2);
  EXPECT_EQ(mean.light.y, 2);
  EXPECT_EQ(mean.light.z, 2.25f);
  EXPECT_FALSE(mean.groups);
}

TEST(RadianceCache, SidesOfAWallAreApart) {
  const RadianceCache cache =
      cacheOf({records(place, up, 16, Vec3(1.0f)), records(place, -up, 16, Vec3(7.0f))});
  RadianceCache::Mean mean;
  ASSERT_TRUE(cache.find(place, up, 1, mean));
  EXPECT_EQ(mean.light.x, 1);
  ASSERT_TRUE(cache.find(place, -up, 1, mean));
  EXPECT_EQ(mean.light.x, 7);
  EXPECT_FALSE(cache.find(place, {1, 0, 0}, 1, mean));
}

TEST(RadianceCache, FewRecordsSpeakForLargerCubesOnly) {
  const Vec3 beside = place + Vec3(0.3f, 0, 0); // in the same cube from sides of half a metre on
  RadianceCache::Mean mean;
  const RadianceCache few = cacheOf({records(place, up, 7, Vec3(1.0f))});
  EXPECT_FALSE(few.find(place, up, 1, mean));
  const RadianceCache both = cacheOf({records(place, up, 6, Vec3(1.0f)), records(beside, up, 2, Vec3(5.0f))});
  EXPECT_FALSE(both.find(place, up, 0.4f, mean)) << "from so near the cube's edges would show";
  ASSERT_TRUE(both.find(place, up, 1, mean));
  EXPECT_EQ(mean.light.x, 2);
  EXPECT_EQ(mean.count, 8);
}

TEST(RadianceCache, KeepsTheGroupsOfLights) {
  RadianceRecords list = records(place, up, 16, Vec3(3.0f));
  for (int i = 0; i < 16; ++i) {
    list.groups.push_back(Vec3(1.0f));
    list.groups.push_back(Vec3(2.0f));
  }
  const RadianceCache cache = cacheOf({list}, 2);
  RadianceCache::Mean mean;
  ASSERT_TRUE(cache.find(place, up, 1, mean));
  ASSERT_TRUE(mean.groups);
  EXPECT_EQ(mean.groups[0].x, 16);
  EXPECT_EQ(mean.groups[1].z, 32);
}

TEST(RadianceCache, TakesAnyPlace) {
  RadianceCache::Mean mean;
  const RadianceCache empty({}, 0.01f, 0);
  EXPECT_FALSE(empty.find(place, up, 1, mean));
  for (const float far : {1e-30f, 1e-3f, 1e3f, 1e9f, 1e15f}) {
    const RadianceCache cache = cacheOf({records({far, -far, far}, up, 16, Vec3(1.0f))});
    EXPECT_TRUE(cache.find({far, -far, far}, up, 1e30f, mean)) << far;
  }
}

TEST(PathRecorder, GivesEachVertexTheLightFoundAfterIt) {
  render::PathRecorder recorder(nullptr);
  recorder.begin();
  recorder.vertex({1, 0, 0}, up, Vec3(0.5f), Vec3(1.0f), Vec3(0.25f));
  recorder.vertex({2, 0, 0}, up, Vec3(1.0f), {0.5f, 0.25f, 0.25f}, Vec3(1.25f));
  recorder.vertex({3, 0, 0}, up, Vec3(1.0f), {0.5f, 0, 0.25f}, Vec3(1.25f)); // no green light passes it
  RadianceRecords list;
  recorder.end(Vec3(2.25f), list);
  ASSERT_EQ(list.points.size(), 2u);
  EXPECT_EQ(list.points[0].light.x, 4);
  EXPECT_EQ(list.points[1].light.x, 2);
  EXPECT_EQ(list.points[1].light.y, 4);
  recorder.begin();
  recorder.end(Vec3(2.25f), list);
  EXPECT_EQ(list.points.size(), 2u) << "another path without vertices";
}

/// A room without windows; one lamp hangs in it, the other shines onto the ceiling.
Scene closedRoom() {
  Scene scene;
  scene.materials[0]->baseColor = {0.55f, 0.5f, 0.45f, 1};
  const Vec3 x{6, 0, 0}, y{0, 3, 0}, z{0, 0, 4}, low{-3, 0, -2};
  scene.add(quad(low, z, x));     // floor
  scene.add(quad(low + y, x, z)); // ceiling
  scene.add(quad(low, x, y)), scene.add(quad(low + z, y, x));
  scene.add(quad(low, y, z)), scene.add(quad(low + x, z, y));
  SnapshotLight& warm = scene.addLight(LightKind::spot, {2, 2, 1}, {2, 3, 1}, 3);
  warm.radius = 0.2f;
  warm.outerCone = 1.2f;
  warm.group = "warm";
  SnapshotLight& cold = scene.addLight(LightKind::point, {1.5f, 2, -0.5f}, {0, 0, 0}, 0.7f);
  cold.radius = 0.2f;
  cold.group = "cold";
  scene.lookAt({-2.9f, 1.5f, 0}, {0, 1.2f, 0}, false, 0.9f);
  return scene;
}

constexpr int width = 40, height = 30;

render::RenderSettings roomSettings(int samples, bool cache) {
  render::RenderSettings how = settings(width, height, samples);
  how.radianceCache = cache;
  return how;
}

double squaredError(const Result& r, const Result& reference) {
  double sum = 0;
  for (int y = 0; y < r.height; ++y)
    for (int x = 0; x < r.width; ++x) {
      const Vec3 off = r.at(x, y) - reference.at(x, y);
      sum += static_cast<double>(render::dot(off, off));
    }
  return sum;
}

bool samePixels(const Result& a, const Result& b) {
  return a.pixels == b.pixels;
}

// The squared differences between pictures of two seeds, summed up.
double noiseOf(Scene& scene, bool cache, render::RenderSettings how, Result* last) {
  how.radianceCache = cache;
  how.seed = how.cacheSeed = 1;
  const Result first = draw(scene, how.region.width(), how.region.height(), how);
  how.seed = how.cacheSeed = 2;
  *last = draw(scene, how.region.width(), how.region.height(), how);
  return squaredError(first, *last);
}

TEST(RadianceCachePicture, IsCleanSoonerAndAsBright) {
  Scene scene = closedRoom();
  const auto how = settings(96, 72, 16);
  Result cached, plain;
  const double with = noiseOf(scene, true, how, &cached), without = noiseOf(scene, false, how, &plain);
  EXPECT_LT(with, 0.5 * without);
  EXPECT_LT(static_cast<double>(cached.stats.rays), 0.7 * static_cast<double>(plain.stats.rays));
  const float bright = render::luminance(plain.mean());
  EXPECT_NEAR(render::luminance(cached.mean()), bright, 0.02f * bright);
}

TEST(RadianceCachePicture, DependsOnNothingButTheSettings) {
  Scene scene = closedRoom();
  const auto how = roomSettings(8, true);
  setWorkerCount(1);
  const Result alone = draw(scene, width, height, how);
  setWorkerCount(3);
  const Result together = draw(scene, width, height, how);
  setWorkerCount(0);
  EXPECT_TRUE(samePixels(alone, together));
  auto part = how;
  part.region = {11, 7, 30, 20};
  const Result region = draw(scene, width, height, part);
  for (int y = 7; y <= 20; ++y)
    for (int x = 11; x <= 30; ++x)
      ASSERT_EQ(region.at(x, y).x, alone.at(x, y).x) << x << ' ' << y;
  auto other = how;
  other.cacheSeed = 1;
  EXPECT_FALSE(samePixels(alone, draw(scene, width, height, other)));
}

// Ranges of samples add up only if the first sample of a pixel comes from the cache as well.
TEST(RadianceCachePicture, EverySampleOfThePictureHasIt) {
  Scene scene = closedRoom();
  auto how = roomSettings(8, true);
  const Result whole = draw(scene, width, height, how);
  EXPECT_EQ(whole.stats.cameraSamples, 8u * width * height);
  how.keeping = render::SampleKeeping::keep; // at least 16 are planned, so textures are read alike
  how.samples = 1;
  Result sum;
  for (std::uint32_t i = 0; i < 16; ++i) {
    how.firstSample = i;
    const Result one = draw(scene, width, height, how);
    if (i == 0)
      sum = one;
    else
      for (std::size_t k = 0; k < sum.pixels.size(); ++k)
        sum.pixels[k] += one.pixels[k];
  }
  how.firstSample = 0;
  how.samples = 16;
  const Result all = draw(scene, width, height, how);
  for (std::size_t k = 0; k < all.pixels.size(); ++k)
    ASSERT_NEAR(sum.pixels[k] / 16, all.pixels[k], 1e-5f * (1 + all.pixels[k]));
}

TEST(RadianceCachePicture, OpenScenesHaveNone) {
  Scene scene = ballInSky();
  scene.addLight(LightKind::point, {3, 3, 3}, {0, 0, 0}, 10);
  const Result with = draw(scene, width, height, roomSettings(8, true));
  EXPECT_TRUE(samePixels(with, draw(scene, width, height, roomSettings(8, false))));
}

TEST(RadianceCachePicture, LayersShareItsLight) {
  Scene scene = closedRoom();
  auto how = roomSettings(8, true);
  const Result plain = draw(scene, width, height, how);
  how.layers = lightGroupLayers | diffuseDirectLayer | diffuseIndirectLayer | specularDirectLayer |
               specularIndirectLayer | emissionLayer | transmissionLayer;
  const Result r = draw(scene, width, height, how);
  ASSERT_TRUE(samePixels(r, plain)) << "layers take nothing from the colour";
  double warm = 0, indirect = 0;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const float red = r.at(x, y).x;
      const auto of = [&](const char* name) { return r.layer(name, x, y).at(0); };
      ASSERT_NEAR(of("lightgroup_warm") + of("lightgroup_cold"), red, 1e-5f * (1 + red));
      ASSERT_NEAR(of("diffuse_direct") + of("diffuse_indirect") + of("specular_direct") +
                      of("specular_indirect") + of("emission") + of("transmission"),
                  red, 1e-5f * (1 + red));
      warm += static_cast<double>(of("lightgroup_warm"));
      indirect += static_cast<double>(of("diffuse_indirect"));
    }
  const double all = static_cast<double>(r.mean().x) * width * height;
  EXPECT_GT(warm, 0.2 * all);
  EXPECT_LT(warm, 0.8 * all);
  EXPECT_GT(indirect, 0.5 * all);
}

TEST(RadianceCachePicture, ABreakEndsItsPaths) {
  Scene scene = closedRoom();
  auto how = settings(640, 480, 8);
  render::RenderHooks hooks;
  bool visible = false;
  std::atomic<int> asked{0};
  hooks.visible = [&] { visible = true; };
  hooks.stopped = [&] { return visible && ++asked > 5000; }; // past the blocks
  const Result r = draw(scene, 640, 480, how, hooks);
  EXPECT_EQ(r.code, RENDERRESULT_USERBREAK);
  EXPECT_EQ(r.stats.cameraSamples, 0u) << "the picture's own had not begun";
}

TEST(RadianceCachePicture, IsForLightThatBounces) {
  Scene scene = closedRoom();
  const auto without = [&](const std::function<void(render::RenderSettings&)>& change) {
    auto on = roomSettings(8, true), off = roomSettings(8, false);
    change(on), change(off);
    return samePixels(draw(scene, width, height, on), draw(scene, width, height, off));
  };
  EXPECT_FALSE(without([](auto&) {}));
  EXPECT_TRUE(without([](auto& s) { s.globalIllumination = false; }));
  EXPECT_TRUE(without([](auto& s) { s.limitReflection = true; }));
  EXPECT_TRUE(without([](auto& s) { s.samples = 4; })) << "not worth its paths";
}

} // namespace
