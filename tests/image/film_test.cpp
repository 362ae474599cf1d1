// The float film and the display transform.
#include <array>
#include <cmath>
#include <limits>
#include <vector>

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

TEST(DisplayTransform, ManyValuesAreLikeOne) {
  const std::vector<float> light{-1,
                                 0,
                                 0.002f,
                                 0.18f,
                                 0.5f,
                                 1,
                                 7,
                                 std::numeric_limits<float>::infinity(),
                                 std::numeric_limits<float>::quiet_NaN()};
  std::vector<unsigned char> codes(light.size());
  host::toDisplay(light.data(), codes.data(), light.size());
  for (std::size_t i = 0; i < light.size(); ++i)
    EXPECT_EQ(codes[i], host::toDisplay(light[i])) << light[i];
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

TEST(Film, LayersGrowAndGo) {
  Film film(3, 2);
  EXPECT_EQ(film.findLayer("depth"), nullptr);
  const host::FilmLayerPtr depth = film.addLayer("depth", "Z");
  EXPECT_EQ(film.addLayer("depth", "Z"), depth);
  float value = -1;
  depth->get(film.pixelAt(2, 1), &value);
  EXPECT_EQ(value, 0);
  value = 4.5f;
  depth->set(film.pixelAt(2, 1), &value);
  float seen = 0;
  film.findLayer("depth")->get(5, &seen);
  EXPECT_EQ(seen, 4.5f);
  film.addLayer("normal", "XYZ");
  EXPECT_EQ(film.layers().size(), 2u);
  film.removeLayer("depth");
  EXPECT_EQ(film.findLayer("depth"), nullptr);
  ASSERT_EQ(film.layers().size(), 1u);
  EXPECT_EQ(film.layers()[0]->channels(), "XYZ");
}

TEST(Film, DoesNotGrowWhenALayerComesAndGoes) {
  Film film(1, 1);
  const host::FilmLayerPtr first = film.addLayer(host::film_layers::denoised, "RGB");
  const float bright[3] = {1, 1, 1}, color[4] = {0.5f, 0, 0, 1};
  first->set(0, bright);
  film.setColor(0, 0, color);
  film.removeLayer(host::film_layers::denoised);
  float seen[4];
  film.getShown(0, 0, seen);
  EXPECT_EQ(seen[0], 0.5f);
  EXPECT_EQ(film.addLayer(host::film_layers::denoised, "RGB"), first);
  film.getShown(0, 0, seen);
  EXPECT_EQ(seen[0], 0);
}

TEST(Film, ShowsTheDenoisedOrTheNoisyColour) {
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(2, 1, 24), IMAGERESULT_OK);
  EXPECT_FALSE(host::showDenoised(*bitmap, true));
  const auto film = std::make_shared<Film>(2, 1);
  const float noisy[4] = {0.5f, 0.5f, 0.5f, 1}, clean[3] = {0.25f, 0.25f, 0.25f};
  for (int x = 0; x < 2; ++x)
    film->setColor(x, 0, noisy);
  host::setFilm(*bitmap, film);
  EXPECT_FALSE(host::showDenoised(*bitmap, true));
  const host::FilmLayerPtr layer = film->addLayer(host::film_layers::denoised, "RGB");
  const int dark = host::toDisplay(0.25f), bright = host::toDisplay(0.5f);
  for (std::size_t x = 0; x < 2; ++x)
    layer->set(x, clean);
  bitmap->SetPixel(0, 0, dark, dark, dark);
  bitmap->SetPixel(1, 0, 9, 9, 9); // a stamp

  float shown[4];
  film->getShown(0, 0, shown);
  EXPECT_EQ(shown[0], 0.25f);
  EXPECT_EQ(shown[3], 1);
  EXPECT_TRUE(host::showDenoised(*bitmap, false));
  film->getShown(0, 0, shown);
  EXPECT_EQ(shown[0], 0.5f);
  EXPECT_EQ(at(*bitmap, 0, 0).r, bright);
  EXPECT_EQ(at(*bitmap, 1, 0).r, 9);
  EXPECT_TRUE(host::showDenoised(*bitmap, true));
  EXPECT_EQ(at(*bitmap, 0, 0).r, dark);
  EXPECT_EQ(at(*bitmap, 1, 0).r, 9);
}

TEST(Film, ARowIsLikeItsPixels) {
  Film film(6, 3, {2, 1, 3, 1});
  const auto expectRow = [&](int y) {
    std::vector<float> row(18, -1);
    film.getShownRow(y, row.data());
    for (int x = 0; x < 6; ++x) {
      float rgba[4];
      film.getShown(x, y, rgba);
      for (int i = 0; i < 3; ++i)
        EXPECT_EQ(row[static_cast<std::size_t>(3 * x + i)], rgba[i]) << x << " " << y;
    }
  };
  for (int x = 2; x < 5; ++x) {
    const auto light = static_cast<float>(x);
    film.setColor(x, 1, std::array{light, 10 * light, 100 * light, 1.0f}.data());
  }
  expectRow(0);
  expectRow(1);
  const auto denoised = film.addLayer(host::film_layers::denoised, "RGB");
  denoised->set(film.pixelAt(3, 1), std::array{7.0f, 8.0f, 9.0f}.data());
  film.showDenoised(true);
  expectRow(1);
  film.showDenoised(false);
  expectRow(1);
}

TEST(Film, ClonesShareItAndPartsGetASection) {
  AutoAlloc<BaseBitmap> bitmap, target;
  ASSERT_EQ(bitmap->Init(4, 3), IMAGERESULT_OK);
  const auto film = std::make_shared<Film>(4, 3);
  const float value[4] = {1, 2, 3, 1};
  film->setColor(2, 1, value);
  const float depth = 3;
  film->addLayer("depth", "Z")->set(film->pixelAt(2, 1), &depth);
  host::setFilm(*bitmap, film);
  AutoAlloc<BaseBitmap> clone(bitmap->GetClone());
  EXPECT_EQ(host::filmOf(*clone), film);
  ASSERT_TRUE(bitmap->CopyTo(target));
  EXPECT_EQ(host::filmOf(*target), film);
  AutoAlloc<BaseBitmap> part(bitmap->GetClonePart(2, 1, 2, 2));
  const auto partFilm = host::filmOf(*part);
  ASSERT_TRUE(partFilm);
  float seen[4];
  float partDepth = 0;
  ASSERT_TRUE(partFilm->findLayer("depth"));
  partFilm->findLayer("depth")->get(0, &partDepth);
  EXPECT_EQ(partDepth, 3);
  partFilm->getColor(0, 0, seen);
  EXPECT_EQ(seen[1], 2.0f);
  partFilm->getColor(1, 1, seen);
  EXPECT_EQ(seen[1], 0.0f);
}
