// Renders that go on from the samples of a film.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "film_file.h"
#include "kept_render.h"
#include "layer_table.h"
#include "picture_formats.h"
#include "scene_kit.h"
#include "temporary_folder.h"

using namespace kit;
using render::SampleKeeping;

namespace {

constexpr int width = 24, height = 18;

// A textured floor, a glossy ball and a pane of glass under a lamp and a sky.
Scene room() {
  Scene scene;
  scene.sky(0.3f);
  scene.materials[0]->baseColorShade = bitmapShade(picture(8, 8, [](int x, int y) {
    return std::array<int, 4>{30 * x, 30 * y, 128, 255};
  }));
  int metal, glass;
  SurfaceMaterial& m = scene.addMaterial(&metal);
  m.metallic = 1;
  m.roughness = 0.2f;
  SurfaceMaterial& g = scene.addMaterial(&glass);
  g.transmission = 1;
  scene.add(quad({-5, 0, 5}, {10, 0, 0}, {0, 0, -10}));
  Matrix up;
  up.off = Vector(0, 1, 0);
  scene.add(ball(1, 24), metal, up);
  scene.add(quad({-2, 0, 2}, {2, 0, 0}, {0, 2, 0}), glass);
  scene.addLight(LightKind::point, {2, 4, 2}, {0, 0, 0}, 40).radius = 0.3f;
  scene.lookAt({0, 2, 6}, {0, 0.8f, 0}, false, 0.6f);
  return scene;
}

render::RenderSettings keeping(int samples, SampleKeeping how = SampleKeeping::keep) {
  render::RenderSettings s = settings(width, height, samples);
  s.keeping = how;
  s.noise = 0.02f; // some pixels rest
  return s;
}

render::RenderReport drawInto(Bitmap& bitmap, Scene& scene, const render::RenderSettings& how) {
  return render::renderSnapshot({scene.snapshot, how, bitmap.bitmap});
}

std::vector<float> colors(const Bitmap& bitmap) {
  const auto film = filmOf(*bitmap.bitmap);
  std::vector<float> all;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      float rgba[4];
      film->getColor(x, y, rgba);
      all.insert(all.end(), rgba, rgba + 4);
    }
  return all;
}

void expectSameFilms(const Bitmap& a, const Bitmap& b) {
  EXPECT_EQ(std::memcmp(colors(a).data(), colors(b).data(), colors(a).size() * sizeof(float)), 0);
  for (const FilmLayerPtr& layer : filmOf(*a.bitmap)->layers()) {
    const FilmLayerPtr other = filmOf(*b.bitmap)->findLayer(layer->name());
    ASSERT_TRUE(other) << layer->name();
    std::vector<float> one(layer->channels().size()), two(one);
    for (std::size_t pixel = 0; pixel < std::size_t{width} * height; ++pixel) {
      layer->get(pixel, one.data()), other->get(pixel, two.data());
      ASSERT_EQ(std::memcmp(one.data(), two.data(), one.size() * sizeof(float)), 0)
          << layer->name() << " " << pixel;
    }
  }
}

class ResumeTest : public testing::Test {
 public:
  ResumeTest() { draw(scene, width, height, settings(width, height, 1)); } // sets the bounds

  // A render of so many samples, and then more of them.
  void expectGoesOn(render::RenderSettings how, int first, int more) {
    SCOPED_TRACE(std::to_string(first) + " + " + std::to_string(more));
    Bitmap whole(width, height, 32), parts(width, height, 32);
    how.samples = first + more;
    ASSERT_EQ(drawInto(whole, scene, how).outcome, render::RenderOutcome::finished);
    how.samples = first;
    drawInto(parts, scene, how);
    EXPECT_EQ(render::samplesBehind(filmOf(*parts.bitmap)->samples().get()), first);
    how.keeping = SampleKeeping::goOn;
    how.samples = more;
    how.layers = 0; // those of the film
    const render::RenderReport report = drawInto(parts, scene, how);
    ASSERT_EQ(report.outcome, render::RenderOutcome::finished) << report.refusal;
    EXPECT_LE(report.stats.cameraSamples, static_cast<std::uint64_t>(more) * width * height);
    EXPECT_EQ(render::samplesBehind(filmOf(*parts.bitmap)->samples().get()), first + more);
    expectSameFilms(whole, parts);
  }
  void expectRefused(const Bitmap& kept, const render::RenderSettings& how, const char* word) {
    Bitmap bitmap(width, height, 32);
    setFilm(*bitmap.bitmap, filmOf(*kept.bitmap));
    const std::vector<float> before = colors(bitmap);
    const render::RenderReport report = drawInto(bitmap, scene, how);
    EXPECT_EQ(report.outcome, render::RenderOutcome::refused) << word;
    EXPECT_NE(report.refusal.find(word), std::string::npos) << report.refusal;
    EXPECT_EQ(report.stats.cameraSamples, 0u);
    EXPECT_EQ(colors(bitmap), before);
  }

