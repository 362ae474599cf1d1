// Views: linear light to the codes of a display.
#include <cmath>
#include <fstream>
#include <limits>
#include <random>

#include "color_library.h"
#include "display_transform.h"
#include "film.h"
#include "picture_fixture.h"
#include "view_curves.h"
#include "view_transform.h"
#include "viewed_bitmap.h"

using namespace picture_fixture;
using host::ViewSettings;
using host::ViewTransform;

namespace {

using Codes = std::array<int, 3>;
constexpr float infinity = std::numeric_limits<float>::infinity();

Codes show(const ViewTransform& view, float r, float g, float b) {
  const float rgb[3] = {r, g, b};
  unsigned char codes[3];
  view.show(rgb, codes, 1);
  return {codes[0], codes[1], codes[2]};
}

Codes show(const ViewSettings& settings, float r, float g, float b) {
  return show(ViewTransform(settings), r, g, b);
}

int grey(const ViewSettings& settings, float light) {
  return show(settings, light, light, light)[0];
}

/// Colours spread over the stops from 2^-9 to 2^5, some channels black.
std::vector<float> someColors(std::size_t pixels) {
  std::mt19937 random(5);
  std::uniform_real_distribution<float> stops(-9, 5), part(0, 1);
  std::vector<float> rgb(3 * pixels);
  for (std::size_t i = 0; i < rgb.size(); i += 3) {
    const float light = std::exp2(stops(random));
    for (std::size_t c = i; c < i + 3; ++c)
      rgb[c] = part(random) < 0.1f ? 0 : light * part(random);
  }
  return rgb;
}

/// The difference in codes between a view and the exact function that 999 of 1000 values keep to: a cell of a
/// table where a channel reaches black is further off.
template <class Function>
int worstCode(const char* view, Function exact) {
  const ViewTransform shown({view});
  const std::vector<float> colors = someColors(3000);
  std::vector<float> display = colors;
  exact(display.data(), display.size() / 3);
  std::vector<int> differences;
  for (std::size_t i = 0; i < colors.size(); i += 3) {
    const Codes codes = show(shown, colors[i], colors[i + 1], colors[i + 2]);
    for (std::size_t c = 0; c < 3; ++c) {
      const long code = std::lround(std::clamp(display[i + c], 0.0f, 1.0f) * 255);
      differences.push_back(static_cast<int>(std::abs(code - codes[c])));
    }
  }
  std::sort(differences.begin(), differences.end());
  return differences[differences.size() - differences.size() / 1000 - 1];
}

} // namespace

TEST(View, PlainSettingsGiveTheDisplayTransform) {
  const ViewTransform plain;
  EXPECT_TRUE(plain.settings().isPlain());
  for (int i = -10; i < 4000; ++i) {
    const float light = static_cast<float>(i) / 3000;
    ASSERT_EQ(show(plain, light, 0, 1), (Codes{host::toDisplay(light), 0, 255})) << light;
  }
}

TEST(View, AStopDoublesTheLight) {
  for (const float light : {0.0f, 0.01f, 0.2f, 0.4f, 0.6f, 30.0f}) {
    EXPECT_EQ(grey({"sRGB", 1}, light), host::toDisplay(2 * light));
    EXPECT_EQ(grey({"sRGB", -2}, light), host::toDisplay(light / 4));
  }
  EXPECT_EQ(grey({"Raw", 1}, 0.25f), 128);
}

TEST(View, CurvesAreThoseOfTheirStandards) {
  EXPECT_EQ(grey({"Raw"}, 0.2f), 51);
  EXPECT_EQ(grey({"Raw"}, 1), 255);
  EXPECT_EQ(grey({"Rec.709"}, 0.18f), 125);                   // 255 * 0.18^(1 / 2.4) = 124.84
  EXPECT_EQ(grey({"sRGB", 0, 2}, 1.0f), 255);                 // gamma
  EXPECT_EQ(grey({"Raw", 0, 2}, 0.25f), 128);                 // 255 * sqrt(0.25) = 127.5
  EXPECT_EQ(grey({"Raw", 0, 0.5}, 0.5f), 64);                 // 255 * 0.5^2 = 63.75
  EXPECT_EQ(grey({"Filmic"}, 5.6f), 255);                     // its white, 11.2, at an exposure of 2
  EXPECT_LT(grey({"Filmic"}, 1.0f), 240);                     // keeps room above 1
  EXPECT_EQ(grey({"Neutral"}, 0.5f), host::toDisplay(0.46f)); // the base is lowered by 0.04
  EXPECT_LT(grey({"Neutral"}, 4.0f), 255);
}

