// Samples that go where the picture is noisy.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "scene_kit.h"
#include "worker_threads.h"

using namespace kit;

namespace {

constexpr int side = 32;

// A plain wall on the left; on the right one that a small, near lamp behind a grid of bars lights: much of
// the picture is quiet, some of it noisy.
Scene halfNoisy() {
  Scene scene;
  scene.sky(0.2f);
  int plain;
  scene.addMaterial(&plain).unlit = true;
  scene.materials[0]->baseColor = {0.7f, 0.6f, 0.5f, 1};
  scene.materials[0]->reflectionOn = false;
  scene.add(quad({-2, -1, 0}, {2, 0, 0}, {0, 2, 0}), plain);
  scene.add(quad({0, -1, 0}, {2, 0, 0}, {0, 2, 0}));
  for (int i = 0; i < 5; ++i)
    scene.add(quad({0.1f + 0.2f * static_cast<float>(i), -1, 0.5f}, {0.1f, 0, 0}, {0, 2, 0})).seenByCamera =
        false;
  scene.addLight(LightKind::point, {0.5f, 0, 1}, {0, 0, 0}, 2).radius = 0.3f;
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 2);
  return scene;
}

render::RenderSettings byNoise(int samples) {
  render::RenderSettings how = settings(side, side, samples);
  how.spread = render::SampleSpread::byNoise;
  how.layers = samplesLayer;
  return how;
}

double samplesIn(const Result& r, int left, int right) {
  double sum = 0;
  for (int y = 0; y < side; ++y)
    for (int x = left; x < right; ++x)
      sum += static_cast<double>(r.layer("samples", x, y).at(0));
  return sum / (side * (right - left));
}

double squaredError(const Result& r, const Result& reference) {
  double sum = 0;
  for (int y = 0; y < side; ++y)
    for (int x = 0; x < side; ++x) {
      const auto tone = [](Vec3 c) { return std::sqrt(static_cast<double>(render::clamp01(c.x))); };
      sum += std::pow(tone(r.at(x, y)) - tone(reference.at(x, y)), 2);
    }
  return sum / (side * side);
}

// The lit half takes about four rays a sample more than the plain one: nearly all of the cost.
TEST(SampleSpread, NoisyPixelsTakeTheSamplesOfQuietOnes) {
  Scene scene = halfNoisy();
  const Result r = draw(scene, side, side, byNoise(16));
  EXPECT_EQ(static_cast<double>(r.stats.cameraSamples), std::round(samplesIn(r, 0, side) * side * side));
  EXPECT_LT(samplesIn(r, 0, side / 2 - 3), 8);
  EXPECT_GT(samplesIn(r, side / 2, 3 * side / 4), 16);

  const Result reference = draw(scene, side, side, settings(side, side, 1024));
  const Result even = draw(scene, side, side, settings(side, side, 16));
  EXPECT_LT(static_cast<double>(r.stats.rays), 1.1 * static_cast<double>(even.stats.rays))
      << "in about the same time";
  const double change = static_cast<double>(r.stats.rays) / static_cast<double>(even.stats.rays);
  EXPECT_LT(change * squaredError(r, reference), 0.9 * squaredError(even, reference))
      << "time to equal error";
}

TEST(SampleSpread, AnyNumberOfThreadsGivesTheSamePixels) {
  Scene scene = halfNoisy();
  for (const float noise : {0.0f, 0.03f}) {
    SCOPED_TRACE(noise);
    auto how = byNoise(64);
    how.noise = noise;
    std::vector<float> first;
    for (const int count : {1, 3}) {
      setWorkerCount(count);
      const Result r = draw(scene, side, side, how);
      setWorkerCount(0);
      if (first.empty()) first = r.pixels;
      EXPECT_EQ(std::memcmp(first.data(), r.pixels.data(), first.size() * sizeof(float)), 0);
    }
  }
}

// Counts that follow the samples must not follow their brightness: the mean of many renders is that of even
// ones.
TEST(SampleSpread, ThePictureGetsNoDarker) {
  Scene scene = halfNoisy();
  constexpr int renders = 48;
  double sum[2] = {}, squares[2] = {};
  for (std::uint32_t seed = 1; seed <= renders; ++seed)
    for (const int even : {0, 1}) {
      auto how = even ? settings(side, side, 8) : byNoise(8);
      how.seed = seed;
      const Result r = draw(scene, side, side, how);
      const double mean = static_cast<double>(r.mean(side / 2, 0, side - 1, side - 1).x);
      sum[even] += mean / renders;
      squares[even] += mean * mean / renders;
    }
  const double variance = squares[0] - sum[0] * sum[0] + squares[1] - sum[1] * sum[1];
  EXPECT_NEAR(sum[0], sum[1], 4 * std::sqrt(variance / renders));
  EXPECT_LT(4 * std::sqrt(variance / renders), 0.01 * sum[1]) << "the measurement says something";
}

// A pixel below the noise threshold takes no more; others do not get its samples.
TEST(SampleSpread, QuietPixelsStopAsWell) {
  Scene scene = halfNoisy();
  auto how = byNoise(256);
  const Result whole = draw(scene, side, side, how);
  how.noise = 0.02f;
  const Result early = draw(scene, side, side, how);
  EXPECT_LT(early.stats.cameraSamples, whole.stats.cameraSamples / 2);
  const Result reference = draw(scene, side, side, settings(side, side, 2048));
  EXPECT_LT(std::sqrt(squaredError(early, reference)), 1.1 * 0.02);
}

TEST(SampleSpread, PartsOfTheLightStillAddUp) {
  Scene scene = halfNoisy();
  auto how = byNoise(16);
  how.layers = samplesLayer | diffuseDirectLayer | diffuseIndirectLayer | specularDirectLayer |
               specularIndirectLayer | transmissionLayer | emissionLayer | skyLayer;
  const Result r = draw(scene, side, side, how);
  for (int y = 0; y < side; ++y)
    for (int x = 0; x < side; ++x) {
      float sum = 0;
      for (const char* name : {"diffuse_direct", "diffuse_indirect", "specular_direct", "specular_indirect",
                               "transmission", "emission", "sky"})
        sum += r.layer(name, x, y).at(0);
      EXPECT_NEAR(sum, r.at(x, y).x, 1e-4f * (1 + sum));
    }
}

TEST(SampleSpread, ProgressEndsAtTheEnd) {
  Scene scene = halfNoisy();
  for (const float noise : {0.0f, 0.05f}) {
    auto how = settings(96, 96, 16); // nine tiles
    how.spread = render::SampleSpread::byNoise;
    how.noise = noise;
    std::vector<double> parts;
    render::RenderHooks hooks;
    hooks.progress = [&](double part) { parts.push_back(part); };
    draw(scene, 96, 96, how, hooks);
    EXPECT_EQ(parts.back(), 1);
    EXPECT_TRUE(std::is_sorted(parts.begin(), parts.end()));
    ASSERT_GT(parts.size(), 9u);
    EXPECT_GT(parts[parts.size() - 2], 0.7) << "the rest is one tile of the last round";
  }
}

} // namespace
