// Pictures over each other, pixel by pixel.
#include <gtest/gtest.h>

#include <cmath>

#include "compare_view.h"
#include "metrics.h"

using namespace host;

namespace {

PicturePixels plain(int width, int height, std::uint32_t color) {
  PicturePixels made(width, height);
  std::fill(made.pixels.begin(), made.pixels.end(), color);
  return made;
}

constexpr std::uint32_t red = 0xffff0000, blue = 0xff0000ff;

PicturePixels wiped(int width, int height, const WipeLine& line) {
  PicturePixels out(width, height);
  wipe(plain(width, height, red).view(), plain(width, height, blue).view(), line, out.target());
  return out;
}

std::uint32_t at(const PicturePixels& picture, int x, int y) {
  return picture.view().row(y)[x];
}

} // namespace

TEST(CompareView, AnUprightWipePartsColumns) {
  const PicturePixels half = wiped(8, 3, {0.5, 0.5, 0});
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 8; ++x)
      EXPECT_EQ(at(half, x, y), x < 4 ? red : blue) << x;
  const PicturePixels turned = wiped(8, 3, {0.25, 0.5, 180});
  for (int x = 0; x < 8; ++x)
    EXPECT_EQ(at(turned, x, 1), x < 2 ? blue : red) << x;
}

TEST(CompareView, ALevelWipePartsRows) {
  const PicturePixels over = wiped(4, 10, {0.5, 0.3, 90});
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 4; ++x)
      EXPECT_EQ(at(over, x, y), y < 3 ? red : blue) << y;
  EXPECT_EQ(at(wiped(4, 10, {0.5, 0.3, -90}), 0, 0), blue);
}

TEST(CompareView, WipesAtAnyAngleFollowTheLine) {
  for (int angle = -720; angle <= 720; angle += 7)
    for (const double where : {-0.5, 0.0, 0.37, 1.0, 1.8}) {
      const WipeLine line{where, 0.4, static_cast<double>(angle)};
      const PicturePixels out = wiped(13, 9, line);
      for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 13; ++x) {
          const double distance = wipeDistance(line, 13, 9, x + 0.5, y + 0.5);
          const std::uint32_t side = distance > 0 ? blue : red;
          ASSERT_TRUE(at(out, x, y) == side || std::abs(distance) < 1e-6) << angle << " " << x << " " << y;
        }
    }
}

TEST(CompareView, DifferencesAreAbsoluteTimesGain) {
  PicturePixels a = plain(2, 1, 0xff102030), b = plain(2, 1, 0xff102030), out(2, 1);
  b.pixels[1] = 0x80202000;
  difference(a.view(), b.view(), 1, out.target());
  EXPECT_EQ(out.pixels, (std::vector<std::uint32_t>{0xff000000, 0xff100030}));
  difference(a.view(), b.view(), 4, out.target());
  EXPECT_EQ(out.pixels[1], 0xff4000c0);
  difference(b.view(), a.view(), 1000, out.target());
  EXPECT_EQ(out.pixels, (std::vector<std::uint32_t>{0xff000000, 0xffff00ff}));
  difference(a.view(), b.view(), 0, out.target());
  EXPECT_EQ(out.pixels[1], 0xff000000);
}

TEST(CompareView, HeatMapsHaveTheMetricsColours) {
  const float map[] = {0, 1, 0.25f, std::nanf(""), 7, -1};
  PicturePixels out(3, 2);
  heatPicture(map, out.target());
  const auto color = [](float error) {
    unsigned char rgb[3];
    heatColor(error, rgb);
    return 0xff000000u | static_cast<std::uint32_t>(rgb[0] << 16 | rgb[1] << 8 | rgb[2]);
  };
  EXPECT_EQ(out.pixels[0], color(0));
  EXPECT_EQ(out.pixels[1], color(1));
  EXPECT_EQ(out.pixels[2], color(256.0f / 1023));
  EXPECT_EQ(out.pixels[3], color(0)) << "not a number: none";
  EXPECT_EQ(out.pixels[4], color(1));
  EXPECT_EQ(out.pixels[5], color(0));
}

TEST(CompareView, PicturesAreFittedIntoTheFirst) {
  const PicturePixels small = plain(4, 2, 0xff336699);
  EXPECT_EQ(fitted(small.view(), 4, 2).pixels, small.pixels);
  const PicturePixels same = fitted(small.view(), 16, 8);
  EXPECT_TRUE(std::all_of(same.pixels.begin(), same.pixels.end(), [](auto p) { return p == 0xff336699; }));
  const PicturePixels boxed = fitted(small.view(), 4, 6);
  EXPECT_EQ(at(boxed, 0, 1), 0u) << "nothing above";
  EXPECT_EQ(at(boxed, 0, 2), 0xff336699);
  EXPECT_EQ(at(boxed, 3, 3), 0xff336699);
  EXPECT_EQ(at(boxed, 0, 4), 0u);
  PicturePixels stripes(4, 1);
  stripes.pixels = {0xff000000, 0xff0000ff, 0xff000000, 0xff0000ff};
  EXPECT_EQ(fitted(stripes.view(), 2, 1).pixels, (std::vector<std::uint32_t>(2, 0xff000080))) << "means";
  PicturePixels two(2, 1);
  two.pixels = {0xff000000, 0xff000080};
  EXPECT_EQ(fitted(two.view(), 4, 2).pixels[1], 0xff000020) << "a quarter of the way";
  EXPECT_EQ(fitted(plain(1, 1, red).view(), 3, 3).pixels, std::vector<std::uint32_t>(9, red));
}
