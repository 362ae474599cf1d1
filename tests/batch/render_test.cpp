// Pictures rendered by the program.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>

#include <nlohmann/json.hpp>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

using Json = nlohmann::json;

class Render : public testing::Test {
 protected:
  /// Renders the scene with few samples into `name` and expects this exit code.
  Outcome render(const std::string& scene, const std::string& name, const Arguments& more = {},
                 int code = 0) {
    Arguments arguments{"render", scene, "-o", folder / name};
    if (std::find(more.begin(), more.end(), "--size") == more.end()) {
      arguments.insert(arguments.end(), {"--size", "64x64"});
    }
    arguments.insert(arguments.end(), {"--samples", "4"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    Outcome outcome = run(arguments, folder / "home");
    EXPECT_EQ(outcome.code, code) << outcome.err;
    return outcome;
  }

  Picture renderPicture(const std::string& scene, const std::string& name, const Arguments& more = {}) {
    render(scene, name, more);
    return readPicture(folder / name);
  }

  TempFolder folder;
};

// A square that moves by 8 frames' way, 8.5 of 64 pixels, while the shutter is open; its left edge is in the
// middle of that way at pixel 19.2.
TEST_F(Render, AShutterBlursWhatMoves) {
  const std::string scene = writeTinyScene(folder.path(), {.animated = true});
  const auto coverage = [&](const Arguments& more, int x) {
    Arguments all{"--frame", "15"};
    all.insert(all.end(), more.begin(), more.end());
    const Picture picture = renderPicture(scene, "moving.exr", all);
    float sum = 0, whole = 0;
    for (int y = 8; y < 24; ++y) {
      const float background = picture.at(4, y, 0);
      sum += picture.at(x, y, 0) - background;
      whole += picture.at(32, y, 0) - background;
    }
    return sum / whole;
  };
  EXPECT_NEAR(coverage({}, 16), 0, 0.01);
  EXPECT_NEAR(coverage({}, 22), 1, 0.01);
  EXPECT_NEAR(coverage({"--shutter", "8"}, 16), (16.5 - 14.93) / 8.53, 0.12);
  EXPECT_NEAR(coverage({"--shutter", "8"}, 22), (22.5 - 14.93) / 8.53, 0.12);
  EXPECT_NEAR(coverage({"--shutter", "0"}, 16), 0, 0.01);
  render(scene, "moving.exr", {"--shutter", "-1"}, 2);
}

class RenderFormat : public Render,
                     public testing::WithParamInterface<std::pair<const char*, const char*>> {};

// Every suffix gives its format, the right size and the right colours at the right places.
TEST_P(RenderFormat, HoldsThePictureUpright) {
  const auto [suffix, format] = GetParam();
  const Picture picture =
      renderPicture(writeTinyScene(folder.path()), std::string("picture.") + suffix, {"--size", "80x80"});
  EXPECT_EQ(picture.format, format);
  ASSERT_EQ(picture.width, 80);
  ASSERT_EQ(picture.height, 80);
  EXPECT_TRUE(isRed(picture, 20, 20)) << "the upper left square";
  EXPECT_TRUE(isBlue(picture, 60, 60)) << "the lower right square";
  EXPECT_FALSE(isRed(picture, 60, 20) || isBlue(picture, 60, 20)) << "the upper right quarter is empty";
  EXPECT_FALSE(isRed(picture, 20, 60) || isBlue(picture, 20, 60)) << "the lower left quarter is empty";
}

// Another program reads the same size.
TEST_P(RenderFormat, IsReadByAnotherProgram) {
  const std::string suffix = GetParam().first;
  const std::string file = folder / ("picture." + suffix), said = folder / "said";
  const std::string reader = suffix == "exr" ? "iinfo" : "identify";
  if (std::system(("command -v " + reader + " >/dev/null 2>&1").c_str()) != 0) {
    GTEST_SKIP() << reader << " is not installed";
  }
  render(writeTinyScene(folder.path()), "picture." + suffix, {"--size", "70x50"});
  const std::string size = suffix == "exr" ? "70 x   50" : "70x50 ";
  ASSERT_EQ(std::system((reader + " '" + file + "' >'" + said + "' 2>&1").c_str()), 0) << readFile(said);
  EXPECT_NE(readFile(said).find(size), std::string::npos) << readFile(said);
}

INSTANTIATE_TEST_SUITE_P(Suffixes, RenderFormat,
                         testing::Values(std::pair("png", "png"), std::pair("tif", "tiff"),
                                         std::pair("tiff", "tiff"), std::pair("jpg", "jpeg"),
                                         std::pair("jpeg", "jpeg"), std::pair("bmp", "bmp"),
                                         std::pair("exr", "openexr"), std::pair("PNG", "png")),
                         [](const auto& one) { return std::string(one.param.first); });

// A quality makes a WebP lossy; without one it is lossless.
TEST_F(Render, QualityIsOfJpegAndWebp) {
  const std::string scene = writeTinyScene(folder.path());
  const auto bytes = [&](const std::string& name, const Arguments& more = {}) {
    const Picture picture = renderPicture(scene, name, more);
    EXPECT_EQ(picture.width, 64);
    EXPECT_TRUE(isRed(picture, 16, 16)) << name;
    return readFile(folder / name);
  };
  EXPECT_NE(bytes("without.webp").find("VP8L"), std::string::npos);
  const std::string low = bytes("low.webp", {"--quality", "5"}),
                    high = bytes("high.webp", {"--quality", "100"});
  EXPECT_NE(low.find("VP8 "), std::string::npos);
  EXPECT_NE(high.find("VP8 "), std::string::npos);
  EXPECT_LT(low.size(), high.size());

  const std::size_t lowJpeg = bytes("low.jpg", {"--quality", "5"}).size();
  const std::size_t jpeg = bytes("without.jpg").size();
  EXPECT_LT(lowJpeg, jpeg);
  EXPECT_LT(jpeg, bytes("high.jpg", {"--quality", "100"}).size());
}

TEST_F(Render, AQualityIsRefusedForFormatsWithoutOne) {
  const std::string scene = writeTinyScene(folder.path());
  for (const char* name : {"picture.png", "picture.exr", "picture.tif"}) {
    const Outcome outcome = render(scene, name, {"--quality", "80"}, 2);
    EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
    EXPECT_NE(outcome.err.find(std::string("--quality has no effect on ") + (folder / name)),
              std::string::npos)
        << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(folder / name));
  }
  for (const char* quality : {"0", "101", "best"})
    render(scene, "picture.webp", {"--quality", quality}, 2);
}

// 8-bit formats hold the display colour of the surface, sRGB of 0.8 and 0.05.
TEST_F(Render, ColoursAreDisplayReferred) {
  const Picture picture = renderPicture(writeTinyScene(folder.path()), "picture.png");
  EXPECT_NEAR(picture.at(16, 16, 0), 0.9063, 0.01);
  EXPECT_NEAR(picture.at(16, 16, 1), 0.2477, 0.01);
}

// The film is linear and exceeds white; the other formats end at white.
TEST_F(Render, ExrHoldsTheFloatFilm) {
  TinyScene scene;
  scene.glow = 8;
  const std::string file = writeTinyScene(folder.path(), scene);
  const Picture film = renderPicture(file, "picture.exr");
  EXPECT_NEAR(film.at(16, 16, 0), 0.8, 0.01);
  EXPECT_NEAR(film.at(48, 48, 2), 8, 0.1);
  EXPECT_NEAR(film.at(48, 48, 0), 2, 0.05);
  EXPECT_EQ(renderPicture(file, "picture.png").at(48, 48, 2), 1.0f);
}

TEST_F(Render, SizeComesFromTheSceneWithoutAnOption) {
  const std::string scene = writeTinyScene(folder.path());
  Json gltf = Json::parse(readFile(scene));
  gltf["extras"]["lumenara"]["renderData"] = Json::array(
      {Json{{"container", Json::array({Json::array({5008, "long", 96}), Json::array({5009, "long", 40})})}}});
  writeFile(scene, gltf.dump());
  const Outcome outcome = run({"render", scene, "-o", folder / "own.png", "--samples", "1"}, folder / "home");
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  const Picture picture = readPicture(folder / "own.png");
  EXPECT_EQ(picture.width, 96);
  EXPECT_EQ(picture.height, 40);
}

TEST_F(Render, DefaultSizeIs1280x720) {
  const Outcome outcome =
      run({"render", writeTinyScene(folder.path()), "-o", folder / "default.png", "--samples", "1"},
          folder / "home");
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  const Picture picture = readPicture(folder / "default.png");
  EXPECT_EQ(picture.width, 1280);
  EXPECT_EQ(picture.height, 720);
}

// The red square slides from the left to the right.
TEST_F(Render, FramesDiffer) {
  TinyScene scene;
  scene.animated = true;
  const std::string file = writeTinyScene(folder.path(), scene);
  const Picture first = renderPicture(file, "first.png");
  const Picture middle = renderPicture(file, "middle.png", {"--frame", "15"});
  const Picture last = renderPicture(file, "last.png", {"--frame", "30"});
  EXPECT_TRUE(isRed(first, 16, 16));
  EXPECT_FALSE(isRed(first, 48, 16));
  EXPECT_TRUE(isRed(middle, 32, 16));
  EXPECT_FALSE(isRed(middle, 4, 16) || isRed(middle, 60, 16));
  EXPECT_TRUE(isRed(last, 48, 16));
  EXPECT_FALSE(isRed(last, 16, 16));
}

// The same frame whether the job's clone has the animation or the pose.
TEST_F(Render, FrameIsTheSameWithTheAnimationInTheClone) {
  TinyScene scene;
  scene.animated = true;
  const std::string file = writeTinyScene(folder.path(), scene);
  const Picture posed = renderPicture(file, "posed.png", {"--frame", "20"});
  const Picture animated =
      renderPicture(file, "animated.png", {"--frame", "20", "--set", "LM_CLONE_ANIMATION=1"});
  EXPECT_EQ(posed.pixels, animated.pixels);
}

TEST_F(Render, CameraIsChosenByName) {
  const std::string scene = writeTinyScene(folder.path());
  EXPECT_TRUE(isRed(renderPicture(scene, "front.png", {"--camera", "Front"}), 16, 16));
  const Picture back = renderPicture(scene, "back.png", {"--camera", "Back"});
  for (int at = 4; at < 64; at += 8) {
    EXPECT_FALSE(isRed(back, at, at) || isBlue(back, at, at));
  }
}

TEST_F(Render, CamerasOfOneNameAreNumbered) {
  const std::string scene = writeTinyScene(folder.path());
  std::string text = readFile(scene);
  text.replace(text.find("\"Back\""), 6, "\"Front\"");
  writeFile(scene, text);
  EXPECT_TRUE(isRed(renderPicture(scene, "first.png", {"--camera", "Front"}), 16, 16));
  EXPECT_FALSE(isRed(renderPicture(scene, "second.png", {"--camera", "Front#2"}), 16, 16));
  const Outcome outcome = render(scene, "third.png", {"--camera", "Front#3"}, 2);
  EXPECT_NE(outcome.err.find("\"Front\", \"Front#2\""), std::string::npos) << outcome.err;
}

TEST_F(Render, UnknownCameraListsTheCameras) {
  const Outcome outcome = render(writeTinyScene(folder.path()), "none.png", {"--camera", "Side"}, 2);
  EXPECT_NE(outcome.err.find("\"Side\""), std::string::npos) << outcome.err;
  EXPECT_NE(outcome.err.find("\"Front\", \"Back\""), std::string::npos) << outcome.err;
  EXPECT_FALSE(std::filesystem::exists(folder / "none.png"));
}

// Every pixel outside the region stays black; inside it is the picture's own.
TEST_F(Render, RegionLeavesTheRestBlack) {
  const Picture picture =
      renderPicture(writeTinyScene(folder.path()), "region.png", {"--region", "8,10,40,31"});
  for (int y = 0; y < 64; ++y) {
    for (int x = 0; x < 64; ++x) {
      const bool inside = x >= 8 && x <= 40 && y >= 10 && y <= 31;
      if (!inside) {
        ASSERT_TRUE(picture.isBlack(x, y)) << x << ", " << y;
      }
    }
  }
  EXPECT_TRUE(isRed(picture, 16, 16));
  EXPECT_TRUE(isRed(picture, 8, 10));
}

TEST_F(Render, RegionBeyondTheEdgeIsClipped) {
  const Picture picture =
      renderPicture(writeTinyScene(folder.path()), "clipped.png", {"--region", "32,32,500,500"});
  EXPECT_TRUE(picture.isBlack(16, 16));
  EXPECT_TRUE(isBlue(picture, 48, 48));
}

// A box equals its pixels, and is moved inside from an edge.
TEST_F(Render, ARegionBoxIsARegion) {
  const std::string scene = writeTinyScene(folder.path());
  const auto same = [&](const char* box, const char* pixels) {
    const Picture byBox = renderPicture(scene, "box.png", {"--region-box", box});
    const Picture byPixels = renderPicture(scene, "pixels.png", {"--region", pixels});
    EXPECT_EQ(byBox.pixels, byPixels.pixels) << box;
    EXPECT_TRUE(isRed(byBox, 20, 20) || isBlue(byBox, 48, 48)) << box;
  };
  same("0.25,0.125,0.5", "16,8,47,39");
  same("0.9,0.9,0.5", "32,32,63,63");
  same("0,0,1", "0,0,63,63");
}

// A key works by name and by number: here it switches the materials' colour channel off.
TEST_F(Render, SettingsByNameAndNumber) {
  const std::string scene = writeTinyScene(folder.path());
  const Picture byName = renderPicture(scene, "name.png", {"--set", "LM_OPT_RES_DIVISOR=2"});
  const Picture byNumber = renderPicture(scene, "number.png", {"--set", "15040=2"});
  EXPECT_EQ(byName.width, 32);
  EXPECT_EQ(byNumber.width, 32);
  EXPECT_EQ(byNumber.pixels, byName.pixels);
}

// A setting of a run reaches the plug-in's thread: the software preview draws the red square shaded.
TEST_F(Render, SettingsReachTheRender) {
  TinyScene scene;
  scene.glow = 8;
  const std::string file = writeTinyScene(folder.path(), scene);
  const Picture plain = renderPicture(file, "plain.png");
  const Picture dark = renderPicture(file, "dark.png", {"--set", "LM_OPT_MAT_15028=0"});
  EXPECT_TRUE(isBlue(plain, 48, 48) || plain.at(48, 48, 2) == 1.0f);
  EXPECT_LT(dark.at(48, 48, 2), 0.5f) << "without the luminance channel the square does not glow";
}

TEST_F(Render, SettingsOfARunAreNotStored) {
  render(writeTinyScene(folder.path()), "once.png", {"--set", "LM_REFRESH_DELAY=999"});
  EXPECT_EQ(run({"settings", "get", "LM_REFRESH_DELAY"}, folder / "home").out, "250\n");
}

// Edges use the filter by default, and the pixel alone when the plug-in's setting says so.
TEST_F(Render, AntiAliasingIsBestUnlessSet) {
  const std::string scene = writeTinyScene(folder.path());
  const Arguments odd{"--size", "61x61"};
  const auto shades = [](const Picture& picture) {
    std::set<float> values;
    for (int x = 0; x < 30; ++x)
      values.insert(picture.at(x, 15, 0));
    return values.size();
  };
  Arguments hard = odd;
  hard.insert(hard.end(), {"--set", "LM_OPT_15004=0"});
  const std::size_t smoothShades = shades(renderPicture(scene, "smooth.png", odd));
  const std::size_t hardShades = shades(renderPicture(scene, "hard.png", hard));
  EXPECT_GT(smoothShades, hardShades);
}

TEST_F(Render, StampsAreDrawnWhenSet) {
  const std::string scene = writeTinyScene(folder.path());
  const Picture plain = renderPicture(scene, "plain.png", {"--size", "200x100"});
  const Picture stamped =
      renderPicture(scene, "stamped.png",
                    {"--size", "200x100", "--set", "LM_STAMP_CUSTOM1=1", "--set", "LM_STAMP_TEXT1=Mark 7"});
  EXPECT_NE(plain.pixels, stamped.pixels);
  // The text stands at the upper right; the lower half is untouched.
  for (int y = 50; y < 100; ++y) {
    for (int x = 0; x < 200; ++x) {
      ASSERT_EQ(plain.at(x, y, 0), stamped.at(x, y, 0)) << x << ", " << y;
    }
  }
}

TEST_F(Render, SamePixelsForAnyNumberOfThreads) {
  const std::string scene = LUMENARA_SOURCE_DIR "/scenes/demo.glb";
  if (!std::filesystem::exists(scene)) GTEST_SKIP() << scene << " is not there";
  const Picture one = renderPicture(scene, "one.png", {"--threads", "1"});
  const Picture three = renderPicture(scene, "three.png", {"--threads", "3"});
  EXPECT_EQ(one.pixels, three.pixels);
}

TEST_F(Render, StatsHoldEveryField) {
  render(writeTinyScene(folder.path()), "stats.png", {"--size", "48x32", "--stats", folder / "stats.json"});
  const Json stats = Json::parse(readFile(folder / "stats.json"));
  EXPECT_EQ(stats.size(), 13u);
  for (const char* time : {"load_ms", "clone_ms", "build_ms", "first_pixels_ms", "render_ms"}) {
    ASSERT_TRUE(stats.contains(time) && stats[time].is_number()) << time;
    EXPECT_GT(stats[time].get<double>(), 0) << time;
    EXPECT_LT(stats[time].get<double>(), 120000) << time;
  }
  EXPECT_LE(stats["build_ms"], stats["first_pixels_ms"]);
  EXPECT_LE(stats["first_pixels_ms"], stats["render_ms"]);
  EXPECT_EQ(stats["width"], 48);
  EXPECT_EQ(stats["height"], 32);
  EXPECT_EQ(stats["triangles"], 4);
  EXPECT_EQ(stats["result"], 0);
  EXPECT_GE(stats["camera_samples"].get<int>(), 48 * 32);
  EXPECT_LE(stats["camera_samples"].get<int>(), 48 * 32 * (4 + 4))
      << "at most the samples and the coarse passes";
  EXPECT_GE(stats["rays"], stats["camera_samples"]);
  EXPECT_GT(stats["peak_rss_bytes"].get<std::uint64_t>(), 10u << 20);
  EXPECT_LT(stats["peak_rss_bytes"].get<std::uint64_t>(), 4ull << 30);
  EXPECT_TRUE(stats["code"] == "avx2" || stats["code"] == "portable") << stats["code"];
}

TEST_F(Render, PortableCodeOnDemand) {
  setenv("LUMENARA_PORTABLE", "1", 1);
  render(writeTinyScene(folder.path()), "portable.png",
         {"--size", "16x16", "--stats", folder / "stats.json"});
  unsetenv("LUMENARA_PORTABLE");
  EXPECT_EQ(Json::parse(readFile(folder / "stats.json"))["code"], "portable");
}

TEST_F(Render, DenoisesWhenAsked) {
  const std::string scene = writeTinyScene(folder.path());
  const Picture noisy = renderPicture(scene, "noisy.exr");
  const Picture clean = renderPicture(scene, "clean.exr", {"--denoise"});
  EXPECT_NE(noisy.pixels, clean.pixels);
  EXPECT_EQ(renderPicture(scene, "again.exr", {"--denoise=end"}).pixels, clean.pixels);
  EXPECT_EQ(renderPicture(scene, "live.exr", {"--denoise=live"}).pixels, clean.pixels);
  EXPECT_EQ(renderPicture(scene, "off.exr", {"--denoise=off"}).pixels, noisy.pixels);
  const Outcome wrong = render(scene, "wrong.png", {"--denoise=now"}, 2);
  EXPECT_NE(wrong.err.find("--denoise"), std::string::npos) << wrong.err;
}

TEST_F(Render, EndsAfterATimeOrAtANoiseLevel) {
  const std::string scene = writeTinyScene(folder.path());
  const auto samples = [&](const Arguments& limits) {
    Arguments arguments{"render", scene,   "-o",      folder / "limited.png",
                        "--size", "48x32", "--stats", folder / "limited.json",
                        "--quiet"};
    arguments.insert(arguments.end(), limits.begin(), limits.end());
    const Outcome outcome = run(arguments, folder / "home");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return Json::parse(readFile(folder / "limited.json"))["camera_samples"].get<int>();
  };
  const int rough = samples({"--noise", "0.2"}), fine = samples({"--noise", "0.005"});
  EXPECT_LT(rough, fine);
  EXPECT_GE(samples({"--time", "0.01"}), 48 * 32); // every pixel has a sample
  for (const auto& wrong : {Arguments{"--radiance-cache", "maybe"}, Arguments{"--time", "0"},
                            Arguments{"--noise", "2"}, Arguments{"--noise", "x"}})
    EXPECT_NE(render(scene, "wrong.png", wrong, 2).err.find(wrong[0]), std::string::npos);
}

TEST_F(Render, MoreSamplesAreTaken) {
  const std::string scene = LUMENARA_SOURCE_DIR "/scenes/demo.glb";
  if (!std::filesystem::exists(scene)) GTEST_SKIP() << scene << " is not there";
  const auto samples = [&](const std::string& count) {
    const Outcome outcome = run({"render", scene, "-o", folder / "s.png", "--size", "32x24", "--samples",
                                 count, "--stats", folder / "s.json"},
                                folder / "home");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return Json::parse(readFile(folder / "s.json"))["camera_samples"].get<int>();
  };
  EXPECT_GE(samples("16"), 2 * samples("2"));
}

// A missing texture: exit code 5, one line that names it, and the picture is still saved.
TEST_F(Render, MissingPictureIsReported) {
  TinyScene scene;
  scene.missingPicture = true;
  const Outcome outcome = render(writeTinyScene(folder.path(), scene), "missing.png",
                                 {"--size", "400x400", "--quiet", "--stats", folder / "stats.json"}, 5);
  EXPECT_EQ(linesWith(outcome.err, "nowhere.png"), 1) << outcome.err;
  const Picture picture = readPicture(folder / "missing.png");
  ASSERT_EQ(picture.width, 400);
  EXPECT_TRUE(isRed(picture, 100, 130)) << "the material without the picture, below the banner";
  EXPECT_TRUE(isBlue(picture, 300, 300));
  EXPECT_EQ(Json::parse(readFile(folder / "stats.json"))["result"], 2);
}

TEST_F(Render, BannerReportsTheMissingPictureUnlessOff) {
  TinyScene scene;
  scene.missingPicture = true;
  const std::string file = writeTinyScene(folder.path(), scene);
  const Arguments size{"--size", "400x400"};
  Arguments off = size;
  off.insert(off.end(), {"--set", "LM_ERROR_BANNER=0"});
  render(file, "banner.png", size, 5);
  render(file, "bare.png", off, 5);
  const Picture banner = readPicture(folder / "banner.png"), bare = readPicture(folder / "bare.png");
  int differing = 0;
  for (int y = 0; y < 400; ++y) {
    for (int x = 0; x < 400; ++x) {
      const bool differs = banner.at(x, y, 0) != bare.at(x, y, 0) || banner.at(x, y, 1) != bare.at(x, y, 1);
      differing += differs;
      if (differs) {
        ASSERT_TRUE(x < 300 && y < 100) << x << ", " << y;
      }
    }
  }
  EXPECT_GT(differing, 100);
}

// The icon is the plug-in's own picture, found from any working folder.
TEST_F(Render, BannerHasItsIcon) {
  const Picture icon = readPicture(LUMENARA_SOURCE_DIR "/res/gui/error.tif");
  ASSERT_GT(icon.width, 8);
  TinyScene scene;
  scene.missingPicture = true;
  const std::string file = writeTinyScene(folder.path(), scene);
  render(file, "banner.png", {"--size", "400x400"}, 5);
  const Picture banner = readPicture(folder / "banner.png");
  ASSERT_EQ(banner.width, 400);
  int same = 0; // where the icon covers the picture
  for (int y = 0; y < icon.height; ++y) {
    for (int x = 0; x < icon.width; ++x) {
      bool equal = !icon.isBlack(x, y);
      for (int channel = 0; channel < 3; ++channel)
        equal = equal && std::abs(banner.at(4 + x, 4 + y, channel) - icon.at(x, y, channel)) < 0.003F;
      same += equal;
    }
  }
  EXPECT_GT(same, 1000);
}

TEST_F(Render, QuietSaysNothing) {
  const Outcome outcome = render(writeTinyScene(folder.path()), "quiet.png", {"--quiet"});
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out, "");
}

// Without a terminal the progress line is missing and the plug-in's banner is printed.
TEST_F(Render, PlainOutputHasTheBannerAndNoProgress) {
  const Outcome outcome = render(writeTinyScene(folder.path()), "plain.png");
  EXPECT_EQ(linesWith(outcome.err, "||  Lumenara v"), 1) << outcome.err;
  EXPECT_EQ(outcome.err.find('\r'), std::string::npos) << outcome.err;
}

TEST_F(Render, ReplacesAnOldPictureWhole) {
  writeFile(folder / "old.png", std::string(200000, 'x'));
  const Picture picture = renderPicture(writeTinyScene(folder.path()), "old.png");
  EXPECT_EQ(picture.width, 64);
  EXPECT_LT(std::filesystem::file_size(folder / "old.png"), 100000u);
  for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
    const std::string name = entry.path().filename().string();
    EXPECT_TRUE(name == "home" || name == "old.png" || name.rfind("tiny.", 0) == 0) << "left over: " << name;
  }
}

} // namespace
} // namespace batchtest
