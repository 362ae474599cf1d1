// Textures by themselves.
#include "texture.h"

#include <gtest/gtest.h>

#include <set>

#include "display_transform.h"
#include "scene_kit.h"
#include "temporary_folder.h"

using namespace host;
using namespace host::render;

namespace {

DecodedPicture ramp() {
  DecodedPicture picture;
  picture.width = 4, picture.height = 2;
  for (int i = 0; i < 8; ++i)
    for (const int value : {20000 + i, 30000, 40000 - i, 65535})
      picture.words.push_back(static_cast<std::uint16_t>(value));
  return picture;
}

TEST(Texture, HeightsKeepSixteenBits) {
  const Texture texture(ramp(), ColorSpace::data);
  for (int i = 0; i < 8; ++i) {
    const Rgba v = texture.texel(0, i % 4, i / 4);
    EXPECT_FLOAT_EQ(v.r, static_cast<float>(20000 + i) / 65535);
    EXPECT_FLOAT_EQ(v.b, static_cast<float>(40000 - i) / 65535);
    EXPECT_EQ(v.a, 1);
  }
  EXPECT_FLOAT_EQ(texture.texel(1, 0, 0).r, 20003.0f / 65535) << "20002.5, rounded";
  EXPECT_EQ(texture.levelWords(0).size(), 32U);
  EXPECT_TRUE(texture.levelBytes(0).empty());
  EXPECT_GE(texture.bytes(), 32 * sizeof(std::uint16_t));
}

TEST(Texture, ColoursKeepSixteenBits) {
  const Texture texture(ramp(), ColorSpace::srgb);
  const auto light = [](int code) { return static_cast<float>(srgbToLinear(code / 65535.0)); };
  for (int i = 0; i < 8; ++i) {
    const Rgba v = texture.texel(0, i % 4, i / 4);
    EXPECT_FLOAT_EQ(v.r, light(20000 + i));
    EXPECT_FLOAT_EQ(v.b, light(40000 - i));
    EXPECT_EQ(v.a, 1);
  }
  EXPECT_NEAR(texture.texel(1, 0, 0).r, light(20002), light(20003) - light(20002)) << "the mean light";
  EXPECT_EQ(texture.levelWords(0).size(), 32U);
  EXPECT_TRUE(texture.levelBytes(0).empty());
}

/// A picture file with 16 bits a channel; grey.
PicturePtr wordPicture(int width, const std::function<int(int)>& grey) {
  const std::string head = "P6\n" + std::to_string(width) + " 1\n65535\n";
  auto bytes = std::make_shared<std::vector<std::byte>>();
  for (const char c : head)
    bytes->push_back(static_cast<std::byte>(c));
  for (int x = 0; x < width; ++x)
    for (int channel = 0; channel < 3; ++channel) {
      bytes->push_back(static_cast<std::byte>(grey(x) >> 8));
      bytes->push_back(static_cast<std::byte>(grey(x) & 255));
    }
  auto picture = std::make_shared<Picture>();
  picture->name = "ramp.ppm";
  picture->bytes = bytes;
  return picture;
}

TEST(Texture, ASmoothRampOfSixteenBitsIsSmoothInARender) {
  constexpr int width = 600;
  kit::Scene scene;
  scene.materials[0]->unlit = true;
  auto shade = std::make_shared<Shade>(*kit::bitmapShade(wordPicture(width, [](int x) { return 100 * x; })));
  shade->texture.nearest = true;
  scene.materials[0]->baseColorShade = shade;
  scene.add(kit::quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 2.0f / width);
  RenderSettings settings = kit::settings(width, 2, 1);
  settings.antiAliasing = AntiAliasing::none;
  const kit::Result result = kit::draw(scene, width, 2, settings);
  std::set<float> levels;
  for (int x = 0; x < width; ++x)
    levels.insert(result.at(x, 0).x);
  EXPECT_GT(levels.size(), 500U) << "8 bits have 256";
}

// Single texels have the filter's value in the mean, at every size.
TEST(Texture, SingleTexelsAverageToTheFilter) {
  DecodedPicture picture;
  picture.width = 16, picture.height = 8;
  std::uint32_t random = 1;
  for (int i = 0; i < 16 * 8 * 4; ++i)
    picture.words.push_back(static_cast<std::uint16_t>((random = random * 1664525u + 1013904223u) >> 16));
  const Texture texture(picture, ColorSpace::data);
  constexpr int side = 32;
  for (const Vec2 uv : {Vec2(0.31f, 0.62f), Vec2(0.99f, 0.02f), Vec2(-3.4f, 7.7f)})
    for (const float footprint : {0.0f, 0.2f, 0.33f, 4.0f}) {
      const Rgba wanted = texture.sample(uv, footprint, Wrap::repeat, Wrap::mirror);
      double sum = 0;
      for (int i = 0; i < side * side * side; ++i) {
        const auto place = [](int k) { return (static_cast<float>(k % side) + 0.5f) / side; };
        const Vec3 jitter{place(i), place(i / side), place(i / side / side)};
        sum += static_cast<double>(
            texture.sampleOne(uv, footprint, Wrap::repeat, Wrap::mirror, jitter, false).g);
      }
      EXPECT_NEAR(sum / (side * side * side), static_cast<double>(wanted.g), 0.03) << footprint;
    }
  // Pictures seen from near keep the filter where it is asked for.
  EXPECT_EQ(texture.sampleOne({0.3f, 0.3f}, 0, Wrap::repeat, Wrap::repeat, {0.9f, 0.9f, 0}, true).g,
            texture.sample({0.3f, 0.3f}, 0, Wrap::repeat, Wrap::repeat).g);
}

// ---- Colour spaces by the rules of a configuration

constexpr char config[] = R"(ocio_profile_version: 2
roles: {scene_linear: lin_rec709, default: swapped}
file_rules:
  - !<Rule> {name: Swapped, colorspace: swapped, pattern: "*_sw", extension: "*"}
  - !<Rule> {name: Default, colorspace: default}
displays: {Screen: [!<View> {name: Raw, colorspace: lin_rec709}]}
colorspaces:
  - !<ColorSpace> {name: lin_rec709}
  - !<ColorSpace>
    name: swapped
    to_scene_reference: !<MatrixTransform> {matrix: [0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]}
)";