TEST(View, AcesIsTheLibrarysOutputTransform) {
  EXPECT_EQ(grey({"ACES SDR"}, 0.18f), 91); // 0.355954 * 255 = 90.77
  EXPECT_EQ(grey({"ACES SDR"}, 1.0f), 207); // 0.811971
  const std::unique_ptr<host::ColorProcessor> exact = host::colorLibrary().acesSdr();
  EXPECT_TRUE(exact->mixesChannels());
  EXPECT_LE(worstCode("ACES SDR", [&](float* rgb, std::size_t n) { exact->apply(rgb, n); }), 1);
}

TEST(View, TablesAreWithinACodeOfTheirFunctions) {
  EXPECT_LE(worstCode("Filmic", host::showFilmic), 1);
  EXPECT_LE(worstCode("Rec.709", host::showRec709), 1);
  const auto neutral = [](float* rgb, std::size_t pixels) {
    host::toneNeutral(rgb, pixels);
    host::showSrgb(rgb, pixels);
  };
  EXPECT_LE(worstCode("Neutral", neutral), 1);
  EXPECT_LE(worstCode("False Colour", host::showFalseColor), 1);
}

TEST(View, FalseColoursTellStops) {
  const ViewSettings falseColor{"False Colour"};
  EXPECT_EQ(show(falseColor, 0.18f, 0.18f, 0.18f), (Codes{0, 179, 0}));
  EXPECT_EQ(show(falseColor, 1.01f, 1.01f, 1.01f), (Codes{242, 0, 0}));
  EXPECT_EQ(show(falseColor, 0.99f, 0.99f, 0.99f), (Codes{242, 128, 0}));
  EXPECT_EQ(show(falseColor, 0, 0, 0), (Codes{77, 0, 115}));
}

TEST(View, WhiteBalanceMakesALightWhite) {
  EXPECT_EQ(host::whiteBalance(6500), (std::array<float, 3>{1, 1, 1}));
  const std::array<float, 3> warm = host::whiteBalance(3200), cool = host::whiteBalance(10000);
  EXPECT_LT(warm[0], 1);
  EXPECT_GT(warm[2], 1.5f);
  EXPECT_GT(cool[0], 1);
  EXPECT_LT(cool[2], 1);
  for (const auto& gain : {warm, cool})
    EXPECT_NEAR(0.2126390 * gain[0] + 0.7151687 * gain[1] + 0.0721923 * gain[2], 1, 1e-5);
  // Black bodies of 3200 K and 6500 K: x, y of Planck's law.
  const auto ratio = [](double x, double y) {
    const double bigX = x / y, bigZ = (1 - x - y) / y;
    return (3.2409699 * bigX - 1.5373832 - 0.4986108 * bigZ) /
           (-0.9692436 * bigX + 1.8759675 + 0.0415551 * bigZ);
  };
  EXPECT_NEAR(warm[0] / warm[1], ratio(0.3135, 0.3237) / ratio(0.4234, 0.3990), 0.01);
}

TEST(View, OddLightAndOddSettingsAreHarmless) {
  for (const char* name : {"sRGB", "Rec.709", "ACES SDR", "Filmic", "Neutral", "Raw", "False Colour"}) {
    const ViewTransform view({name, 1, 1.5, 4000});
    EXPECT_EQ(show(view, std::nanf(""), -1, -infinity), show(view, 0, 0, 0)) << name;
    EXPECT_GE(show(view, infinity, infinity, infinity)[0], 240) << name;
    show(view, infinity, 0, std::nanf(""));
  }
  const ViewSettings odd = host::withinRange({"", 1e9, -3, std::nan("")});
  EXPECT_EQ(odd, (ViewSettings{"sRGB", 20, 0.1, 6500}));
  EXPECT_EQ(grey({"no such view"}, 0.2f), host::toDisplay(0.2f));
}

// ---- Configurations

namespace {

void write(const Filename& file, const std::string& text) {
  std::ofstream(file.GetString().GetUTF8()) << text;
}

constexpr char config[] = R"(ocio_profile_version: 2
roles:
  scene_linear: lin_rec709
  default: raw
displays:
  Screen:
    - !<View> {name: Half, colorspace: half}
    - !<View> {name: Swapped, colorspace: swapped}
active_displays: []
active_views: []
colorspaces:
  - !<ColorSpace>
    name: raw
    isdata: true
  - !<ColorSpace>
    name: lin_rec709
  - !<ColorSpace>
    name: half
    from_scene_reference: !<CDLTransform> {slope: [0.5, 0.5, 0.5]}
  - !<ColorSpace>
    name: swapped
    from_scene_reference: !<MatrixTransform> {matrix: [0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]}
)";

} // namespace

