// Made skies: the sun's place, the light of each model, and their edits.
#include "made_sky.h"

#include <cmath>
#include <limits>
#include <set>

#include "light_source.h"
#include "picture_decode.h"
#include "scene_file.h"
#include "session_fixture.h"
#include "sky_edits.h"
#include "snapshot.h"

namespace {

using namespace host;

constexpr double nan = std::numeric_limits<double>::quiet_NaN(),
                 endless = std::numeric_limits<double>::infinity();

// The worked example of Reda and Andreas 2004, "Solar position algorithm for solar radiation applications".
TEST(SunPosition, AgreesWithAPublishedExample) {
  const SunPlace place = sunPlaceAt({39.742476, -105.1786, 2003, 10, 17, 12 + 30 / 60.0 + 30 / 3600.0, -7});
  EXPECT_NEAR(place.elevation, 39.872, 0.03);
  EXPECT_NEAR(place.azimuth, 194.34, 0.03);
}

TEST(SunPosition, SeasonsAndHours) {
  // Half the year apart, the noon sun stands twice the axis's tilt higher.
  const double summer = sunPlaceAt({50, 0, 2026, 6, 21, 12, 0}).elevation;
  const double winter = sunPlaceAt({50, 0, 2026, 12, 21, 12, 0}).elevation;
  EXPECT_NEAR(summer, 90 - 50 + 23.44, 0.15);
  EXPECT_NEAR(winter, 90 - 50 - 23.44, 0.15);
  EXPECT_NEAR(sunPlaceAt({50, 0, 2026, 3, 20, 6, 0}).azimuth, 90, 3) << "rises in the east";
  EXPECT_GT(sunPlaceAt({50, 0, 2026, 6, 21, 18, 0}).azimuth, 250) << "sets in the west";
  EXPECT_LT(sunPlaceAt({50, 0, 2026, 6, 21, 0, 0}).elevation, 0);
  const double south = sunPlaceAt({-35, 0, 2026, 12, 21, 12, 0}).azimuth;
  EXPECT_LT(std::min(south, 360 - south), 5) << "north in the southern summer";
}

TEST(SunPosition, OddNumbersAreBroughtIn) {
  for (const SunTime& odd :
       {SunTime{nan, endless, -5, 99, 99, nan, nan}, SunTime{1e300, -1e300, 1 << 30, -7, 0, -4, 99}}) {
    const SunPlace place = sunPlaceAt(odd);
    EXPECT_TRUE(std::isfinite(place.elevation) && std::isfinite(place.azimuth));
    EXPECT_LE(std::abs(place.elevation), 90);
    EXPECT_GE(place.azimuth, 0);
    EXPECT_LT(place.azimuth, 360);
  }
}

Vector at(const MadeSky& sky, int column, int row) {
  const float* c = &sky.rgb[static_cast<std::size_t>(row * sky.width + column) * 3];
  return {static_cast<Real>(c[0]), static_cast<Real>(c[1]), static_cast<Real>(c[2])};
}

double luminance(const Vector& c) {
  return 0.2126390 * c.x + 0.7151687 * c.y + 0.0721923 * c.z;
}

// On a level surface, by adding up the picture and the sun.
double levelLight(const MadeSky& sky) {
  double sum = 0;
  for (int row = 0; row < sky.height / 2; ++row) {
    const double theta = (row + 0.5) * M_PI / sky.height;
    for (int column = 0; column < sky.width; ++column)
      sum += luminance(at(sky, column, row)) * std::sin(theta) * std::cos(theta) * (M_PI / sky.height) *
             (2 * M_PI / sky.width);
  }
  return sum + (sky.hasSun ? sky.sunLux * sky.toSun.y * luminance(sky.sunColor) : 0);
}

TEST(MadeSky, EveryPresetIsExposedFiniteAndTheSameAgain) {
  std::set<std::string> names;
  EXPECT_GE(skyPresets().size(), 12u);
  for (const SkyPreset& preset : skyPresets()) {
    SCOPED_TRACE(preset.name);
    EXPECT_TRUE(names.insert(preset.name).second) << "twice";
    const MadeSky sky = makeSky(preset.recipe, 64);
    ASSERT_EQ(sky.width, 128);
    ASSERT_EQ(sky.height, 64);
    for (const float value : sky.rgb) {
      ASSERT_TRUE(std::isfinite(value));
      ASSERT_GE(value, 0);
      ASSERT_LT(value, 65000) << "fits into a half float";
    }
    EXPECT_NEAR(levelLight(sky), levelIrradiance, 0.01 * levelIrradiance);
    EXPECT_EQ(makeSky(preset.recipe, 64).rgb, sky.rgb);
    EXPECT_EQ(sky.hasSun, preset.recipe.model == SkyModel::daylight);
  }
}

TEST(MadeSky, DaylightIsBlueAboveBrightAroundTheSunAndRedAtDusk) {
  SkyRecipe recipe;
  recipe.turbidity = 2.5;
  const MadeSky noon = makeSky(recipe, 128);
  const Vector zenith = at(noon, 64, 2);
  EXPECT_GT(zenith.z, 1.3 * zenith.x);
  const SunPlace place = sunPlaceAt(recipe.time);
  const auto columnOf = [&](double azimuth) {
    return static_cast<int>((azimuth / 360 + 0.5 - std::floor(azimuth / 360 + 0.5)) * noon.width);
  };
  const int row = static_cast<int>((90 - place.elevation) / 180 * noon.height);
  EXPECT_GT(luminance(at(noon, columnOf(place.azimuth), row)),
            3 * luminance(at(noon, columnOf(place.azimuth + 180), row)));
  EXPECT_NEAR(std::asin(noon.toSun.y) * 180 / M_PI, place.elevation, 1e-6);
  EXPECT_NEAR(noon.toSun.x, std::sin(place.azimuth * M_PI / 180) * std::cos(place.elevation * M_PI / 180),
              1e-9);
  SkyRecipe dusk = recipe;
  dusk.time.hour = 19.5;
  const MadeSky evening = makeSky(dusk, 64);
  ASSERT_TRUE(evening.hasSun);
  EXPECT_GT(evening.sunColor.x / evening.sunColor.z, 2 * noon.sunColor.x / noon.sunColor.z);
  EXPECT_NEAR(luminance(evening.sunColor), 1, 1e-9);
  dusk.time.hour = 23;
  EXPECT_FALSE(makeSky(dusk, 64).hasSun) << "below the horizon";
  // Haze takes light from the sun and gives it to the sky.
  SkyRecipe haze = recipe;
  haze.turbidity = 9;
  EXPECT_LT(makeSky(haze, 64).sunLux, noon.sunLux);
}

TEST(MadeSky, AnOvercastZenithIsThreeTimesTheHorizon) {
  SkyRecipe recipe;
  recipe.model = SkyModel::overcast;
  const MadeSky sky = makeSky(recipe, 512);
  EXPECT_NEAR(luminance(at(sky, 0, 0)) / luminance(at(sky, 0, 255)), 3, 0.05);
  EXPECT_FALSE(sky.hasSun);
  EXPECT_LT(luminance(at(sky, 0, 500)), luminance(at(sky, 0, 255))) << "a grey ground";
}

TEST(MadeSky, OddRecipesAreBroughtIn) {
  SkyRecipe odd;
  odd.turbidity = nan;
  odd.time = {nan, nan, 0, 0, 0, nan, nan};
  for (const SkyModel model : {SkyModel::daylight, SkyModel::overcast, SkyModel::studio}) {
    odd.model = model;
    for (const int studio : {-5, 0, 1 << 30}) {
      odd.studio = studio;
      for (const float value : makeSky(odd, -3).rgb)
        ASSERT_TRUE(std::isfinite(value) && value >= 0);
    }
  }
  EXPECT_EQ(makeSky(odd, 1 << 30).height, 2048);
}

TEST(MadeSky, ItsPictureHoldsTheLight) {
  const MadeSky sky = makeSky(skyPresets()[0].recipe, 32);
  const PicturePtr picture = pictureOf(sky, "noon");
  ASSERT_TRUE(picture->bytes);
  std::string error;
  const auto read = decodePicture(*picture->bytes, "noon", &error);
  ASSERT_TRUE(read) << error;
  const DecodedPicture& decoded = *read;
  ASSERT_EQ(decoded.width, 64);
  ASSERT_EQ(decoded.floats.size(), 64u * 32 * 4);
  for (std::size_t i = 0; i < 64 * 32; ++i)
    for (std::size_t part = 0; part < 3; ++part)
      EXPECT_NEAR(decoded.floats[4 * i + part], sky.rgb[3 * i + part], 1e-3f * sky.rgb[3 * i + part] + 1e-6f);
}

class SkyEditsTest : public SessionFixture {
 protected:
  SkyEditsTest() { openScene(); }
  void apply(const SkyRecipe& recipe) {
    session->skyMaker().apply(recipe, "test", [this](const std::string& error) { answer = error; });
    session->skyMaker().finish();
  }
  std::size_t suns() {
    std::size_t count = 0;
    forEachObject(state().children, [&count](const ObjectState& object) {
      count += object.type == Olight && param::flag(object, param::lightOfSky);
    });
    return count;
  }
  std::string answer = "none";
};

TEST_F(SkyEditsTest, OneStepMakesSkyAndSun) {
  const DocumentPtr before = copy();
  SkyRecipe recipe;
  recipe.time.hour = 9;
  apply(recipe);
  EXPECT_EQ(answer, "");
  EXPECT_EQ(edits().stepCount(), 1u);
  EXPECT_EQ(suns(), 1u);
  EXPECT_EQ(skyRecipeOf(document()), recipe);
  const SnapshotPtr snapshot = takeSnapshot(document(), {});
  EXPECT_EQ(snapshot->sky.kind, SkyKind::picture);
  const MadeSky sky = makeSky(recipe, 512);
  bool found = false;
  for (const SnapshotLight& light : snapshot->lights) {
    if (light.kind != LightKind::distant) continue;
    found = true;
    EXPECT_NEAR(light.toWorld.v3.x, sky.toSun.x, 1e-6);
    EXPECT_NEAR(light.toWorld.v3.y, sky.toSun.y, 1e-6);
    EXPECT_NEAR(static_cast<double>(light.intensity[1]), sky.sunLux * sky.sunColor.y, 1e-4);
    EXPECT_NEAR(light.radius, 0.00465f, 1e-6f);
  }
  EXPECT_TRUE(found);
  edits().undo();
  expectEqual(before, "after undo");
}

TEST_F(SkyEditsTest, AnotherSkyTakesTheSunAlong) {
  apply(SkyRecipe());
  const std::size_t objects = objectRows(document()).size();
  SkyRecipe evening;
  evening.time.hour = 19;
  apply(evening);
  EXPECT_EQ(suns(), 1u) << "the same one, turned";
  EXPECT_EQ(objectRows(document()).size(), objects);
  SkyRecipe studio;
  studio.model = SkyModel::studio, studio.studio = 2;
  apply(studio);
  EXPECT_EQ(suns(), 0u);
  EXPECT_EQ(skyRecipeOf(document()), studio);
  const std::vector<std::byte> file = saveDocumentToMemory(document(), true);
  const DocumentPtr again = std::move(loadDocumentFromMemory(file, {}).document);
  ASSERT_TRUE(again);
  EXPECT_EQ(skyRecipeOf(*again), studio) << "kept in the file";
  std::string difference;
  EXPECT_TRUE(documentsEqual(document(), *again, &difference)) << difference;
}

TEST_F(SkyEditsTest, TheNewestOfSeveralOrdersCounts) {
  SkyRecipe studio;
  studio.model = SkyModel::studio;
  session->skyMaker().apply(SkyRecipe(), "first");
  session->skyMaker().apply(SkyRecipe(), "second");
  session->skyMaker().apply(studio, "third");
  session->skyMaker().finish();
  EXPECT_EQ(skyRecipeOf(document()), studio);
  EXPECT_EQ(edits().stepCount(), 1u);
}

TEST_F(SkyEditsTest, AUsersSkyIsNoRecipe) {
  EXPECT_FALSE(skyRecipeOf(document()));
  apply(SkyRecipe());
  edits().apply("Kind", [](BaseDocument& in) {
    forEachObject(stateOf(&in)->children, [](ObjectState& object) {
      if (object.type == Osky) object.data.SetLong(param::skyKind, 1);
    });
  });
  EXPECT_FALSE(skyRecipeOf(document()));
}

} // namespace
