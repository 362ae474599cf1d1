// Resampling.
#include <algorithm>
#include <cmath>
#include <random>

#include "picture_fixture.h"

using namespace picture_fixture;

namespace {

using Bitmap = AutoAlloc<BaseBitmap>;

void init(Bitmap& bitmap, LONG width, LONG height, LONG depth = 24) {
  ASSERT_EQ(bitmap->Init(width, height, depth), IMAGERESULT_OK);
}

Rgba grey(int value) {
  return {value, value, value, 255};
}

} // namespace

TEST(BitmapScale, AConstantStaysConstant) {
  Bitmap source, target;
  init(source, 37, 23);
  for (const int value : {0, 1, 127, 128, 254, 255}) {
    source->Clear(value, 255 - value, 77);
    for (const auto& [width, height] :
         {std::pair<LONG, LONG>{11, 7}, {100, 61}, {37, 23}, {1, 1}, {200, 5}, {36, 24}})
      for (const Bool sample : {FALSE, TRUE}) {
        init(target, width, height);
        source->ScaleIt(target, 256, sample, FALSE);
        for (LONG y = 0; y < height; ++y)
          for (LONG x = 0; x < width; ++x)
            ASSERT_EQ(at(*target, x, y), (Rgba{value, 255 - value, 77, 255})) << width << "x" << height;
      }
  }
}

TEST(BitmapScale, TheSameSizeIsACopy) {
  Bitmap source, target;
  init(source, 13, 17, 32);
  init(target, 13, 17, 32);
  fillPattern(*source);
  for (const Bool sample : {FALSE, TRUE}) {
    target->Clear(0, 0, 0);
    source->ScaleIt(target, 256, sample, FALSE);
    for (LONG y = 0; y < 17; ++y)
      for (LONG x = 0; x < 13; ++x)
        ASSERT_EQ(at(*target, x, y), patternAt(x, y));
  }
}

TEST(BitmapScale, ShrinkingAveragesTheArea) {
  Bitmap source, target;
  init(source, 4, 2);
  init(target, 2, 1);
  const int values[2][4] = {{0, 255, 10, 20}, {255, 0, 30, 41}};
  for (LONG y = 0; y < 2; ++y)
    for (LONG x = 0; x < 4; ++x)
      put(*source, x, y, grey(values[y][x]));
  source->ScaleIt(target, 256, TRUE, FALSE);
  EXPECT_EQ(at(*target, 0, 0), grey(128)); // 127.5
  EXPECT_EQ(at(*target, 1, 0), grey(25));  // 25.25
}

TEST(BitmapScale, ShrinkingWeighsPartsOfPixels) {
  Bitmap source, target;
  init(source, 3, 1);
  init(target, 2, 1);
  put(*source, 0, 0, grey(0));
  put(*source, 1, 0, grey(90));
  put(*source, 2, 0, grey(240));
  source->ScaleIt(target, 256, TRUE, FALSE);
  EXPECT_EQ(at(*target, 0, 0), grey(30));  // (0 + 90 / 2) / 1.5
  EXPECT_EQ(at(*target, 1, 0), grey(190)); // (90 / 2 + 240) / 1.5
}

TEST(BitmapScale, EnlargingIsBilinearBetweenCentres) {
  Bitmap source, target;
  init(source, 2, 1);
  init(target, 4, 1);
  put(*source, 0, 0, grey(0));
  put(*source, 1, 0, grey(200));
  source->ScaleIt(target, 256, TRUE, FALSE);
  const int wanted[] = {0, 50, 150, 200};
  for (LONG x = 0; x < 4; ++x)
    EXPECT_EQ(at(*target, x, 0), grey(wanted[x])) << x;
}

TEST(BitmapScale, NearestTakesPixelsAsTheyAre) {
  Bitmap source, target;
  init(source, 2, 2);
  put(*source, 0, 0, grey(1));
  put(*source, 1, 0, grey(2));
  put(*source, 0, 1, grey(3));
  put(*source, 1, 1, grey(4));
  init(target, 6, 4);
  source->ScaleIt(target, 256, FALSE, FALSE);
  for (LONG y = 0; y < 4; ++y)
    for (LONG x = 0; x < 6; ++x)
      EXPECT_EQ(at(*target, x, y), grey(1 + x / 3 + 2 * (y / 2)));
}

TEST(BitmapScale, IntensityMixes) {
  Bitmap source, target;
  init(source, 1, 1);
  source->Clear(200, 0, 255);
  const std::pair<LONG, Rgba> cases[] = {{0, {100, 100, 100, 255}}, {-5, {100, 100, 100, 255}},
                                         {64, {125, 75, 139, 255}}, {128, {150, 50, 178, 255}},
                                         {256, {200, 0, 255, 255}}, {1000, {200, 0, 255, 255}}};
  for (const auto& [intensity, wanted] : cases) {
    init(target, 2, 2);
    target->Clear(100, 100, 100);
    source->ScaleIt(target, intensity, TRUE, FALSE);
    EXPECT_EQ(at(*target, 1, 1), wanted) << intensity;
  }
}

