// Colours of picture files by the rules of a colour configuration.
#include "input_colors.h"

#include <cmath>
#include <fstream>

#include "display_transform.h"
#include "picture_fixture.h"

using namespace picture_fixture;
using host::DecodedPicture;
using host::InputColors;

namespace {

constexpr char config[] = R"(ocio_profile_version: 2
roles: {scene_linear: lin_rec709, default: raw}
file_rules:
  - !<Rule> {name: Halves, colorspace: half, pattern: "*_half", extension: "*"}
  - !<Rule> {name: Data, colorspace: raw, regex: ".*data.*"}
  - !<Rule> {name: Codes, colorspace: codes, pattern: "*", extension: "png"}
  - !<Rule> {name: Default, colorspace: default}
displays: {Screen: [!<View> {name: Raw, colorspace: raw}]}
colorspaces:
  - !<ColorSpace> {name: lin_rec709}
  - !<ColorSpace> {name: raw, isdata: true}
  - !<ColorSpace>
    name: half
    from_scene_reference: !<CDLTransform> {slope: [0.5, 0.5, 0.5]}
  - !<ColorSpace>
    name: codes
    to_scene_reference: !<ExponentWithLinearTransform> {gamma: [2.4, 2.4, 2.4, 1], offset: [0.055, 0.055, 0.055, 0]}
)";

std::shared_ptr<const DecodedPicture> twoPixels() {
  auto picture = std::make_shared<DecodedPicture>();
  picture->width = 2, picture->height = 1;
  picture->hasAlpha = true;
  picture->bytes = {51, 0, 102, 128, 51, 51, 51, 255};
  return picture;
}

class Rules {
 public:
  Rules() { std::ofstream(file()) << config; }
  const InputColors* operator()(const std::string& name) const { return host::inputColors(file(), name); }

 private:
  std::string file() const { return folder_.file("rules.ocio").GetString().GetUTF8(); }
  Folder folder_;
};

} // namespace

TEST(InputColors, RulesChooseByTheName) {
  const Rules rules;
  EXPECT_EQ(rules("wood.jpg"), nullptr) << "the default rule alone";
  ASSERT_NE(rules("/a/b/wood_half.jpg"), nullptr);
  EXPECT_EQ(rules("/a/b/wood_half.jpg"), rules("x_half.tif")) << "one for each colour space";
  EXPECT_NE(rules("data.jpg"), rules("x_half.tif"));
  EXPECT_EQ(host::inputColors("/none/config.ocio", "x_half.tif"), nullptr);
}

TEST(InputColors, IntegersBecomeCodesOfSixteenBits) {
  const Rules rules;
  ASSERT_TRUE(rules("wood_half.jpg") && rules("data.jpg"));
  const auto made = rules("wood_half.jpg")->toRec709(twoPixels());
  ASSERT_EQ(made->words.size(), 8U);
  const auto light = [&](std::size_t i) { return host::lightOfWords()[made->words[i]]; };
  EXPECT_NEAR(light(0), 0.4f, 2e-5f); // twice 51 / 255
  EXPECT_EQ(made->words[1], 0);
  EXPECT_NEAR(light(2), 0.8f, 2e-5f);
  EXPECT_EQ(made->words[3], 128 * 257);
  EXPECT_NEAR(light(6), 0.4f, 2e-5f);
  EXPECT_TRUE(made->hasAlpha);
  EXPECT_NEAR(host::lightOfWords()[rules("data.jpg")->toRec709(twoPixels())->words[0]], 0.2f, 2e-5f);
}

TEST(InputColors, LightAboveWhiteBecomesFloats) {
  const Rules rules;
  ASSERT_TRUE(rules("wood_half.jpg"));
  auto bright = std::make_shared<DecodedPicture>(*twoPixels());
  bright->bytes[0] = 255;
  const auto made = rules("wood_half.jpg")->toRec709(bright);
  EXPECT_TRUE(made->words.empty());
  ASSERT_EQ(made->floats.size(), 8U);
  EXPECT_FLOAT_EQ(made->floats[0], 2);
  EXPECT_FLOAT_EQ(made->floats[3], 128 / 255.0f);
  const auto again = rules("wood_half.jpg")->toRec709(made);
  EXPECT_FLOAT_EQ(again->floats[0], 4);
  EXPECT_FLOAT_EQ(again->floats[3], 128 / 255.0f);
}

TEST(InputColors, SrgbStaysAsItIs) {
  const Rules rules;
  const auto picture = twoPixels();
  ASSERT_NE(rules("wood.png"), nullptr);
  EXPECT_EQ(rules("wood.png")->toRec709(picture), picture);
}

TEST(InputColors, EveryCodeOfSixteenBitsComesBack) {
  for (int code = 0; code < 65536; ++code)
    ASSERT_EQ(host::toDisplayWord(host::lightOfWords()[static_cast<std::size_t>(code)]), code);
  EXPECT_EQ(host::toDisplayWord(NAN), 0);
  EXPECT_EQ(host::toDisplayWord(-1), 0);
  EXPECT_EQ(host::toDisplayWord(7), 65535);
}
