// The course of a render: threads, regions, breaks, progress, caches, missing pictures.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>

#include "scene_cache.h"
#include "scene_kit.h"
#include "worker_threads.h"

using namespace kit;

namespace {

Scene room() {
  Scene scene;
  scene.sky(0.3f);
  scene.materials[0]->baseColor = {0.7f, 0.6f, 0.5f, 1};
  scene.materials[0]->roughness = 0.4f;
  int glass, metal;
  SurfaceMaterial& g = scene.addMaterial(&glass);
  g.transmission = 1;
  g.thickness = 1;
  g.roughness = 0.05f;
  SurfaceMaterial& m = scene.addMaterial(&metal);
  m.metallic = 1;
  m.roughness = 0.2f;
  scene.add(quad({-5, 0, 5}, {10, 0, 0}, {0, 0, -10})).isFloor = true;
  Matrix left, right;
  left.off = Vector(-1.1, 1, 0);
  right.off = Vector(1.1, 1, 0);
  const MeshPtr sphere = ball(1, 48);
  scene.add(sphere, glass, left);
  scene.add(sphere, metal, right);
  scene.addLight(LightKind::point, {2, 4, 2}, {0, 0, 0}, 40).radius = 0.3f;
  scene.lookAt({0, 2, 6}, {0, 0.8f, 0}, false, 0.6f);
  return scene;
}

struct Workers {
  explicit Workers(int count) { setWorkerCount(count); }
  ~Workers() { setWorkerCount(0); }
};

TEST(Refinement, SamePixelsForAnyNumberOfThreads) {
  Scene scene = room();
  auto how = settings(70, 50, 24);
  how.noise = 0.02f; // pixels stop early as well
  how.antiAliasing = render::AntiAliasing::best;
  std::vector<float> first;
  for (const int count : {1, 2, 5}) {
    SCOPED_TRACE(count);
    const Workers workers(count);
    const Result r = draw(scene, 70, 50, how);
    if (first.empty())
      first = r.pixels;
    else
      EXPECT_EQ(std::memcmp(first.data(), r.pixels.data(), first.size() * sizeof(float)), 0);
  }
  how.seed = 1;
  EXPECT_NE(std::memcmp(first.data(), draw(scene, 70, 50, how).pixels.data(), first.size() * sizeof(float)),
            0);
}

TEST(Refinement, QuietPixelsStopEarly) {
  Scene scene = room();
  auto how = settings(64, 48, 256);
  const Result whole = draw(scene, 64, 48, how);
  how.noise = 0.02f;
  const Result early = draw(scene, 64, 48, how);
  EXPECT_LT(early.stats.cameraSamples, whole.stats.cameraSamples * 8 / 10);
  EXPECT_GE(early.stats.cameraSamples, 16u * 64 * 48);
  EXPECT_NEAR(early.mean().x, whole.mean().x, 0.01f); // half of the threshold
}

// The threshold is the standard error of a pixel's brightness on a display, as the root of the mean square.
TEST(Refinement, TheNoiseThresholdIsTheErrorOfThePicture) {
  Scene scene = room();
  const int side = 24;
  const Result reference = draw(scene, side, side, settings(side, side, 2048));
  const auto tone = [](Vec3 c) {
    return std::sqrt(static_cast<double>(render::clamp01(render::luminance(c))));
  };
  for (const float threshold : {0.04f, 0.02f}) {
    SCOPED_TRACE(threshold);
    auto how = settings(side, side, 1024);
    how.noise = threshold;
    how.seed = 5;
    const Result r = draw(scene, side, side, how);
    double sum = 0;
    for (int y = 0; y < side; ++y)
      for (int x = 0; x < side; ++x)
        sum += std::pow(tone(r.at(x, y)) - tone(reference.at(x, y)), 2);
    const double error = std::sqrt(sum / (side * side));
    EXPECT_LT(error, 1.1 * static_cast<double>(threshold));
    EXPECT_GT(error, 0.3 * static_cast<double>(threshold)); // no samples are wasted
  }
}

TEST(Refinement, ATimeLimitFinishesThePicture) {
  Scene scene = room();
  auto how = settings(32, 24, 1 << 20);
  how.seconds = 1e-6; // over when it begins: every pixel still has a sample
  double last = 0;
  render::RenderHooks hooks;
  hooks.progress = [&](double part) { last = part; };
  const Result r = draw(scene, 32, 24, how, hooks);
  EXPECT_EQ(r.code, RENDERRESULT_OK);
  EXPECT_EQ(r.stats.cameraSamples, 32u * 24);
  EXPECT_EQ(last, 1);
}

// The samples of the coarse pictures are the first ones of their pixels.
TEST(Refinement, CoarseSamplesCount) {
  Scene scene = room();
  const Result r = draw(scene, 64, 48, settings(64, 48, 4));
  EXPECT_EQ(r.stats.cameraSamples, 64u * 48 * 4);
}

TEST(Refinement, ARegionTouchesOnlyItsPixels) {
  Scene scene = room();
  auto how = settings(64, 48, 4);
  const Result whole = draw(scene, 64, 48, how);
  how.region = {10, 7, 33, 40};
  Bitmap target(64, 48);
  target.bitmap->Clear(1, 2, 3);
  const render::RenderReport report = render::renderSnapshot({scene.snapshot, how, target.bitmap});
  EXPECT_EQ(render::interfaceResult(report.outcome), RENDERRESULT_OK);
  int wrong = 0;
  for (int y = 0; y < 48; ++y)
    for (int x = 0; x < 64; ++x) {
      UWORD r, g, b;
      target.bitmap->GetPixel(x, y, &r, &g, &b);
      const bool inside = x >= 10 && x <= 33 && y >= 7 && y <= 40;
      const std::uint32_t pixel = static_cast<std::uint32_t>(r << 16 | g << 8 | b);
      wrong += pixel != (inside ? whole.display[static_cast<std::size_t>(y * 64 + x)] : 0x010203u);
    }
  EXPECT_EQ(wrong, 0);
  // Nothing outside was computed: 24 x 34 pixels, four samples, and the blocks.
  EXPECT_LE(report.stats.cameraSamples, 24u * 34 * 4 + 24u * 34 / 8);
}

TEST(Refinement, AnEmptyRegionDrawsNothing) {
  Scene scene = room();
  auto how = settings(16, 16, 4);
  how.region = {8, 8, 7, 12};
  const Result r = draw(scene, 16, 16, how);
  EXPECT_EQ(r.code, RENDERRESULT_OK);
  EXPECT_EQ(r.stats.rays, 0u);
  EXPECT_EQ(r.display[0], 0u);
}

TEST(Refinement, StartsNothingMoreAfterABreak) {
  Scene scene = room();
  const auto how = settings(320, 240, 4096);
  draw(scene, 64, 48, settings(64, 48, 1)); // warm
  for (const int questions : {0, 100, 20000}) {
    SCOPED_TRACE(questions);
    std::atomic<int> asked{0};
    render::RenderHooks hooks;
    hooks.stopped = [&] { return asked.fetch_add(1) >= questions; };
    const Result r = draw(scene, 320, 240, how, hooks);
    EXPECT_EQ(r.code, RENDERRESULT_USERBREAK);
    // It asks before every sample, and stops asking after the break.
    EXPECT_LE(r.stats.cameraSamples, static_cast<std::uint64_t>(questions));
    if (questions > 1000) { // the build asks a few hundred times
      EXPECT_GE(r.stats.cameraSamples, static_cast<std::uint64_t>(questions / 2));
    }
    EXPECT_LE(asked - questions, 4 * workerCount());
  }
}

TEST(Refinement, ABreakEndsABuild) {
  Scene scene;
  scene.add(ball(1, 400)); // 320,000 triangles
  int asked = 0;
  std::mutex mutex;
  render::RenderHooks hooks;
  hooks.stopped = [&] {
    const std::lock_guard lock(mutex);
    return ++asked > 3;
  };
  const Result r = draw(scene, 16, 16, settings(16, 16, 1), hooks);
  EXPECT_EQ(r.code, RENDERRESULT_USERBREAK);
  EXPECT_EQ(r.stats.meshesBuilt, 0u);
  EXPECT_EQ(r.stats.rays, 0u);
  const Result again = draw(scene, 16, 16, settings(16, 16, 1)); // the cache is still usable
  EXPECT_EQ(again.code, RENDERRESULT_OK);
  EXPECT_EQ(again.stats.meshesBuilt, 1u);
}

TEST(Refinement, ProgressRisesFromNothingToAll) {
  Scene scene = room();
  auto how = settings(96, 64, 8);
  std::vector<double> parts;
  std::atomic<int> inside{0};
  bool overlapped = false;
  render::RenderHooks hooks;
  hooks.progress = [&](double part) {
    overlapped = overlapped || ++inside > 1;
    parts.push_back(part);
    --inside;
  };
  for (const float noise : {0.0f, 0.05f}) {
    parts.clear();
    how.noise = noise;
    draw(scene, 96, 64, how, hooks);
    ASSERT_GT(parts.size(), 5u);
    EXPECT_EQ(parts.front(), 0);
    EXPECT_EQ(parts.back(), 1);
    EXPECT_TRUE(std::is_sorted(parts.begin(), parts.end()));
  }
  EXPECT_FALSE(overlapped);
}

TEST(Refinement, TheFirstPictureCoversEverything) {
  // Stopped right after the coarse passes, every pixel has a colour.
  Scene scene;
  scene.materials[0]->unlit = true;
  scene.add(quad({-5, -5, 0}, {10, 0, 0}, {0, 10, 0}));
  const auto how = settings(100, 75, 16);
  std::atomic<bool> begun{false};
  render::RenderHooks hooks;
  hooks.progress = [&](double part) { begun = begun || part > 0; };
  hooks.stopped = [&] { return begun.load(); };
  const Result r = draw(scene, 100, 75, how, hooks);
  EXPECT_EQ(r.code, RENDERRESULT_USERBREAK);
  int black = 0;
  for (const std::uint32_t pixel : r.display)
    black += pixel == 0;
  EXPECT_EQ(black, 0);
  EXPECT_GT(r.stats.firstPixelsMs, 0);
}

TEST(Caches, MovingAnObjectBuildsNoMesh) {
  Scene scene = room();
  draw(scene, 16, 16, settings(16, 16, 1));
  auto copy = std::make_shared<Snapshot>(*scene.snapshot);
  copy->instances[1].toWorld.off.x += 0.5;
  Scene moved;
  moved.snapshot = copy;
  const Result r = draw(moved, 16, 16, settings(16, 16, 1));
  EXPECT_EQ(r.stats.meshesBuilt, 0u);
  EXPECT_EQ(r.stats.meshesReused, 2u);
}

TEST(Caches, TexturesAreDecodedOnce) {
  Scene scene;
  scene.materials[0]->baseColorShade = bitmapShade(picture(16, 16, [](int x, int) {
    return std::array<int, 4>{x, 0, 0, 255};
  }));
  scene.add(quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
  EXPECT_EQ(draw(scene, 8, 1).stats.texturesDecoded, 1u);
  const RenderStats again = draw(scene, 8, 1).stats;
  EXPECT_EQ(again.texturesDecoded, 0u);
  EXPECT_EQ(again.texturesReused, 1u);
}

TEST(Caches, DropTheLeastRecentlyUsed) {
  render::SceneCache cache(std::size_t{1} << 20);
  RenderStats stats;
  const auto one = [&](const MeshPtr& mesh) {
    const auto meshes = cache.meshes({mesh}, 1, {});
    stats.meshesBuilt += meshes.built;
    stats.meshesReused += meshes.reused;
    return meshes.accels;
  };
  const MeshPtr a = ball(1, 30), b = ball(1, 30), large = ball(1, 60);
  one(a);
  one(b);
  EXPECT_EQ(stats.meshesBuilt, 2u);
  one(a); // a is used last
  EXPECT_EQ(stats.meshesReused, 1u);
  cache.setLimit(cache.bytes() - 1); // one has to go
  one(a);
  EXPECT_EQ(stats.meshesReused, 2u);
  one(b);
  EXPECT_EQ(stats.meshesBuilt, 3u);
  cache.setLimit(0);
  EXPECT_EQ(cache.bytes(), 0u);
  const auto held = one(large); // held by its user above the limit
  EXPECT_GT(cache.bytes(), 0u);
  EXPECT_NE(held[0]->scene.get(), nullptr);
}

TEST(Caches, LetGoOfDataThatNothingElseHolds) {
  render::SceneCache cache;
  MeshPtr kept = ball(1, 10);
  std::uint64_t built = cache.meshes({kept}, 1, {}).built;
  const std::size_t one = cache.bytes();
  for (int i = 0; i < 20; ++i) { // the same scene read again and again
    PicturePtr image = picture(8, 8, [](int x, int) { return std::array<int, 4>{x, 0, 0, 255}; });
    built += cache.meshes({kept, ball(1, 10)}, 1, {}).built;
    EXPECT_TRUE(cache.textures({{image}}, 1, {}).complete);
  }
  built += cache.meshes({kept}, 1, {}).built;
  EXPECT_EQ(cache.bytes(), one) << "one mesh is left";
  EXPECT_EQ(built, 21u) << "and it was built once";
}

TEST(Missing, AbsentPictures) {
  Scene scene;
  scene.sky(1);
  scene.add(quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.5f);
  scene.materials[0]->baseColor = {0.5f, 0.5f, 0.5f, 1};
  scene.materials[0]->reflectionOn = false;
  auto lost = std::make_shared<Picture>();
  lost->name = "wood.png";
  scene.materials[0]->baseColorShade = bitmapShade(lost);
  scene.snapshot->missingAssets = {"wood.png"};
  const Result r = draw(scene, 8, 16);
  EXPECT_EQ(r.code, RENDERRESULT_ASSETMISSING);
  ASSERT_EQ(r.problems.size(), 1u);
  EXPECT_NE(r.problems[0].find("wood.png"), std::string::npos);
  EXPECT_NEAR(r.mean().x, 0.5f, 0.01f); // shown without it
}

TEST(Missing, UndecodablePictures) {
  Scene scene;
  scene.sky(1);
  scene.add(quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
  auto broken = std::make_shared<Picture>();
  broken->name = "noise.png";
  broken->bytes = std::make_shared<std::vector<std::byte>>(100, std::byte{42});
  scene.materials[0]->baseColorShade = bitmapShade(broken);
  const Result r = draw(scene, 8, 1);
  EXPECT_EQ(r.code, RENDERRESULT_ASSETMISSING);
  EXPECT_EQ(r.problems.size(), 1u);
}

TEST(Odd, SnapshotsRenderWithoutHarm) {
  Scene scene;
  scene.sky(1);
  const MeshPtr square = quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0});
  auto degenerate = std::make_shared<Mesh>(*square);
  degenerate->id = newIdentity();
  degenerate->positions.assign(4, Float3{0, 0, 0});
  scene.add(degenerate);
  auto empty = std::make_shared<Mesh>();
  scene.add(empty);
  Matrix flat, infinite;
  flat.v3 = Vector(0, 0, 0);
  infinite.off = Vector(1.0 / 0.0, 0, 0);
  scene.add(square, 0, flat);
  scene.add(square, 0, infinite);
  scene.add(square, 99); // not a material
  scene.add(square).materials.clear();
  scene.addLight(LightKind::point, {0, 0, 0}, {0, 0, 1}, 1); // on a surface
  scene.addLight(LightKind::distant, {0, 0, 1}, {0, 0, 0}, 0);
  const Result r = draw(scene, 16, 8);
  EXPECT_EQ(r.code, RENDERRESULT_OK);
  for (const float v : r.pixels)
    EXPECT_TRUE(std::isfinite(v));
  Scene nothing;
  EXPECT_EQ(draw(nothing, 8, 2).mean().x, 0);
}

} // namespace
