// Bloom, glare and vignette, with exact values and bounds.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "display_transform.h"
#include "film.h"
#include "lens_effects.h"
#include "spread.h"
#include "viewed_bitmap.h"

using namespace host;

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

struct Light {
  int width, height;
  std::vector<float> rgb =
      std::vector<float>(3 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  float& at(int x, int y, int channel = 0) {
    return rgb[3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                    static_cast<std::size_t>(x)) +
               static_cast<std::size_t>(channel)];
  }
  void set(int x, int y, float r, float g, float b) { at(x, y, 0) = r, at(x, y, 1) = g, at(x, y, 2) = b; }
  double sum() const { return std::accumulate(rgb.begin(), rgb.end(), 0.0); }
  void apply(const LensSettings& settings) { applyLens(settings, width, height, rgb); }
};

LensSettings bloom(double strength = 0.5) {
  LensSettings settings;
  settings.bloom = true;
  settings.strength = strength;
  settings.radius = 0.2;
  return settings;
}

LensSettings glare(int streaks, double angle) {
  LensSettings settings;
  settings.glare = true;
  settings.strength = 1;
  settings.threshold = 0;
  settings.streaks = streaks;
  settings.angle = angle;
  settings.length = 0.1;
  return settings;
}

} // namespace

TEST(Lens, WithoutEffectsNothingChanges) {
  Light light{3, 2};
  std::iota(light.rgb.begin(), light.rgb.end(), 0.5f);
  const std::vector<float> before = light.rgb;
  light.apply({});
  EXPECT_EQ(light.rgb, before);
  LensSettings idle = bloom(0);
  idle.vignette = true;
  idle.amount = 0;
  light.apply(idle);
  EXPECT_EQ(light.rgb, before);
}

TEST(Lens, BloomMovesLightAboveTheThreshold) {
  Light light{201, 151};
  light.set(100, 75, 9, 4.5f, 0);
  light.set(3, 3, 0.5f, 0.5f, 0.5f);
  const double before = light.sum();
  light.apply(bloom());
  EXPECT_NEAR(light.sum(), before, 5e-3) << "no light is added, and all of it is inside the picture";
  EXPECT_GT(light.at(100, 75), 5);
  EXPECT_LT(light.at(100, 75), 5.5f) << "9 less half of 8, and its share of the halo";
  EXPECT_NEAR(light.at(90, 75, 1), light.at(90, 75) / 2, 1e-6) << "the hue stays";
  EXPECT_EQ(light.at(90, 75, 2), 0);
  EXPECT_NEAR(light.at(3, 3), 0.5f, 1e-4) << "below the threshold";
  for (const int d : {1, 5, 20, 40}) {
    EXPECT_NEAR(light.at(100 - d, 75), light.at(100 + d, 75), 1e-7) << d;
    EXPECT_NEAR(light.at(100, 75 - d), light.at(100 + d, 75), 1e-7) << d;
    EXPECT_LT(light.at(100 + d, 75), light.at(100 + d - 1, 75)) << "falls off";
  }
  EXPECT_NEAR(light.at(100 + 14, 75 + 14), light.at(100 + 20, 75), 0.2f * light.at(100 + 20, 75))
      << "nearly round";
}

TEST(Lens, BloomNeverAddsEnergyAtTheEdges) {
  Light light{64, 48};
  for (const auto& [x, y] : {std::pair{0, 0}, {63, 0}, {0, 47}, {63, 47}})
    light.set(x, y, 100, 100, 100);
  const double before = light.sum();
  light.apply(bloom(1));
  EXPECT_LT(light.sum(), before);
  EXPECT_NEAR(light.at(1, 0), light.at(62, 0), 1e-5f) << "as symmetric as the picture";
  EXPECT_NEAR(light.at(0, 1), light.at(63, 46), 1e-5f);
  EXPECT_TRUE(std::all_of(light.rgb.begin(), light.rgb.end(), [](float v) { return v >= 0; }));
}

TEST(Lens, BlursHaveTheirDeviation) {
  for (const double deviation : {0.5, 2.0, 9.0}) {
    LightPlane plane(181, 181);
    plane.row(90)[3 * 90] = 1;
    blur(plane, deviation);
    double sum = 0, square = 0;
    for (int y = 0; y < 181; ++y)
      for (int x = 0; x < 181; ++x) {
        const double value = plane.row(y)[3 * x];
        sum += value;
        square += value * (x - 90) * (x - 90);
      }
    EXPECT_NEAR(sum, 1, 1e-4) << deviation;
    EXPECT_NEAR(std::sqrt(square), deviation, 0.01 * deviation);
  }
}

