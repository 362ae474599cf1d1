// `lumenara render --view` and `--exposure`.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "display_transform.h"
#include "program_run.h"
#include "tiny_scene.h"
#include "view_transform.h"

namespace batchtest {
namespace {

using Json = nlohmann::json;

class RenderView : public testing::Test {
 protected:
  void TearDown() override { unsetenv("OCIO"); }
  Outcome render(const std::string& image, const Arguments& more = {}) {
    Arguments arguments{"render", scene, "-o", folder / image, "--size", size, "--samples", "2", "--quiet"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments, folder / "home");
  }
  Picture picture(const std::string& image, const Arguments& more = {}) {
    const Outcome outcome = render(image, more);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return readPicture(folder / image);
  }
  static int code(const Picture& from, int x, int y, int channel) {
    return static_cast<int>(std::lround(from.at(x, y, channel) * 255));
  }
  /// Every pixel of the picture is the film's light through the view.
  void expectView(const Picture& shown, const Picture& film, const host::ViewSettings& settings) {
    const host::ViewTransform view(settings);
    ASSERT_EQ(shown.width, film.width);
    for (int y = 0; y < film.height; ++y)
      for (int x = 0; x < film.width; ++x) {
        const float rgb[3] = {film.at(x, y, 0), film.at(x, y, 1), film.at(x, y, 2)};
        unsigned char codes[3];
        view.show(rgb, codes, 1);
        for (int c = 0; c < 3; ++c)
          ASSERT_EQ(code(shown, x, y, c), codes[c]) << settings.view << " " << x << " " << y;
      }
  }
  /// Gives the scene's render settings these entries.
  void store(const Json& entries) {
    Json json = Json::parse(readFile(scene));
    json["extras"]["lumenara"]["version"] = 1;
    json["extras"]["lumenara"]["renderData"] = Json::array({Json{{"container", entries}}});
    writeFile(scene, json.dump());
  }
  static void expectOneLine(const Outcome& outcome, int code, const std::string& part) {
    EXPECT_EQ(outcome.code, code) << part << ": " << outcome.err;
    EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
    EXPECT_EQ(linesWith(outcome.err, part), 1) << outcome.err;
  }

