// Films of parts of a picture's samples, merged.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "film_merge.h"
#include "layer_table.h"
#include "scene_kit.h"

using namespace kit;
using render::FilmMerge;
using render::MergePart;
using render::SampleKeeping;

namespace {

constexpr int width = 24, height = 18;

Scene room() {
  Scene scene;
  scene.sky(0.3f);
  int metal;
  SurfaceMaterial& m = scene.addMaterial(&metal);
  m.metallic = 1;
  m.roughness = 0.2f;
  scene.add(quad({-5, 0, 5}, {10, 0, 0}, {0, 0, -10}));
  Matrix up;
  up.off = Vector(0, 1, 0);
  scene.add(ball(1, 24), metal, up);
  scene.addLight(LightKind::point, {2, 4, 2}, {0, 0, 0}, 40).radius = 0.3f;
  scene.lookAt({0, 2, 6}, {0, 0.8f, 0}, false, 0.6f);
  return scene;
}

using FilmPtr = std::shared_ptr<Film>;

class FilmMergeTest : public testing::Test {
 public:
  FilmMergeTest() { draw(scene, width, height, settings(width, height, 1)); } // sets the bounds

  render::RenderSettings part(int first, int samples, int whole) const {
    render::RenderSettings s = settings(width, height, samples);
    s.keeping = SampleKeeping::keep;
    s.firstSample = static_cast<std::uint32_t>(first);
    s.wholeSamples = whole;
    s.noise = 0;
    s.layers = layers;
    s.spread = render::SampleSpread::evenly;
    return s;
  }
  FilmPtr film(const render::RenderSettings& how) {
    Bitmap bitmap(width, height, 32);
    EXPECT_EQ(render::renderSnapshot({scene.snapshot, how, bitmap.bitmap}).outcome,
              render::RenderOutcome::finished);
    return filmOf(*bitmap.bitmap);
  }
  /// All parts in the order given, which does not count.
  FilmPtr merged(const std::vector<FilmPtr>& films, bool keep = false) {
    std::vector<MergePart> parts;
    std::map<std::string, FilmPtr> byName;
    for (const FilmPtr& one : films) {
      MergePart described;
      described.name = "part " + std::to_string(parts.size());
      EXPECT_EQ(render::describePart(*one, described), "");
      byName[described.name] = one;
      parts.push_back(described);
    }
    EXPECT_EQ(render::arrangeParts(parts), "");
    FilmMerge merge(parts);
    for (const MergePart& one : parts)
      merge.add(*byName[one.name]);
    Bitmap bitmap(width, height, 32);
    EXPECT_EQ(merge.draw(*bitmap.bitmap, {}, keep), "");
    return filmOf(*bitmap.bitmap);
  }
  std::string whyNot(const std::vector<FilmPtr>& films) {
    std::vector<MergePart> parts;
    for (const FilmPtr& one : films) {
      parts.emplace_back();
      parts.back().name = std::string(1, static_cast<char>('a' + parts.size() - 1));
      const std::string problem = render::describePart(*one, parts.back());
      if (!problem.empty()) return problem;
    }
    return render::arrangeParts(parts);
  }

  Scene scene = room();
  unsigned layers = 0;
};

std::vector<float> valuesOf(const Film& film, const char* layer = nullptr) {
  std::vector<float> all;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      float values[4] = {};
      std::size_t count = 4;
      if (layer) {
        const FilmLayerPtr found = film.findLayer(layer);
        if (!found) return {};
        found->get(film.pixelAt(x, y), values), count = found->channels().size();
      } else {
        film.getColor(x, y, values);
      }
      all.insert(all.end(), values, values + count);
    }
  return all;
}

void expectNear(const std::vector<float>& a, const std::vector<float>& b, const char* what) {
  ASSERT_EQ(a.size(), b.size()) << what;
  ASSERT_FALSE(a.empty()) << what;
  for (std::size_t i = 0; i < a.size(); ++i)
    ASSERT_NEAR(a[i], b[i], 2e-5f * (1 + std::abs(b[i]))) << what << " " << i;
}

double errorTo(const Film& reference, const Film& film) {
  const std::vector<float> a = valuesOf(reference), b = valuesOf(film);
  double sum = 0;
  // As a display shows them: a few highlights would decide otherwise.
  for (std::size_t i = 0; i < a.size(); ++i)
    sum += std::pow(std::min(a[i], 1.0f) - std::min(b[i], 1.0f), 2);
  return std::sqrt(sum / static_cast<double>(a.size()));
}

TEST_F(FilmMergeTest, PartsGiveTheFilmOfAllSamples) {
  layers = allLayers() & ~denoisedLayer;
  const FilmPtr a = film(part(0, 5, 12)), b = film(part(5, 3, 12)), c = film(part(8, 4, 12));
  const FilmPtr whole = film(part(0, 12, 12)), all = merged({c, a, b});
  expectNear(valuesOf(*all), valuesOf(*whole), "colour");
  for (const FilmLayerPtr& layer : whole->layers()) {
    const std::string name = layer->name();
    if (name == "noise") continue; // estimated by two halves, which are others
    expectNear(valuesOf(*all, name.c_str()), valuesOf(*whole, name.c_str()), name.c_str());
  }
  EXPECT_EQ(all->notes(), whole->notes());
  EXPECT_EQ(valuesOf(*all, "noise").size(), valuesOf(*whole, "noise").size());
}