TEST(Lens, RaysAreExponentials) {
  const auto rayAt = [](double degrees) {
    Light light{41, 41};
    light.set(20, 20, 1, 0, 0);
    LightPlane plane(41, 41);
    plane.values = light.rgb;
    light.rgb = ray(plane, degrees * 3.14159265358979323846 / 180, 0.5).values;
    return light;
  };
  Light right = rayAt(0), up = rayAt(90), left = rayAt(180), down = rayAt(270);
  for (int d = 0; d < 12; ++d) {
    const float expected = std::exp2(-static_cast<float>(d) - 1);
    EXPECT_NEAR(right.at(20 + d, 20), expected, 1e-6f) << d;
    EXPECT_NEAR(up.at(20, 20 - d), expected, 1e-6f) << d;
    EXPECT_NEAR(left.at(20 - d, 20), expected, 1e-6f) << d;
    EXPECT_NEAR(down.at(20, 20 + d), expected, 1e-6f) << d;
  }
  EXPECT_NEAR(right.at(19, 20), 0, 1e-6f) << "one way";
  Light slanted = rayAt(30);
  double sum = 0, x = 0, y = 0;
  for (int row = 0; row < 41; ++row)
    for (int column = 0; column < 41; ++column) {
      sum += slanted.at(column, row);
      x += slanted.at(column, row) * (column - 20);
      y += slanted.at(column, row) * (20 - row);
    }
  EXPECT_NEAR(sum, 1, 1e-4);
  EXPECT_NEAR(y / x, std::tan(3.14159265358979323846 / 6), 1e-3) << "its middle lies in its direction";
}

TEST(Lens, GlareIsAStar) {
  Light light{101, 101};
  light.set(50, 50, 8, 8, 8);
  light.apply(glare(4, 0));
  const double decay = std::pow(0.01, 1 / (0.1 * 101));
  for (int d = 1; d < 10; ++d) {
    const auto expected = static_cast<float>(8 * (1 - decay) * std::pow(decay, d) / 4);
    EXPECT_NEAR(light.at(50 + d, 50), expected, 1e-5f) << d;
    EXPECT_NEAR(light.at(50, 50 + d), expected, 1e-5f) << d;
    EXPECT_NEAR(light.at(50 - d, 50), expected, 1e-5f) << d;
    EXPECT_NEAR(light.at(50 + d, 50 + d), 0, 1e-6f) << "between the rays";
  }
  EXPECT_NEAR(light.sum(), 24, 0.01);
}

TEST(Lens, BloomAndGlareShareTheLight) {
  Light light{101, 101};
  light.set(50, 50, 8, 8, 8);
  LensSettings both = glare(6, 20);
  both.bloom = true;
  light.apply(both);
  EXPECT_NEAR(light.sum(), 24, 0.05);
}

TEST(Lens, NanAndInfinitiesNeverSpread) {
  Light light{41, 31};
  light.set(20, 15, infinity, 0, 0);
  light.set(5, 5, std::nanf(""), 7, 7);
  light.set(30, 20, -infinity, 1e30f, 3e38f);
  light.set(10, 25, 1e30f, 0, 0);
  LensSettings all = bloom();
  all.glare = true;
  light.apply(all);
  int broken = 0;
  for (int y = 0; y < 31; ++y)
    for (int x = 0; x < 41; ++x) {
      const bool finite = std::isfinite(light.at(x, y, 0)) && std::isfinite(light.at(x, y, 1)) &&
                          std::isfinite(light.at(x, y, 2));
      broken += !finite;
      EXPECT_TRUE(!finite || (x == 10 && y == 25) || light.at(x, y) <= 65504) << x << " " << y;
    }
  EXPECT_EQ(broken, 3);
  EXPECT_EQ(light.at(5, 5, 1), 7) << "as it was";
  EXPECT_EQ(light.at(20, 15), infinity);
}