  Scene scene = room();
};

TEST_F(ResumeTest, MoreSamplesGiveThePictureOfAllAtOnce) {
  expectGoesOn(keeping(0), 5, 6); // fewer than a sharp texture takes
  expectGoesOn(keeping(0), 16, 16);
  expectGoesOn(keeping(0), 20, 28); // between two doublings
  auto edges = keeping(0);
  edges.antiAliasing = render::AntiAliasing::geometry;
  expectGoesOn(edges, 1, 19); // edges are found by the first sample
}

TEST_F(ResumeTest, LayersGoOn) {
  auto how = keeping(0);
  how.layers = allLayers() & ~denoisedLayer;
  scene.snapshot->instances[0].catchesShadows = true;
  expectGoesOn(how, 16, 8);
}

// Floats of the file are exact to the bit, also beside colours of 16 bits.
TEST_F(ResumeTest, AFileGoesOn) {
  TemporaryFolder folder;
  Bitmap whole(width, height, 32), first(width, height, 32), rest(width, height, 32);
  drawInto(whole, scene, keeping(24));
  drawInto(first, scene, keeping(16));
  BaseContainer options;
  options.SetBool(exrSaverSamples, TRUE);
  options.SetBool(exrSaverHalf, TRUE);
  const Filename file = folder / "film.exr";
  ASSERT_EQ(first.bitmap->Save(file, FILTER_EXR, &options), IMAGERESULT_OK);
  const FilmFile loaded = loadFilm(file.GetString().GetUTF8());
  ASSERT_TRUE(loaded.film) << loaded.error;
  EXPECT_EQ(loaded.film->layers().size(), 0u) << "the samples are not layers";
  setFilm(*rest.bitmap, loaded.film);
  const render::RenderReport report = drawInto(rest, scene, keeping(8, SampleKeeping::goOn));
  ASSERT_EQ(report.outcome, render::RenderOutcome::finished) << report.refusal;
  expectSameFilms(whole, rest);

  ASSERT_EQ(first.bitmap->Save(file, FILTER_EXR, nullptr), IMAGERESULT_OK);
  EXPECT_FALSE(loadFilm(file.GetString().GetUTF8()).film->samples()) << "only when asked for";
}

// Samples by noise go on with the same expectation, at the same error.
TEST_F(ResumeTest, SamplesByNoiseGoOn) {
  auto how = keeping(0);
  how.noise = 0;
  const Result reference = draw(scene, width, height, settings(width, height, 384));
  how.spread = render::SampleSpread::byNoise;
  const auto error = [&](const Bitmap& bitmap, double& mean) {
    double sum = 0;
    mean = 0;
    const std::vector<float> all = colors(bitmap);
    for (std::size_t i = 0; i < all.size(); i += 4) {
      const Vec3 wanted = reference.at(static_cast<int>(i / 4) % width, static_cast<int>(i / 4) / width);
      const auto tone = [](float v) { return std::sqrt(static_cast<double>(render::clamp01(v))); };
      sum += std::pow(tone(all[i]) - tone(wanted.x), 2);
      mean += tone(all[i]) - tone(wanted.x);
    }
    mean /= width * height;
    return sum / (width * height);
  };
  Bitmap whole(width, height, 32), parts(width, height, 32);
  how.samples = 100;
  drawInto(whole, scene, how);
  how.samples = 40;
  drawInto(parts, scene, how);
  how.samples = 60;
  how.keeping = SampleKeeping::goOn;
  ASSERT_EQ(drawInto(parts, scene, how).outcome, render::RenderOutcome::finished);
  double wholeMean = 0, partsMean = 0;
  const double wholeError = error(whole, wholeMean), partsError = error(parts, partsMean);
  EXPECT_LT(partsError, 1.4 * wholeError);
  EXPECT_NEAR(partsMean, 0, 4 * std::sqrt(partsError / (width * height)) + 0.001);
}

// The sums of films with other samples add up to those of one film.
TEST_F(ResumeTest, RangesOfSamplesAddUp) {
  auto how = keeping(16);
  how.noise = 0;
  Bitmap low(width, height, 32), high(width, height, 32), both(width, height, 32);
  drawInto(low, scene, how);
  how.firstSample = 16;
  drawInto(high, scene, how);
  how.firstSample = 0;
  how.samples = 32;
  drawInto(both, scene, how);
  const std::vector<float> a = colors(low), b = colors(high), sum = colors(both);
  EXPECT_NE(a, b);
  for (std::size_t i = 0; i < sum.size(); ++i)
    EXPECT_NEAR(0.5f * (a[i] + b[i]), sum[i], 1e-4f * (1 + sum[i])) << i;
}