/// The colour of a wall with a red picture of this name.
Vec3 wallWith(const std::string& name, const std::string& configFile) {
  kit::Scene scene;
  scene.materials[0]->unlit = true;
  auto picture = std::make_shared<Picture>(*kit::picture(2, 2, [](int, int) {
    return std::array<int, 4>{255, 51, 0, 255};
  }));
  picture->name = name;
  scene.materials[0]->baseColorShade = kit::bitmapShade(picture);
  scene.add(kit::quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}));
  scene.lookAt({0, 0, 5}, {0, 0, 0}, true, 0.5f);
  RenderSettings settings = kit::settings(4, 4, 1);
  settings.view.config = configFile;
  return kit::draw(scene, 4, 4, settings).at(1, 1);
}

TEST(Texture, ColoursFollowTheRulesOfAConfiguration) {
  const TemporaryFolder folder;
  const std::string file = folder.write("config.ocio", config).GetString().GetUTF8();
  const Vec3 plain = wallWith("wall.tga", {}), byDefault = wallWith("wall.tga", file);
  EXPECT_NEAR(plain.x, 1, 1e-4f);
  EXPECT_NEAR(plain.y, fromDisplay(51), 1e-4f);
  EXPECT_FLOAT_EQ(byDefault.x, plain.x) << "the default rule alone changes nothing";
  const Vec3 ruled = wallWith("wall_sw.tga", file);
  EXPECT_NEAR(ruled.x, 0.2f, 1e-4f) << "values are light, red and green change places";
  EXPECT_NEAR(ruled.y, 1, 1e-4f);
  EXPECT_NEAR(wallWith("wall_sw.tga", {}).y, fromDisplay(51), 1e-4f) << "no configuration, no rules";
  const Filename damaged = folder.write("damaged.ocio", "ocio_profile_version: 2\nroles: [\n");
  EXPECT_FLOAT_EQ(wallWith("wall_sw.tga", damaged.GetString().GetUTF8()).x, plain.x) << "falls back";
}

} // namespace