TEST(Lens, TheVignetteDarkensTheCorners) {
  LensSettings settings;
  settings.vignette = true;
  settings.amount = 1;
  EXPECT_FLOAT_EQ(vignetteAt(settings, 101, 51, 50, 25), 1);
  // The middle of the corner's pixel lies 50 and 25 pixels from the picture's.
  const double corner = (50.0 * 50 + 25 * 25) / (50.5 * 50.5 + 25.5 * 25.5);
  EXPECT_FLOAT_EQ(vignetteAt(settings, 101, 51, 0, 0), static_cast<float>(1 / ((1 + corner) * (1 + corner))));
  const double side = 50.0 * 50 / (50.5 * 50.5 + 25.5 * 25.5);
  EXPECT_FLOAT_EQ(vignetteAt(settings, 101, 51, 100, 25), static_cast<float>(1 / ((1 + side) * (1 + side))));
  settings.roundness = 0;
  EXPECT_NEAR(vignetteAt(settings, 101, 51, 100, 25), vignetteAt(settings, 101, 51, 50, 50), 0.01f)
      << "the picture's shape";
  settings.amount = 0.25;
  settings.roundness = 1;
  settings.size = 2;
  EXPECT_FLOAT_EQ(vignetteAt(settings, 101, 51, 0, 0),
                  static_cast<float>(0.75 + 0.25 / ((1 + corner / 4) * (1 + corner / 4))));
  Light light{3, 1};
  light.rgb.assign(9, 2);
  light.apply(settings);
  EXPECT_FLOAT_EQ(light.at(1, 0), 2);
  EXPECT_FLOAT_EQ(light.at(0, 0, 2), 2 * vignetteAt(settings, 3, 1, 0, 0));
}

TEST(Lens, NumbersOutOfRangeAreBroughtIn) {
  LensSettings wild;
  wild.threshold = -1, wild.strength = 7, wild.radius = 1e9, wild.streaks = -4, wild.length = std::nan("");
  wild.angle = infinity, wild.amount = -2, wild.size = 0, wild.roundness = 3;
  const LensSettings kept = lensWithinRange(wild), plain;
  EXPECT_EQ(kept.threshold, 0);
  EXPECT_EQ(kept.strength, 1);
  EXPECT_EQ(kept.radius, 0.5);
  EXPECT_EQ(kept.streaks, 2);
  EXPECT_EQ(kept.length, plain.length);
  EXPECT_EQ(kept.angle, 360);
  EXPECT_EQ(kept.amount, 0);
  EXPECT_EQ(kept.size, 0.1);
  EXPECT_EQ(kept.roundness, 1);
  EXPECT_FALSE(plain.any()) << "off at first";
}

TEST(Lens, SavedPicturesShowTheLens) {
  AutoAlloc<BaseBitmap> bitmap, copy;
  ASSERT_EQ(bitmap->Init(31, 31, 24), IMAGERESULT_OK);
  auto film = std::make_shared<Film>(31, 31);
  const float lamp[4] = {6, 3, 0, 1};
  film->setColor(15, 15, lamp);
  setFilm(*bitmap, film);
  for (int i = 0; i < 3; ++i)
    bitmap->SetPixel(15, 15, toDisplay(lamp[0]), toDisplay(lamp[1]), toDisplay(lamp[2]));
  bitmap->SetPixel(2, 2, 9, 8, 7); // drawn over
  ASSERT_TRUE(viewedCopy(*bitmap, ViewTransform(), false, *copy, {{}, bloom()}));
  Light expected{31, 31};
  expected.set(15, 15, 6, 3, 0);
  expected.apply(bloom());
  UWORD r, g, b;
  for (const auto& [x, y] : {std::pair{15, 15}, {17, 15}, {12, 20}}) {
    copy->GetPixel(x, y, &r, &g, &b);
    EXPECT_EQ(r, toDisplay(expected.at(x, y, 0))) << x;
    EXPECT_EQ(g, toDisplay(expected.at(x, y, 1))) << x;
    EXPECT_EQ(b, toDisplay(expected.at(x, y, 2))) << x;
  }
  copy->GetPixel(17, 15, &r, &g, &b);
  EXPECT_GT(r, 10);
  copy->GetPixel(2, 2, &r, &g, &b);
  EXPECT_EQ(r, 9) << "what was drawn over stays";
  EXPECT_EQ(filmOf(*bitmap), film);
  float kept[4];
  film->getColor(15, 15, kept);
  EXPECT_EQ(kept[0], 6) << "the film stays";
}
