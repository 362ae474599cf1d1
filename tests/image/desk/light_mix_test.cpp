// The mix of a film's light groups, with exact values.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "desk_look.h"
#include "light_mix.h"

using namespace host;

namespace {

class Mix : public testing::Test {
 protected:
  Mix() {
    light("key", {1, 0.5f, 0.25f});
    light("rim", {0.125f, 0.25f, 2});
    light("sky", {0.0625f, 0, 0.5f});
    const float beauty[4] = {1.1875f, 0.75f, 2.75f, 1};
    film.setColor(1, 1, beauty);
  }
  void light(const std::string& group, LightGain value) {
    film.addLayer("lightgroup_" + group, "RGB")->set(film.pixelAt(1, 1), value.data());
  }
  LightGain mixed(const LightMix& mix) {
    float shown[4];
    film.getShown(1, 1, shown);
    float row[6] = {0, 0, 0, shown[0], shown[1], shown[2]};
    LightMixer(film, mix).mixRow(1, row);
    return {row[3], row[4], row[5]};
  }

  Film film{2, 2};
};

LightFader fader(const char* group, double stops) {
  LightFader made;
  made.group = group;
  made.stops = stops;
  return made;
}

} // namespace

TEST_F(Mix, GroupsComeInTheFilmsOrder) {
  film.addLayer("albedo", "RGB");
  film.addLayer("lightgroup_odd", "V");
  EXPECT_EQ(lightGroupsOf(film), (std::vector<std::string>{"key", "rim", "sky"}));
}

TEST_F(Mix, IsTheSumOfGainTimesColourTimesLayer) {
  LightMix mix{{fader("key", 1), fader("rim", -2)}};
  mix.faders[1].color = {1, 0.5f, 0};
  EXPECT_EQ(gainOf(mix, "key"), (LightGain{2, 2, 2}));
  EXPECT_EQ(gainOf(mix, "rim"), (LightGain{0.25f, 0.125f, 0}));
  EXPECT_EQ(gainOf(mix, "sky"), (LightGain{1, 1, 1})) << "without a fader";
  EXPECT_EQ(mixed(mix), (LightGain{2 + 0.03125f + 0.0625f, 1 + 0.03125f, 0.5f + 0.5f}));
}

TEST_F(Mix, ANeutralMixIsWhatTheFilmShows) {
  const LightMix none, all{{fader("key", 0), fader("rim", 0), fader("sky", 0), fader("gone", 0)}};
  EXPECT_TRUE(none.isNeutral());
  EXPECT_TRUE(all.isNeutral());
  EXPECT_FALSE(LightMixer(film, all).changes());
  EXPECT_EQ(mixed(all), (LightGain{1.1875f, 0.75f, 2.75f}));
  EXPECT_FALSE((LightMix{{fader("key", 0.1)}}).isNeutral());
}

TEST_F(Mix, MuteAndSolo) {
  LightMix mix{{fader("key", 0), fader("rim", 1), fader("sky", 0)}};
  mix.faders[0].mute = true;
  EXPECT_EQ(mixed(mix), (LightGain{0.25f + 0.0625f, 0.5f, 4.5f}));
  mix.faders[1].solo = true;
  EXPECT_EQ(mixed(mix), (LightGain{0.25f, 0.5f, 4}));
  mix.faders[1].mute = true;
  EXPECT_EQ(mixed(mix), (LightGain{0.0625f, 0, 0.5f})) << "a muted group's solo does not count";
  mix.faders[2].mute = true;
  EXPECT_EQ(mixed(mix), (LightGain{0, 0, 0}));
}

TEST_F(Mix, NumbersOutOfRangeAreBroughtIn) {
  LightMix mix{{fader("key", std::nan("")), fader("rim", 1e9)}};
  mix.faders[0].color = {-1, std::nanf(""), 3};
  EXPECT_EQ(gainOf(mix, "key"), (LightGain{0, 1, 3}));
  EXPECT_EQ(gainOf(mix, "rim")[0], 1048576) << "20 stops";
}

TEST_F(Mix, DenoisedColourIsMultipliedByTheRatio) {
  const float clean[3] = {1, 0.5f, 3};
  film.addLayer(film_layers::denoised, "RGB")->set(film.pixelAt(1, 1), clean);
  LightMix mix{{fader("key", 1)}};
  const LightGain m = mixed(mix);
  EXPECT_FLOAT_EQ(m[0], 2.1875f / 1.1875f);
  EXPECT_FLOAT_EQ(m[1], 0.5f * 1.25f / 0.75f);
  EXPECT_FLOAT_EQ(m[2], 3 * 3 / 2.75f);
  film.showDenoised(false);
  EXPECT_EQ(mixed(mix), (LightGain{2.1875f, 1.25f, 3}));
}

TEST_F(Mix, TheRatioStaysWithinTheFactors) {
  const float clean[3] = {1, 1, 1}, odd[4] = {0, 1e-6f, std::nanf(""), 1};
  film.addLayer(film_layers::denoised, "RGB")->set(film.pixelAt(1, 1), clean);
  film.setColor(1, 1, odd);
  EXPECT_EQ(mixed({{fader("key", 1), fader("rim", -1)}}), (LightGain{1.25f, 2, 1.25f}))
      << "no light: the mean of 2 and 0.5; a sum that is far too large: the largest factor";
}

TEST_F(Mix, BrokenLayersStayInTheirPixel) {
  light("rim", {std::nanf(""), std::numeric_limits<float>::infinity(), 1});
  const LightGain m = mixed({{fader("key", 1)}});
  EXPECT_TRUE(std::isnan(m[0]));
  EXPECT_TRUE(std::isinf(m[1]));
  LightMix muted{{fader("rim", 0)}};
  muted.faders[0].mute = true;
  EXPECT_EQ(mixed(muted), (LightGain{1.0625f, 0.5f, 0.75f}));
}

TEST_F(Mix, FilmsWithoutGroupsStayAsTheyAre) {
  Film plain(2, 2);
  std::vector<float> light{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  const std::vector<float> before = light;
  applyDesk({{{fader("key", 3)}}, {}}, plain, light);
  EXPECT_EQ(light, before);
}
