// Real scenes through the real program.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <ostream>

#include <nlohmann/json.hpp>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

namespace fs = std::filesystem;

struct SharedScene {
  const char* file;
  int code = 0;          // of a render
  bool animated = false; // frame 12 differs from frame 0
  std::size_t cameras = 0;
};

void PrintTo(const SharedScene& scene, std::ostream* out) {
  *out << scene.file;
}

class SharedScenes : public testing::TestWithParam<SharedScene> {
 protected:
  Picture render(const std::string& scene, const std::string& frame, int code) {
    const Outcome outcome = run(
        {"render", scene, "-o", folder / "p.png", "--size", "160x120", "--samples", "4", "--frame", frame},
        folder / "home");
    EXPECT_EQ(outcome.code, code) << outcome.err;
    return readPicture(folder / "p.png");
  }
  TempFolder folder;
};

TEST_P(SharedScenes, RendersLit) {
  const SharedScene& expected = GetParam();
  const std::string scene = std::string(LUMENARA_SCENES_DIR "/") + expected.file;
  if (!fs::exists(scene)) GTEST_SKIP() << scene << " is not there";
  const Picture first = render(scene, "0", expected.code);
  ASSERT_EQ(first.width, 160);
  EXPECT_GT(first.mean(), 0.05) << "not black";
  EXPECT_LT(first.mean(), 0.98) << "not white";
  EXPECT_GT(first.spread(), 0.02) << "not flat";
  if (expected.animated) {
    const Picture later = render(scene, "20", expected.code);
    double difference = 0;
    for (std::size_t i = 0; i < first.pixels.size(); ++i)
      difference += std::abs(first.pixels[i] - later.pixels[i]);
    EXPECT_GT(difference / static_cast<double>(first.pixels.size()), 0.003) << "frames differ";
  }
}

TEST_P(SharedScenes, IsDescribed) {
  const std::string scene = std::string(LUMENARA_SCENES_DIR "/") + GetParam().file;
  if (!fs::exists(scene)) GTEST_SKIP() << scene << " is not there";
  const Outcome outcome = run({"info", scene, "--json"}, folder / "home");
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  const auto facts = nlohmann::json::parse(outcome.out);
  EXPECT_GT(facts["triangles"], 0);
  EXPECT_EQ(facts["cameras"].size(), GetParam().cameras);
  EXPECT_EQ(facts["animations"].size() > 0, GetParam().animated);
  EXPECT_EQ(facts["missing"].size() > 0, GetParam().code == 5) << facts["missing"];
}

INSTANTIATE_TEST_SUITE_P(
    Files, SharedScenes,
    testing::Values(SharedScene{"WaterBottle/WaterBottle.gltf"}, SharedScene{"Lantern/Lantern.gltf", 5},
                    SharedScene{"Suzanne/Suzanne.gltf"},
                    SharedScene{"MetalRoughSpheresNoTextures/MetalRoughSpheresNoTextures.gltf"},
                    SharedScene{"Cameras/Cameras.gltf", 0, false, 2},
                    SharedScene{"AnimatedMorphCube/AnimatedMorphCube.gltf", 0, true},
                    SharedScene{"BoxAnimated/BoxAnimated.gltf", 0, true},
                    SharedScene{"CesiumMan/CesiumMan.gltf", 0, true}),
    [](const auto& one) { return fs::path(one.param.file).stem().string(); });

class Demo : public testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists(scene)) GTEST_SKIP() << scene << " is not there";
  }
  Picture render(const std::string& frame, const Arguments& more = {}) {
    Arguments arguments{"render", scene,       "-o", folder / "p.png", "--size",
                        "160x90", "--samples", "8",  "--frame",        frame};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const Outcome outcome = run(arguments, folder / "home");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return readPicture(folder / "p.png");
  }
  static double difference(const Picture& a, const Picture& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.pixels.size(); ++i)
      sum += std::abs(a.pixels[i] - b.pixels.at(i));
    return sum / static_cast<double>(a.pixels.size());
  }
  const std::string scene = LUMENARA_SOURCE_DIR "/scenes/demo.glb";
  TempFolder folder;
};

TEST_F(Demo, FramesDifferAndAreLit) {
  const Picture first = render("0"), middle = render("45");
  EXPECT_GT(first.mean(), 0.1);
  EXPECT_LT(first.mean(), 0.9);
  EXPECT_GT(first.spread(), 0.05);
  EXPECT_GT(difference(first, middle), 0.003);
}

TEST_F(Demo, SameFrameIsTheSamePicture) {
  EXPECT_EQ(render("30").pixels, render("30").pixels);
}

// Without global illumination, shadows or textures the picture changes: the settings reach the renderer.
TEST_F(Demo, OptimizationsChangeThePicture) {
  const Picture plain = render("0");
  for (const char* set : {"LM_OPT_15014=0", "LM_OPT_15012=0", "LM_OPT_15023=0", "LM_OPT_15010=0",
                          "LM_OPT_15008=0", "LM_OPT_15019=0", "LM_OPT_ENGINE=1", "LM_OPT_MAT_15026=0"}) {
    EXPECT_GT(difference(plain, render("0", {"--set", set})), 0.0005) << set;
  }
}

TEST_F(Demo, ShowsTheExpectedPicture) {
  const Outcome outcome = run({"info", scene, "--json"}, folder / "home");
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  const auto facts = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(facts["frames"], nlohmann::json::array({0, 90}));
  EXPECT_EQ(facts["fps"], 30);
  EXPECT_GE(facts["cameras"].size(), 1u);
  EXPECT_GE(facts["lights"].size(), 1u);
  EXPECT_GE(facts["textures"], 1);
  EXPECT_EQ(facts["missing"].size(), 0u);
}

} // namespace
} // namespace batchtest
