// `lumenara render` with several scenes.
#include <gtest/gtest.h>

#include <filesystem>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

namespace fs = std::filesystem;

class SeveralScenes : public testing::Test {
 protected:
  SeveralScenes() {
    for (const char* name : {"one", "two"}) {
      fs::create_directories(folder.path() / name);
      fs::rename(writeTinyScene(folder.path() / name), folder.path() / name / (std::string(name) + ".gltf"));
    }
  }
  std::string scene(const std::string& name) const { return folder.path() / name / (name + ".gltf"); }
  Outcome render(const Arguments& scenes, const std::string& output, const Arguments& more = {}) {
    Arguments arguments{"render"};
    arguments.insert(arguments.end(), scenes.begin(), scenes.end());
    arguments.insert(arguments.end(), {"-o", output, "--size", "32x32", "--samples", "2"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments, folder.path() / "home");
  }
  bool isPicture(const std::string& file) { return isRed(readPicture(folder.path() / file), 8, 8); }

  TempFolder folder;
};

TEST_F(SeveralScenes, AFolderTakesThemByName) {
  fs::create_directories(folder.path() / "out");
  const Outcome outcome = render({scene("one"), scene("two")}, folder.path() / "out");
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_TRUE(isPicture("out/one.png"));
  EXPECT_TRUE(isPicture("out/two.png"));
}

TEST_F(SeveralScenes, ThePlaceOfTheNameIsFilled) {
  const Outcome outcome = render({scene("one"), scene("two")}, folder.path() / "a-{name}.tif",
                                 {"--stats", folder.path() / "{name}.json"});
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_TRUE(isPicture("a-one.tif"));
  EXPECT_TRUE(isPicture("a-two.tif"));
  EXPECT_TRUE(fs::exists(folder.path() / "one.json"));
  EXPECT_TRUE(fs::exists(folder.path() / "two.json"));
}

TEST_F(SeveralScenes, OnePictureForTwoScenesIsRefusedBeforeWork) {
  Outcome outcome = render({scene("one"), scene("two")}, folder.path() / "same.png");
  EXPECT_EQ(outcome.code, 2);
  EXPECT_NE(outcome.err.find("would both be written to"), std::string::npos) << outcome.err;
  EXPECT_FALSE(fs::exists(folder.path() / "same.png"));
  outcome = render({scene("one"), scene("two")}, "-");
  EXPECT_EQ(outcome.code, 2);
  EXPECT_NE(outcome.err.find("take one scene"), std::string::npos) << outcome.err;
}

TEST_F(SeveralScenes, TheOthersAreRenderedBesideAFailure) {
  const Outcome outcome = render({folder.path() / "missing.glb", scene("two")}, folder.path() / "{name}.png");
  EXPECT_EQ(outcome.code, 3);
  EXPECT_NE(outcome.err.find("missing.glb"), std::string::npos) << outcome.err;
  EXPECT_TRUE(isPicture("two.png"));
}

} // namespace
} // namespace batchtest
