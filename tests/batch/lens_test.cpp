// `lumenara render` with lens effects.
#include <gtest/gtest.h>

#include <cmath>

#include <nlohmann/json.hpp>

#include "display_transform.h"
#include "lens_effects.h"
#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

using Json = nlohmann::json;

class RenderLens : public testing::Test {
 protected:
  Outcome render(const std::string& image, const Arguments& more = {}) {
    Arguments arguments{"render", scene,       "-o", folder / image, "--size",
                        "24x24",  "--samples", "2",  "--quiet"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments, folder / "home");
  }
  Picture picture(const std::string& image, const Arguments& more = {}) {
    const Outcome outcome = render(image, more);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return readPicture(folder / image);
  }
  /// The picture is the film's light through this lens.
  static void expectLens(const Picture& shown, const Picture& film, const host::LensSettings& settings) {
    std::vector<float> light;
    for (int y = 0; y < film.height; ++y)
      for (int x = 0; x < film.width; ++x)
        for (int c = 0; c < 3; ++c)
          light.push_back(film.at(x, y, c));
    host::applyLens(settings, film.width, film.height, light);
    for (int y = 0, i = 0; y < film.height; ++y)
      for (int x = 0; x < film.width; ++x)
        for (int c = 0; c < 3; ++c, ++i)
          ASSERT_EQ(std::lround(shown.at(x, y, c) * 255),
                    host::toDisplay(light[static_cast<std::size_t>(i)]));
  }

  TempFolder folder;
  std::string scene = writeTinyScene(folder.path());
};

TEST_F(RenderLens, TheScenesEffectsCountInEightBitPicturesAlone) {
  const Picture plain = picture("plain.png"), film = picture("film.exr");
  Json json = Json::parse(readFile(scene));
  json["extras"]["lumenara"]["version"] = 1;
  const Json entries = Json::array({Json::array({7130, "long", 5}), Json::array({7131, "real", 0.1}),
                                    Json::array({7132, "real", 0.5}), Json::array({7137, "real", 0.8})});
  json["extras"]["lumenara"]["renderData"] = Json::array({Json{{"container", entries}}});
  writeFile(scene, json.dump());
  host::LensSettings lens;
  lens.bloom = lens.vignette = true;
  lens.threshold = 0.1, lens.strength = 0.5, lens.amount = 0.8;
  const Picture shown = picture("lens.png");
  EXPECT_NE(shown.pixels, plain.pixels);
  expectLens(shown, film, lens);
  EXPECT_EQ(picture("again.exr").pixels, film.pixels) << "the film stays";
  EXPECT_EQ(picture("without.png", {"--no-lens"}).pixels, plain.pixels);
  EXPECT_EQ(picture("with.png", {"--lens"}).pixels, shown.pixels);
}

TEST_F(RenderLens, CountsInSixteenBits) {
  const Picture film = picture("film.exr"), words = picture("words.png", {"--bits", "16"});
  EXPECT_EQ(readFile(folder / "words.png")[24], 16);
  int finer = 0;
  for (int y = 0; y < film.height; ++y)
    for (int x = 0; x < film.width; ++x)
      for (int c = 0; c < 3; ++c) {
        const int code = host::toDisplayWord(film.at(x, y, c));
        ASSERT_EQ(std::lround(words.at(x, y, c) * 65535), code);
        finer += code % 257 != 0;
      }
  EXPECT_GT(finer, 100) << "more than 8 bits can hold";
  const Picture lens = picture("lens.png", {"--lens"}),
                deep = picture("deep.png", {"--lens", "--bits", "16"});
  EXPECT_NE(deep.pixels, words.pixels);
  for (std::size_t i = 0; i < lens.pixels.size(); ++i)
    ASSERT_NEAR(deep.pixels[i], lens.pixels[i], 0.503 / 255);
}

TEST_F(RenderLens, AllEffectsWhenTheSceneHasNone) {
  const Picture film = picture("film.exr");
  host::LensSettings all;
  all.bloom = all.glare = all.vignette = true;
  expectLens(picture("all.png", {"--lens"}), film, all);
  const Outcome refused = render("a.exr", {"--lens"});
  EXPECT_EQ(refused.code, 2);
  EXPECT_EQ(linesWith(refused.err, "holds the light itself"), 1) << refused.err;
  EXPECT_EQ(render("a.exr", {"--no-lens"}).code, 0);
}

} // namespace
} // namespace batchtest