TEST_F(FilmMergeTest, TheOrderOfTheFilesDoesNotCount) {
  const FilmPtr a = film(part(0, 4, 12)), b = film(part(4, 4, 12)), c = film(part(8, 4, 12));
  EXPECT_EQ(valuesOf(*merged({a, b, c})), valuesOf(*merged({c, b, a})));
  EXPECT_EQ(valuesOf(*merged({a})), valuesOf(*a)) << "one part is itself";
}

TEST_F(FilmMergeTest, TheErrorIsThatOfOneRender) {
  const FilmPtr reference = film(part(1 << 16, 2048, 0));
  const FilmPtr one =
      merged({film(part(0, 8, 32)), film(part(8, 8, 32)), film(part(16, 8, 32)), film(part(24, 8, 32))});
  const double whole = errorTo(*reference, *film(part(0, 32, 32))), split = errorTo(*reference, *one);
  EXPECT_NEAR(split, whole, 0.01 * whole);
  EXPECT_LT(split, 0.7 * errorTo(*reference, *film(part(0, 8, 32))));
}

TEST_F(FilmMergeTest, NoiseIsEstimatedByTheHalves) {
  layers = noiseLayer;
  const FilmPtr all =
      merged({film(part(0, 16, 64)), film(part(16, 16, 64)), film(part(32, 16, 64)), film(part(48, 16, 64))});
  // Halves of 32 samples, as a render of 64 has them.
  expectNear(valuesOf(*all, "noise"), valuesOf(*film(part(0, 64, 64)), "noise"), "noise");
}

TEST_F(FilmMergeTest, AMergedFilmMergesAndGoesOn) {
  const FilmPtr low = merged({film(part(0, 4, 16)), film(part(4, 4, 16))}, true);
  EXPECT_EQ(render::samplesBehind(low->samples().get()), 8);
  const FilmPtr all = merged({film(part(8, 8, 16)), low});
  expectNear(valuesOf(*all), valuesOf(*film(part(0, 16, 16))), "colour");
  Bitmap bitmap(width, height, 32);
  setFilm(*bitmap.bitmap, low);
  auto more = part(0, 8, 16);
  more.keeping = SampleKeeping::goOn;
  const render::RenderReport report = render::renderSnapshot({scene.snapshot, more, bitmap.bitmap});
  ASSERT_EQ(report.outcome, render::RenderOutcome::finished) << report.refusal;
  expectNear(valuesOf(*filmOf(*bitmap.bitmap)), valuesOf(*film(part(0, 16, 16))), "resumed");
}

TEST_F(FilmMergeTest, WhatDoesNotFitIsNamed) {
  const FilmPtr a = film(part(0, 4, 12)), b = film(part(4, 4, 12)), c = film(part(8, 4, 12));
  EXPECT_EQ(whyNot({a, b, c}), "");
  EXPECT_NE(whyNot({a, c}).find("the samples 4 to 7 are missing between a and b"), std::string::npos)
      << whyNot({a, c});
  EXPECT_NE(whyNot({a, b, film(part(6, 4, 12))}).find("b and c both have the samples 6 to 7"),
            std::string::npos);
  EXPECT_NE(whyNot({a, film(part(4, 4, 16))}).find("number of samples in all differs"), std::string::npos);
  auto other = part(4, 4, 12);
  other.seed = 1;
  EXPECT_NE(whyNot({a, film(other)}).find("different renders"), std::string::npos);
  other = part(4, 4, 12);
  other.layers = depthLayer;
  EXPECT_NE(whyNot({a, film(other)}).find("the layers"), std::string::npos);
  other = part(0, 4, 0);
  other.keeping = SampleKeeping::no;
  EXPECT_NE(whyNot({film(other)}).find("no samples"), std::string::npos);
  scene.materials[1]->roughness = 0.3f;
  EXPECT_NE(whyNot({a, film(part(4, 4, 12))}).find("scene differs"), std::string::npos);
}

TEST_F(FilmMergeTest, ChangedSamplesAreRefused) {
  const FilmPtr a = film(part(0, 4, 12));
  MergePart described;
  ASSERT_EQ(render::describePart(*a, described), "");
  auto changed = std::make_shared<FilmSamples>(*a->samples());
  changed->data[7] += 1;
  const FilmPtr copy = film(part(0, 4, 12));
  copy->setSamples(changed);
  EXPECT_NE(whyNot({copy}).find("changed"), std::string::npos);
  changed = std::make_shared<FilmSamples>(*a->samples());
  changed->data.pop_back();
  copy->setSamples(changed);
  FilmMerge merge({described});
  EXPECT_THROW(merge.add(*copy), render::DamagedSamples);
}

// Samples that were dealt out by the noise are not those of a range.
TEST_F(FilmMergeTest, PixelsWithMoreSamplesThanThePartAreRefused) {
  auto how = part(0, 64, 0);
  how.spread = render::SampleSpread::byNoise;
  how.noise = 0.001f;
  const FilmPtr uneven = film(how);
  MergePart described;
  ASSERT_EQ(render::describePart(*uneven, described), "");
  FilmMerge merge({described});
  EXPECT_THROW(merge.add(*uneven), render::DamagedSamples);
}

} // namespace