TEST(BitmapScale, ProportionalCentresAndKeepsTheBorders) {
  Bitmap source, target;
  init(source, 20, 10);
  init(target, 10, 10);
  source->Clear(200, 0, 0);
  target->Clear(0, 0, 99);
  source->ScaleIt(target, 256, TRUE, TRUE);
  for (LONG y = 0; y < 10; ++y)
    for (LONG x = 0; x < 10; ++x)
      EXPECT_EQ(at(*target, x, y), y >= 2 && y < 7 ? (Rgba{200, 0, 0, 255}) : (Rgba{0, 0, 99, 255})) << y;
}

TEST(BitmapScale, AlphaIsScaledOrOpaque) {
  Bitmap source, target;
  init(source, 2, 1, 32);
  init(target, 1, 1, 32);
  put(*source, 0, 0, {10, 10, 10, 0});
  put(*source, 1, 0, {30, 30, 30, 100});
  source->ScaleIt(target, 256, TRUE, FALSE);
  EXPECT_EQ(at(*target, 0, 0), (Rgba{20, 20, 20, 50}));

  Bitmap flat; // a picture that has lost its alpha channel is opaque
  ASSERT_TRUE(source->CopyTo(flat));
  Bitmap noAlpha;
  init(noAlpha, 2, 1, 24);
  flat->ScaleIt(noAlpha, 256, FALSE, FALSE);
  noAlpha->ScaleIt(target, 256, TRUE, FALSE);
  EXPECT_EQ(at(*target, 0, 0), (Rgba{20, 20, 20, 255}));
}

TEST(BitmapScale, EmptyBitmapsDoNothing) {
  Bitmap empty, target;
  init(target, 3, 3);
  target->Clear(5, 6, 7);
  empty->ScaleIt(target, 256, TRUE, FALSE);
  target->ScaleIt(empty, 256, TRUE, FALSE);
  target->ScaleIt(nullptr, 256, TRUE, FALSE);
  target->ScaleIt(target, 256, TRUE, FALSE);
  EXPECT_EQ(at(*target, 2, 2), (Rgba{5, 6, 7, 255}));
}

TEST(BitmapScale, TheAverageOfABigPictureIsKept) {
  Bitmap source, target;
  init(source, 301, 199);
  init(target, 1, 1);
  double sum = 0;
  for (LONG y = 0; y < 199; ++y)
    for (LONG x = 0; x < 301; ++x) {
      put(*source, x, y, patternAt(x, y));
      sum += patternAt(x, y).r;
    }
  source->ScaleIt(target, 256, TRUE, FALSE);
  EXPECT_NEAR(at(*target, 0, 0).r, sum / (301 * 199), 0.51);
}

namespace {

/// The weight of source pixel `i` in target pixel `t`: its share of the area when shrinking, a straight line
/// between pixel centres when enlarging.
double weightOf(LONG i, LONG t, LONG from, LONG to) {
  const double scale = static_cast<double>(from) / to;
  if (to < from)
    return std::max(0.0, std::min(i + 1.0, (t + 1) * scale) - std::max<double>(i, t * scale)) / scale;
  const double centre = std::clamp((t + 0.5) * scale - 0.5, 0.0, from - 1.0);
  return std::max(0.0, 1 - std::abs(i - centre));
}

std::vector<double> weightsOf(LONG t, LONG from, LONG to) {
  std::vector<double> all;
  for (LONG i = 0; i < from; ++i)
    all.push_back(weightOf(i, t, from, to));
  return all;
}

/// The filtered red of a target pixel, by the reference formula.
double filteredRed(const BaseBitmap& source, const std::vector<double>& columns,
                   const std::vector<double>& lines) {
  double sum = 0;
  for (LONG y = 0; y < source.GetBh(); ++y)
    for (LONG x = 0; x < source.GetBw(); ++x) {
      const double weight = columns[static_cast<std::size_t>(x)] * lines[static_cast<std::size_t>(y)];
      if (weight > 0) sum += weight * at(source, x, y).r;
    }
  return sum;
}

} // namespace

// Every path, fast and slow, gives the reference value, rounded.
TEST(BitmapScale, EverySizeMatchesTheReferenceFilter) {
  std::mt19937 random(11);
  std::uniform_int_distribution<int> code(0, 255);
  Bitmap source, target;
  init(source, 30, 20);
  for (LONG y = 0; y < 20; ++y)
    for (LONG x = 0; x < 30; ++x)
      put(*source, x, y, {code(random), code(random), code(random), 255});
  for (const auto& [width, height] : {std::pair<LONG, LONG>{20, 13},
                                      {61, 47},
                                      {29, 20},
                                      {30, 41},
                                      {9, 20},
                                      {13, 7},
                                      {11, 60},
                                      {3, 2},
                                      {7, 40},
                                      {1, 19},
                                      {90, 6}}) {
    init(target, width, height);
    source->ScaleIt(target, 256, TRUE, FALSE);
    double error = 0;
    for (LONG y = 0; y < height; ++y) {
      const std::vector<double> lines = weightsOf(y, 20, height);
      for (LONG x = 0; x < width; ++x) {
        const double off = at(*target, x, y).r - filteredRed(*source, weightsOf(x, 30, width), lines);
        ASSERT_LT(std::abs(off), 0.56) << width << " x " << height << " at " << x << ", " << y;
        error += off;
      }
    }
    EXPECT_LT(std::abs(error) / (width * height), 0.05 + 1.5 / std::sqrt(width * height)) << width;
  }
}