TEST(View, AConfigurationHasItsViews) {
  const Folder folder;
  const Filename file = folder.file("config.ocio");
  write(file, config);
  const std::unique_ptr<host::ColorConfig> loaded = host::colorLibrary().load(file.GetString().GetUTF8());
  EXPECT_EQ(loaded->views(), (std::vector<std::string>{"Screen - Half", "Screen - Swapped"}));
  const auto half = loaded->processor("Screen - Half"), swapped = loaded->processor("Screen - Swapped");
  EXPECT_FALSE(half->mixesChannels());
  EXPECT_TRUE(swapped->mixesChannels());
  float rgb[] = {0.5f, 0.25f, 1};
  half->apply(rgb, 1);
  EXPECT_NEAR(rgb[0], 0.25f, 1e-6);
  swapped->apply(rgb, 1);
  EXPECT_NEAR(rgb[0], 0.125f, 1e-6);
  EXPECT_THROW(loaded->processor("Screen - None"), host::ColorError);
}

TEST(View, ADamagedConfigurationNamesItsLine) {
  const Folder folder;
  const Filename file = folder.file("config.ocio");
  std::string text = config;
  write(file, text.insert(text.find("    - !<View> {name: Half") + 20, "["));
  try {
    host::colorLibrary().load(file.GetString().GetUTF8());
    FAIL();
  } catch (const host::ColorError& error) {
    EXPECT_NE(std::string(error.what()).find("line 7"), std::string::npos) << error.what();
  }
  EXPECT_THROW(host::colorLibrary().load(folder.file("none.ocio").GetString().GetUTF8()), host::ColorError);
}

// ---- Bitmaps

TEST(View, ACopyShowsTheFilmAndKeepsWhatWasDrawn) {
  AutoAlloc<BaseBitmap> bitmap, copy;
  ASSERT_EQ(bitmap->Init(3, 1, 32), IMAGERESULT_OK);
  const auto film = std::make_shared<host::Film>(3, 1);
  const float half[4] = {0.25f, 0.25f, 0.25f, 0.5f};
  for (int x = 0; x < 3; ++x) {
    film->setColor(x, 0, half);
    const LONG code = host::toDisplay(0.25f);
    bitmap->SetPixel(x, 0, code, code, code);
    bitmap->SetAlpha(x, 0, 128);
  }
  host::setFilm(*bitmap, film);
  bitmap->SetPixel(1, 0, 9, 8, 7); // a stamp
  const auto pixel = [&](LONG x) {
    UWORD r, g, b;
    copy->GetPixel(x, 0, &r, &g, &b);
    return Codes{r, g, b};
  };
  const ViewTransform raw({"Raw", 1});
  ASSERT_TRUE(host::viewedCopy(*bitmap, raw, false, *copy));
  EXPECT_EQ(pixel(0), (Codes{128, 128, 128}));
  EXPECT_EQ(pixel(1), (Codes{9, 8, 7}));
  EXPECT_EQ(copy->GetAlpha(2, 0), 128);
  EXPECT_EQ(host::filmOf(*copy), nullptr);
  ASSERT_TRUE(host::viewedCopy(*bitmap, raw, true, *copy)); // not multiplied by the coverage
  EXPECT_EQ(pixel(0), (Codes{255, 255, 255}));
  host::ViewedRows rows(*bitmap);
  rows.keepLight();
  film->setColor(0, 0, std::array<float, 4>{1, 1, 1, 1}.data()); // later than the light that was kept
  unsigned char row[9];
  rows.read(raw, 0, row);
  EXPECT_EQ((Codes{row[0], row[3], row[6]}), (Codes{128, 9, 128}));
  const host::ViewedRows plain(*bitmap);
  plain.read(ViewTransform(), 0, row); // the view that the bitmap shows: its own codes
  const unsigned char quarter = host::toDisplay(0.25f);
  EXPECT_EQ((Codes{row[0], row[3], row[6]}), (Codes{quarter, 9, quarter}));
  host::setFilm(*bitmap, nullptr);
  ASSERT_TRUE(host::viewedCopy(*bitmap, raw, false, *copy));
  EXPECT_EQ(pixel(0)[0], host::toDisplay(0.25f)) << "without a film nothing changes";
}
