// Denoising of finished renders.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>

#include "render_settings.h"
#include "scene_kit.h"
#include "view_transform.h"

using namespace kit;

namespace {

// A ball in a room that is lit by the sky alone: noisy with few samples.
Scene ballInShade() {
  Scene scene;
  scene.sky(0.6f);
  scene.materials[0]->baseColor = {0.7f, 0.5f, 0.4f, 1};
  scene.materials[0]->reflectionOn = false;
  scene.add(quad({-5, 0, 5}, {10, 0, 0}, {0, 0, -10}));
  scene.add(quad({-5, 0, -2}, {10, 0, 0}, {0, 5, 0}));
  Matrix up;
  up.off = Vector(0, 1, 0);
  scene.add(ball(1, 48), 0, up);
  scene.lookAt({0, 1.5f, 5}, {0, 0.8f, 0}, false, 0.7f);
  return scene;
}

double errorOf(const Result& result, const Result& reference) {
  double sum = 0;
  for (std::size_t i = 0; i < result.pixels.size(); ++i)
    sum += std::pow(static_cast<double>(result.pixels[i] - reference.pixels[i]), 2);
  return std::sqrt(sum / static_cast<double>(result.pixels.size()));
}

TEST(Denoise, FewSamplesLookLikeMany) {
  Scene scene = ballInShade();
  const Result reference = draw(scene, 96, 64, settings(96, 64, 256));
  auto few = settings(96, 64, 4);
  const Result noisy = draw(scene, 96, 64, few);
  few.denoise = render::Denoising::end;
  const Result clean = draw(scene, 96, 64, few);
  EXPECT_EQ(clean.code, RENDERRESULT_OK);
  EXPECT_TRUE(clean.problems.empty());
  EXPECT_LT(errorOf(clean, reference), 0.5 * errorOf(noisy, reference));
  EXPECT_NE(clean.display, noisy.display); // the bitmap shows it as well
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 96; ++x)
      ASSERT_EQ(clean.alpha(x, y), noisy.alpha(x, y));
}

TEST(Denoise, OnlyTheRegionAndNeverThePreview) {
  Scene scene = ballInShade();
  auto how = settings(96, 64, 4);
  how.region = {10, 20, 60, 50};
  const Result noisy = draw(scene, 96, 64, how);
  how.denoise = render::Denoising::end;
  const Result clean = draw(scene, 96, 64, how);
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 96; ++x) {
      const bool inside = x >= 10 && x <= 60 && y >= 20 && y <= 50;
      if (inside) continue;
      ASSERT_EQ(clean.at(x, y).x, noisy.at(x, y).x) << x << " " << y;
    }
  EXPECT_NE(clean.mean(10, 20, 60, 50).x, noisy.mean(10, 20, 60, 50).x);

  how.preview = true;
  const Result denoisedPreview = draw(scene, 96, 64, how);
  how.denoise = render::Denoising::off;
  EXPECT_EQ(denoisedPreview.pixels, draw(scene, 96, 64, how).pixels);
}

// A stop while the network works leaves the noisy picture.
TEST(Denoise, Stopped) {
  Scene scene = ballInShade();
  auto how = settings(96, 64, 4);
  const Result noisy = draw(scene, 96, 64, how);
  how.denoise = render::Denoising::end;
  render::RenderHooks hooks;
  bool passesEnded = false;
  hooks.endPasses = [&] { passesEnded = true; };
  hooks.stopped = [&] { return passesEnded; };
  const Result stopped = draw(scene, 96, 64, how, hooks);
  EXPECT_EQ(stopped.code, RENDERRESULT_USERBREAK);
  EXPECT_EQ(stopped.pixels, noisy.pixels);
}

// Live denoising shows in the bitmap before the last sample, and changes nothing at the end.
TEST(Denoise, Live) {
  Scene scene = ballInShade();
  auto how = settings(48, 32, 1 << 20);
  how.denoise = render::Denoising::live;
  Bitmap target(48, 32, 32);
  const auto layer = [&] {
    const auto film = filmOf(*target.bitmap);
    return film ? film->findLayer(film_layers::denoised) : nullptr;
  };
  std::atomic<bool> shown = false; // told by one worker, asked by all
  render::RenderHooks hooks;
  hooks.progress = [&](double) { shown = layer() != nullptr; }; // of a tile after the denoised picture
  hooks.stopped = [&] { return shown.load(); };
  const render::RenderReport report = render::renderSnapshot({scene.snapshot, how, target.bitmap, hooks});
  EXPECT_EQ(report.outcome, render::RenderOutcome::stopped);
  ASSERT_TRUE(shown);
  const host::ViewTransform plain;
  int noisy = 0;
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 48; ++x) {
      float clean[3];
      layer()->get(static_cast<std::size_t>(y * 48 + x), clean);
      ASSERT_TRUE(agrees(*target.bitmap, plain, x, y, clean)) << x << " " << y;
      float rgba[4];
      filmOf(*target.bitmap)->getColor(x, y, rgba);
      noisy += !agrees(*target.bitmap, plain, x, y, rgba);
    }
  EXPECT_GT(noisy, 48 * 32 / 2);

  how.samples = 64;
  const Result live = draw(scene, 48, 32, how);
  how.denoise = render::Denoising::end;
  EXPECT_EQ(live.pixels, draw(scene, 48, 32, how).pixels);
}

TEST(Denoise, SettingOfTheDocument) {
  const auto read = [](LONG value) {
    BaseContainer container;
    container.SetLong(host::render::denoiseSetting, value);
    return host::render::readSettings(container, 8, 8).denoise;
  };
  EXPECT_EQ(host::render::readSettings(BaseContainer(), 8, 8).denoise, render::Denoising::off);
  EXPECT_EQ(read(1), render::Denoising::end);
  EXPECT_EQ(read(2), render::Denoising::live);
  EXPECT_EQ(read(7), render::Denoising::off);
  EXPECT_EQ(read(-1), render::Denoising::off);
}

} // namespace
