// Hue, saturation, value and temperature of picked colours.
#include "color_values.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "light_source.h"

namespace host {
namespace {

void expectNear(const Vector& a, const Vector& b, double tolerance) {
  EXPECT_NEAR(a.x, b.x, tolerance);
  EXPECT_NEAR(a.y, b.y, tolerance);
  EXPECT_NEAR(a.z, b.z, tolerance);
}

TEST(ColorValues, KnownColoursHaveTheirHues) {
  struct Known {
    Vector linear;
    Hsv hsv;
  };
  const double half = 0.21404114048223255; // the light of the value 0.5
  for (const Known& known :
       {Known{{1, 0, 0}, {0, 1, 1}}, Known{{1, 1, 0}, {60, 1, 1}}, Known{{0, 1, 0}, {120, 1, 1}},
        Known{{0, 1, 1}, {180, 1, 1}}, Known{{0, 0, 1}, {240, 1, 1}}, Known{{1, 0, 1}, {300, 1, 1}},
        Known{{1, half, half}, {0, 0.5, 1}}, Known{{half, half, half}, {0, 0, 0.5}},
        Known{{0, 0, 0}, {0, 0, 0}}, Known{{1, half, 0}, {30, 1, 1}}}) {
    const Hsv hsv = hsvOf(known.linear);
    EXPECT_NEAR(hsv.hue, known.hsv.hue, 1e-9);
    EXPECT_NEAR(hsv.saturation, known.hsv.saturation, 1e-9);
    EXPECT_NEAR(hsv.value, known.hsv.value, 1e-9);
    expectNear(linearOf(known.hsv), known.linear, 1e-9);
  }
}

TEST(ColorValues, HueSaturationAndValueComeBack) {
  for (double hue = 0.5; hue < 360; hue += 7.25)
    for (const double saturation : {0.01, 0.4, 1.0})
      for (const double value : {0.02, 0.6, 1.0}) {
        const Hsv back = hsvOf(linearOf({hue, saturation, value}));
        EXPECT_NEAR(back.hue, hue, 1e-6);
        EXPECT_NEAR(back.saturation, saturation, 1e-9);
        EXPECT_NEAR(back.value, value, 1e-9);
      }
  EXPECT_EQ(linearOf({-120, 1, 1}), linearOf({240, 1, 1}));
  EXPECT_EQ(linearOf({720, 1, 1}), linearOf({0, 1, 1}));
}

TEST(ColorValues, NumbersOutsideOfTheRangeAreBroughtIn) {
  const double nan = std::numeric_limits<double>::quiet_NaN(),
               endless = std::numeric_limits<double>::infinity();
  const Hsv red = hsvOf({7, -3, nan});
  EXPECT_EQ(red.hue, 0);
  EXPECT_EQ(red.saturation, 1);
  EXPECT_NEAR(red.value, 1, 1e-9);
  EXPECT_EQ(linearOf({nan, 4, 9}), Vector(1, 0, 0));
  for (const Vector& odd : {Vector(nan, 1, 1), Vector(endless, 1, 1), Vector(0, 0, 0), Vector(-1, -1, -1)})
    EXPECT_FALSE(kelvinOf(odd));
}

TEST(ColorValues, TemperaturesComeBackAtAnyBrightness) {
  for (const double kelvin : {1700.0, 2700.0, 3999.0, 5000.0, 6500.0, 9000.0, 20000.0})
    for (const double brightness : {0.01, 1.0, 40.0}) {
      const auto found = kelvinOf(blackBodyColor(kelvin) * brightness);
      ASSERT_TRUE(found) << kelvin;
      EXPECT_NEAR(*found, kelvin, kelvin * 0.002);
      const Vector color = kelvinColor(kelvin, brightness);
      EXPECT_NEAR(std::max({color.x, color.y, color.z}), brightness, 1e-9);
    }
  EXPECT_FALSE(kelvinOf({0, 1, 0})) << "no glowing body is green";
  EXPECT_FALSE(kelvinOf({0.4, 0, 1}));
  EXPECT_TRUE(kelvinOf({1, 1, 1})) << "white is daylight";
}

} // namespace
} // namespace host
