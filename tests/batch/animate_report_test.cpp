// The progress of an animation for other programs.
#include <sstream>

#include "animate_fixture.h"

namespace batchtest {
namespace {

class AnimationReport : public Animate {
 protected:
  static std::vector<Json> linesOf(const Outcome& outcome) {
    std::vector<Json> lines;
    std::istringstream text(outcome.out);
    for (std::string line; std::getline(text, line);)
      lines.push_back(Json::parse(line));
    return lines;
  }
  static std::vector<int> framesOf(const std::vector<Json>& lines) {
    std::vector<int> frames;
    for (const Json& line : lines)
      if (line["event"] == "progress" && (frames.empty() || frames.back() != line["frame"]))
        frames.push_back(line["frame"]);
    return frames;
  }
};

/// The render thread's pictures, the host's pictures and movies each have a loop of their own.
class EveryKind : public AnimationReport, public testing::WithParamInterface<const char*> {};

TEST_P(EveryKind, EachFrameHasALineAndPartsNeverDecrease) {
  const std::vector<Json> lines = linesOf(animate(GetParam(), "2:6:2", {"--quiet", "--json"}));
  ASSERT_GE(lines.size(), 5u);
  EXPECT_EQ(lines.front(),
            (Json{{"event", "begin"}, {"frames", 3}, {"kept", 0}, {"output", out(GetParam())}}));
  EXPECT_EQ(framesOf(lines), (std::vector<int>{2, 4, 6}));
  double part = 0;
  for (const Json& line : lines) {
    if (line["event"] != "progress") continue;
    EXPECT_GE(line["part"], part);
    part = line["part"];
    EXPECT_LE(part, 1);
  }
  EXPECT_EQ(lines.back()["event"], "end");
  EXPECT_EQ(lines.back()["frames"], 3);
  EXPECT_GE(lines.back()["seconds"], 0);
}

INSTANTIATE_TEST_SUITE_P(Outputs, EveryKind, testing::Values("a.tif", "a.####.png", "a.mov", "a.mp4"),
                         [](const auto& one) {
                           std::string name = one.param;
                           std::erase_if(name, [](char c) { return c == '.' || c == '#'; });
                           return name;
                         });

TEST_F(AnimationReport, KeptPicturesAreCounted) {
  animate("a.png", "0:1", {"--quiet"});
  const std::vector<Json> some = linesOf(animate("a.png", "0:3", {"--quiet", "--json", "--keep"}));
  EXPECT_EQ(some.front()["frames"], 2);
  EXPECT_EQ(some.front()["kept"], 2);
  EXPECT_EQ(framesOf(some), (std::vector<int>{2, 3}));
  const std::vector<Json> none = linesOf(animate("a.png", "0:3", {"--quiet", "--json", "--keep"}));
  ASSERT_EQ(none.size(), 2u);
  EXPECT_EQ(none[0]["kept"], 4);
  EXPECT_EQ(none[1]["event"], "end");
}

TEST_F(AnimationReport, ThePreviewIsASmallPictureOfTheRender) {
  animate("a.tif", "0:2", {"--quiet", "--size", "640x320", "--preview", out("seen.png")});
  const Picture seen = readPicture(out("seen.png"));
  EXPECT_EQ(seen.width, 256);
  EXPECT_EQ(seen.height, 128);
  EXPECT_GT(seen.mean(), 0.05) << "the finished frame";
  animate("b.png", "0", {"--quiet", "--size", "30x600", "--preview", out("tall.jpg")});
  const Picture tall = readPicture(out("tall.jpg"));
  EXPECT_EQ(tall.width, 13);
  EXPECT_EQ(tall.height, 256);
  EXPECT_GT(tall.mean(), 0.05);
}

TEST_F(AnimationReport, APreviewThatCannotBeWrittenDoesNotEndTheRender) {
  animate("a.png", "0:1", {"--quiet", "--preview", out("no/seen.png")});
  EXPECT_EQ(written(), (Names{"a0000.png", "a0001.png"}));
  expectRefusal(animate("b.png", "0:1", {"--preview", out("seen.xyz")}, 2), {"unknown suffix"});
}

} // namespace
} // namespace batchtest
