// Orders of the render queue: their problems, arguments and text.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "animation_order.h"
#include "job_folder.h"

using namespace host::farm;

namespace {

namespace fs = std::filesystem;

class AnimationOrderTest : public testing::Test {
 protected:
  AnimationOrderTest() { fs::create_directories(folder); }
  ~AnimationOrderTest() override { fs::remove_all(folder); }

  AnimationOrder order(const char* name, const char* frames = "0:89") const {
    AnimationOrder made;
    made.output = (folder / name).string();
    made.frames = frames;
    return made;
  }
  std::vector<std::string> optionsOf(const AnimationOrder& one) const {
    std::vector<std::string> list = animateArguments(one, "scene.glb");
    EXPECT_EQ(list.at(0), "animate");
    EXPECT_EQ(list.at(1), "scene.glb");
    EXPECT_EQ(list.at(2), "--output=" + one.output);
    list.erase(list.begin(), list.begin() + 3);
    return list;
  }
  using Words = std::vector<std::string>;

  fs::path folder = fs::temp_directory_path() / ("animation-order-" + uniqueWord());
};

TEST_F(AnimationOrderTest, OptionsAreThoseOfTheSuffix) {
  AnimationOrder all = order("shot.mp4");
  all.width = 640, all.height = 360, all.camera = "Front", all.samples = 32;
  all.codec = "h265", all.compression = "dwaa", all.quality = 70;
  all.deep = all.alpha = all.half = all.allLayers = all.stamps = all.denoise = all.keep = all.replace = true;
  const Words common{"--frames=0:89", "--size=640x360", "--camera=Front", "--samples=32"};
  const auto with = [&common](Words more) {
    more.insert(more.begin(), common.begin(), common.end());
    return more;
  };
  EXPECT_EQ(optionsOf(all),
            with({"--codec=h265", "--quality=70", "--alpha", "--stamps", "--denoise=end", "--overwrite"}));
  all.output = order("shot.####.exr").output;
  EXPECT_EQ(optionsOf(all), with({"--compression=dwaa", "--alpha", "--half", "--layers=all", "--stamps",
                                  "--denoise=end", "--keep"}));
  all.output = order("shot.jpg").output;
  EXPECT_EQ(optionsOf(all), with({"--quality=70", "--stamps", "--denoise=end", "--keep"}));
  all.output = order("shot.png").output;
  EXPECT_EQ(optionsOf(all), with({"--bits=16", "--alpha", "--stamps", "--denoise=end", "--keep"}));
  EXPECT_EQ(optionsOf(order("a.png", "1, 5:9")), Words{"--frames=1,5:9"});
}

TEST_F(AnimationOrderTest, ProblemsAreSentences) {
  EXPECT_EQ(problemOf(order("shot.mp4")), "");
  EXPECT_EQ(problemOf(order("shot.####.exr", "1,5,9:12:2")), "");
  EXPECT_EQ(problemOf(order("shot.png", "all")), "");
  EXPECT_EQ(problemOf(AnimationOrder{}), "Choose a file for the output.");
  EXPECT_TRUE(problemOf(order("no/shot.png")).ends_with("Make it, or choose another place for the output."));
  for (const char* name : {"shot", "shot.txt", "shot.hdr"})
    EXPECT_TRUE(problemOf(order(name)).starts_with("The output needs a suffix")) << name;
  EXPECT_TRUE(problemOf(order("shot.##.mov")).starts_with("A movie has no place"));
  for (const char* frames : {"", "a", "1:", "1:2:3:4", "1,,2", "12345678", "all,1", "1;2"})
    EXPECT_TRUE(problemOf(order("shot.png", frames)).starts_with("The frames are numbers")) << frames;
  EXPECT_TRUE(problemOf(order("shot.png", std::string(5000, '1').c_str())).starts_with("The frames are"));
  EXPECT_TRUE(problemOf(order("shot.mp4", "1,3")).starts_with("The frames of a movie"));
}

TEST_F(AnimationOrderTest, AnExistingMovieIsReplacedOnlyWhenWanted) {
  AnimationOrder movie = order("shot.mp4");
  std::ofstream(movie.output) << "old";
  EXPECT_TRUE(problemOf(movie).find("exists already") != std::string::npos);
  movie.replace = true;
  EXPECT_EQ(problemOf(movie), "");
  AnimationOrder picture = order("shot.png");
  std::ofstream(picture.output) << "old";
  EXPECT_EQ(problemOf(picture), "") << "frames have other names";
}

TEST_F(AnimationOrderTest, TextGivesTheOrderBack) {
  AnimationOrder all = order("sh\"ot\n.mp4", "1:9");
  all.width = 3, all.height = 4, all.camera = "\xc3\xa4", all.samples = 5, all.codec = "av1",
  all.compression = "zip";
  all.quality = 6;
  all.alpha = all.half = all.allLayers = all.stamps = all.denoise = all.keep = all.replace = true;
  EXPECT_EQ(animationOrderOf(textOf(all)), all);
  EXPECT_EQ(animationOrderOf(textOf(order("a.png"))), order("a.png"));
  for (const char* text : {"", "[]", "{", "{}", R"({"output":"/a.png"})",
                           R"({"output":"/a.png","frames":"x"})", R"({"output":7,"frames":"1"})"})
    EXPECT_FALSE(animationOrderOf(text)) << text;
  const auto odd =
      animationOrderOf(R"({"output":"/a.png","frames":"1","width":-5,"samples":1e300,"alpha":"yes"})");
  ASSERT_TRUE(odd);
  EXPECT_EQ(odd->width, 0);
  EXPECT_EQ(odd->samples, 0);
  EXPECT_FALSE(odd->alpha);
}

} // namespace