TEST_F(ResumeTest, ALowerThresholdWakesPixelsUp) {
  auto how = keeping(16);
  Bitmap bitmap(width, height, 32);
  how.noise = 0.3f; // all rest
  how.samples = 32;
  const std::uint64_t few = drawInto(bitmap, scene, how).stats.cameraSamples;
  EXPECT_LT(few, 24u * width * height);
  how.keeping = SampleKeeping::goOn;
  EXPECT_LT(drawInto(bitmap, scene, how).stats.cameraSamples, 10u * width * height);
  how.noise = 0;
  EXPECT_GT(drawInto(bitmap, scene, how).stats.cameraSamples, 31u * width * height);
}

TEST_F(ResumeTest, OtherRendersAreRefused) {
  Bitmap kept(width, height, 32), plain(width, height, 32);
  drawInto(kept, scene, keeping(4));
  drawInto(plain, scene, keeping(4, SampleKeeping::no));
  const auto more = keeping(4, SampleKeeping::goOn);
  expectRefused(plain, more, "no samples");
  auto how = more;
  how.seed = 1;
  expectRefused(kept, how, "seed");
  how = more;
  how.region.right -= 1;
  expectRefused(kept, how, "region (0,0,23,17, now 0,0,22,17)");
  how = more;
  how.filter = render::Filter::cone;
  expectRefused(kept, how, "filter (4, now 5)");
  how = more;
  how.firstSample = 4;
  expectRefused(kept, how, "first sample");
  how = more;
  how.preview = true;
  expectRefused(kept, how, "standard engine");
  scene.lookAt({0, 2, 6.01f}, {0, 0.8f, 0}, false, 0.6f);
  expectRefused(kept, more, "camera");
  scene = room();
  scene.materials[1]->roughness = 0.21f;
  expectRefused(kept, more, "another scene");
  scene = room();
  scene.snapshot->lights[0].intensity[1] = 41;
  expectRefused(kept, more, "another scene");
}

// The same contents with other identities are the same scene.
TEST_F(ResumeTest, AnotherRunGoesOn) {
  Bitmap kept(width, height, 32);
  drawInto(kept, scene, keeping(4));
  scene = room();
  draw(scene, width, height, settings(width, height, 1));
  EXPECT_EQ(drawInto(kept, scene, keeping(4, SampleKeeping::goOn)).refusal, "");
}

TEST_F(ResumeTest, ChangedAndMadeUpSamplesAreRefused) {
  Bitmap kept(width, height, 32);
  auto how = keeping(4);
  how.layers = cryptomatteLayers | depthLayer;
  drawInto(kept, scene, how);
  const FilmSamplesPtr good = filmOf(*kept.bitmap)->samples();
  const auto more = keeping(4, SampleKeeping::goOn);
  const auto tryWith = [&](const FilmSamples& samples, const char* word) {
    filmOf(*kept.bitmap)->setSamples(std::make_shared<FilmSamples>(samples));
    expectRefused(kept, more, word);
  };
  FilmSamples changed = *good;
  changed.data[7] += 1e-3f;
  tryWith(changed, "16-bit");
  // A stranger can make the check fit.
  const auto tryValue = [&](std::size_t value, float made) {
    changed = *good;
    changed.data[348 * static_cast<std::size_t>(good->values) + value] = made;
    auto text = render::keptRenderOf(changed.render);
    text->check = render::sampleCheck(changed.data);
    changed.render = render::textOf(*text);
    tryWith(changed, "damaged");
  };
  tryValue(13, 0);        // no sample
  tryValue(13, -1);       // none and less
  tryValue(13, NAN);      // no number
  tryValue(15, 70000.0f); // more than there are
  tryValue(18, 999);      // no flags
  tryValue(34, 60000);    // covers of ID mattes that the layout has no room for
  tryValue(38, 5000);     // of a cover: no material of the scene
  changed = *good;
  changed.values -= 1;
  changed.data.resize(std::size_t{width} * height * static_cast<std::size_t>(changed.values));
  auto text = render::keptRenderOf(changed.render);
  text->check = render::sampleCheck(changed.data);
  changed.render = render::textOf(*text);
  tryWith(changed, "damaged");
  changed.render = "no render";
  tryWith(changed, "another version");
}

} // namespace
