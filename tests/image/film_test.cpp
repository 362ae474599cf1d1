// The float film and the display transform.
#include <cmath>
#include <limits>

#include "display_transform.h"
#include "film.h"
#include "picture_fixture.h"

using namespace picture_fixture;
using host::Film;

namespace {

/// IEC 61966-2-1 in double, rounded to the nearest code.
int displayCode(float linear) {
  const double l = linear;
  if (!(l > 0)) return 0;
  if (l >= 1) return 255;
  const double encoded = l <= 0.0031308 ? 12.92 * l : 1.055 * std::pow(l, 1 / 2.4) - 0.055;
  return static_cast<int>(std::floor(encoded * 255 + 0.5));
}

} // namespace

TEST(DisplayTransform, IsTheSrgbCurve) {
  for (int i = 0; i <= 2000000; ++i) {
    const float linear = static_cast<float>(i) / 2000000.0f;
    ASSERT_EQ(host::toDisplay(linear), displayCode(linear)) << linear;
  }
}

TEST(DisplayTransform, IsMonotonic) {
  int last = 0;
  for (float linear = 1e-6f; linear < 1.2f; linear *= 1.00005f) {
    const int code = host::toDisplay(linear);
    ASSERT_GE(code, last);
    last = code;
  }
  EXPECT_EQ(last, 255);
}

TEST(DisplayTransform, ClampsToItsRange) {
  EXPECT_EQ(host::toDisplay(-1), 0);
  EXPECT_EQ(host::toDisplay(-0.0f), 0);
  EXPECT_EQ(host::toDisplay(1e-30f), 0);
  EXPECT_EQ(host::toDisplay(1), 255);
  EXPECT_EQ(host::toDisplay(1e30f), 255);
  EXPECT_EQ(host::toDisplay(std::numeric_limits<float>::infinity()), 255);
  EXPECT_EQ(host::toDisplay(-std::numeric_limits<float>::infinity()), 0);
  EXPECT_EQ(host::toDisplay(std::numeric_limits<float>::quiet_NaN()), 0);
  EXPECT_EQ(host::toDisplay(0.18f), 118);
  EXPECT_EQ(host::toDisplay(0.5f), 188);
}

TEST(DisplayTransform, RoundTripsEveryCode) {
  for (int code = 0; code < 256; ++code)
    EXPECT_EQ(host::toDisplay(host::fromDisplay(static_cast<unsigned char>(code))), code);
  EXPECT_EQ(host::fromDisplay(0), 0.0f);
  EXPECT_EQ(host::fromDisplay(255), 1.0f);
}

TEST(Film, KeepsFloats) {
  Film film(3, 2);
  const float value[4] = {-1.5f, 1e9f, 0.25f, 0.5f};
  film.setColor(2, 1, value);
  float seen[4];
  film.getColor(2, 1, seen);
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(seen[i], value[i]);
  film.getColor(0, 0, seen);
  for (const float v : seen)
    EXPECT_EQ(v, 0.0f);
}

TEST(Film, StaysUntilTheBitmapChangesShape) {
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(3, 2), IMAGERESULT_OK);
  EXPECT_EQ(host::filmOf(*bitmap), nullptr);
  const auto film = std::make_shared<Film>(3, 2);
  host::setFilm(*bitmap, film);
  EXPECT_EQ(host::filmOf(*bitmap), film);
  ASSERT_EQ(bitmap->Init(3, 2), IMAGERESULT_OK);
  EXPECT_EQ(host::filmOf(*bitmap), nullptr);
  host::setFilm(*bitmap, film);
  bitmap->FlushAll();
  EXPECT_EQ(host::filmOf(*bitmap), nullptr);
  ASSERT_EQ(bitmap->Init(5, 5), IMAGERESULT_OK);
  host::setFilm(*bitmap, film); // of another size
  EXPECT_EQ(host::filmOf(*bitmap), nullptr);
}

TEST(Film, ClonesShareItAndPartsGetASection) {
  AutoAlloc<BaseBitmap> bitmap, target;
  ASSERT_EQ(bitmap->Init(4, 3), IMAGERESULT_OK);
  const auto film = std::make_shared<Film>(4, 3);
  const float value[4] = {1, 2, 3, 1};
  film->setColor(2, 1, value);
  host::setFilm(*bitmap, film);
  AutoAlloc<BaseBitmap> clone(bitmap->GetClone());
  EXPECT_EQ(host::filmOf(*clone), film);
  ASSERT_TRUE(bitmap->CopyTo(target));
  EXPECT_EQ(host::filmOf(*target), film);
  AutoAlloc<BaseBitmap> part(bitmap->GetClonePart(2, 1, 2, 2));
  const auto partFilm = host::filmOf(*part);
  ASSERT_TRUE(partFilm);
  float seen[4];
  partFilm->getColor(0, 0, seen);
  EXPECT_EQ(seen[1], 2.0f);
  partFilm->getColor(1, 1, seen);
  EXPECT_EQ(seen[1], 0.0f);
}