  TempFolder folder;
  std::string scene = writeTinyScene(folder.path()), size = "24x24";
};

TEST_F(RenderView, PicturesAreTheFilmThroughTheView) {
  const Picture film = picture("film.exr"), plain = picture("plain.png");
  ASSERT_GT(film.at(6, 6, 0), 0.05f);
  expectView(plain, film, {});
  EXPECT_EQ(picture("same.png", {"--view", "sRGB", "--exposure", "0"}).pixels, plain.pixels);
  expectView(picture("up.png", {"--exposure", "1.5"}), film, {"sRGB", 1.5});
  expectView(picture("down.png", {"--exposure", "-2"}), film, {"sRGB", -2});
  expectView(picture("aces.png", {"--view", "ACES SDR", "--exposure", "1"}), film, {"ACES SDR", 1});
  expectView(picture("false.tif", {"--view", "False Colour"}), film, {"False Colour"});
}

TEST_F(RenderView, TheScenesViewCountsUnlessAnotherIsGiven) {
  const auto entry = [](int id, const char* type, const Json& value) {
    return Json::array({id, type, value});
  };
  store(Json::array({entry(7120, "string", "Rec.709"), entry(7121, "real", 1.0), entry(7122, "real", 1.5),
                     entry(7123, "real", 4000.0)}));
  expectView(picture("own.png"), picture("film.exr"), {"Rec.709", 1, 1.5, 4000});
  expectView(picture("given.png", {"--view", "Raw", "--exposure", "-1"}), picture("film.exr"),
             {"Raw", -1, 1.5, 4000});
  store(Json::array({entry(7120, "string", "Screen - Elsewhere"), entry(7121, "real", 1e300)}));
  const Outcome outcome = render("unknown.png");
  EXPECT_EQ(outcome.code, 0) << outcome.err;
}

TEST_F(RenderView, FramesOfAnimationsShowTheView) {
  const Outcome outcome = run({"animate", scene, "-o", folder / "shot.tif", "--frames", "0:0", "--size", size,
                               "--samples", "2", "--view", "Filmic", "--exposure", "1", "--quiet"},
                              folder / "home");
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  expectView(readPicture(folder / "shot0000.tif"), picture("film.exr", {"--frame", "0"}), {"Filmic", 1});
}

TEST_F(RenderView, StampsStayReadable) {
  size = "160x90";
  const Arguments stamp{"--set", "LM_STAMP_DATE=1"};
  Arguments viewed = stamp;
  viewed.insert(viewed.end(), {"--view", "False Colour"});
  const Picture with = picture("with.png", viewed), without = picture("without.png", stamp);
  int same = 0;
  for (int x = 0; x < 160; ++x)
    for (int y = 0; y < 90; ++y)
      if (with.at(x, y, 0) == without.at(x, y, 0) && with.at(x, y, 1) == without.at(x, y, 1) &&
          with.at(x, y, 2) == without.at(x, y, 2))
        ++same;
  EXPECT_GT(same, 50) << "the stamp's letters";
  EXPECT_LT(same, 160 * 90 / 2) << "the picture changed";
}

TEST_F(RenderView, WrongUseNamesTheOption) {
  expectOneLine(render("a.png", {"--view", "Sepia"}), 2, "there is no view \"Sepia\"; there are \"sRGB\", ");
  expectOneLine(render("a.png", {"--exposure", "21"}), 2, "--exposure");
  expectOneLine(render("a.png", {"--exposure", "bright"}), 2, "--exposure");
  expectOneLine(render("a.exr", {"--view", "Filmic"}), 2, "holds the light itself");
}

TEST_F(RenderView, ADamagedConfigurationIsNamedAndTheOwnViewsRemain) {
  writeFile(folder / "bad.ocio", "ocio_profile_version: 2\nroles:\n  default: [raw\n");
  setenv("OCIO", (folder / "bad.ocio").c_str(), 1);
  const Outcome outcome = run(
      {"render", scene, "-o", folder / "a.png", "--size", "8x8", "--samples", "1", "--view", "Screen - Raw"},
      folder / "home");
  EXPECT_EQ(outcome.code, 2);
  EXPECT_EQ(linesWith(outcome.err, "bad.ocio\" is not used"), 1) << outcome.err;
  EXPECT_EQ(linesWith(outcome.err, "line 4"), 1) << outcome.err;
  EXPECT_EQ(render("a.png", {"--view", "Filmic"}).code, 0);
}

const char* const quarterConfig = R"(ocio_profile_version: 2
roles: {scene_linear: lin_rec709, default: lin_rec709}
displays:
  Screen:
    - !<View> {name: Quarter, colorspace: quarter}
colorspaces:
  - !<ColorSpace> {name: lin_rec709}
  - !<ColorSpace>
    name: quarter
    from_scene_reference: !<CDLTransform> {slope: [0.25, 0.25, 0.25]}
)";

TEST_F(RenderView, AConfigurationsViewsAreThere) {
  writeFile(folder / "good.ocio", quarterConfig);
  setenv("OCIO", (folder / "good.ocio").c_str(), 1);
  const Picture film = picture("film.exr"), shown = picture("a.png", {"--view", "Screen - Quarter"});
  EXPECT_NEAR(shown.at(6, 6, 0), film.at(6, 6, 0) / 4, 0.6 / 255);
}

// Relative to the scene's folder, and before the one that the variable names.
TEST_F(RenderView, ASceneNamesItsConfiguration) {
  writeFile(folder / "quarter.ocio", quarterConfig);
  writeFile(folder / "bad.ocio", "ocio_profile_version: 2\nroles: [\n");
  const auto config = [](const char* name) { return Json::array({7124, "string", name}); };
  store(Json::array({config("quarter.ocio"), Json::array({7120, "string", "Screen - Quarter"})}));
  const Picture film = picture("film.exr"), shown = picture("a.png");
  EXPECT_NEAR(shown.at(6, 6, 0), film.at(6, 6, 0) / 4, 0.6 / 255);
  setenv("OCIO", (folder / "bad.ocio").c_str(), 1);
  EXPECT_EQ(picture("b.png").pixels, shown.pixels);
  expectOneLine(render("c.png", {"--view", "Sepia"}), 2, "\"Screen - Quarter\"");
  store(Json::array({config("bad.ocio"), Json::array({7120, "string", "Filmic"})}));
  expectView(picture("d.png"), film, {"Filmic"});
  const Outcome outcome = run({"render", scene, "-o", folder / "e.png", "--size", "8x8", "--samples", "1",
                               "--view", "Screen - Quarter"},
                              folder / "home");
  EXPECT_EQ(outcome.code, 2);
  EXPECT_EQ(linesWith(outcome.err, "bad.ocio\" is not used"), 1) << outcome.err;
  EXPECT_EQ(linesWith(outcome.err, "choose another one"), 1) << outcome.err;
}

} // namespace
} // namespace batchtest
