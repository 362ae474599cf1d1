// Mistyped words, readable names of settings, and pictures on standard output.
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

class Words : public testing::Test {
 protected:
  Outcome call(const Arguments& arguments) { return run(arguments, folder / "home"); }
  void expectAdvice(const Arguments& arguments, const std::string& advice) {
    const Outcome outcome = call(arguments);
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
    EXPECT_NE(outcome.err.find(advice), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out, "");
  }
  std::string scene() { return writeTinyScene(folder.path()); }
  TempFolder folder;
};

TEST_F(Words, AMistypedCommandOrOptionGetsTheNearest) {
  expectAdvice({"rendr", "a.glb"}, "lumenara has no command rendr; did you mean render?");
  expectAdvice({"anim"}, "did you mean animate?");
  expectAdvice({"settings", "lits"}, "lumenara settings has no command lits; did you mean list?");
  expectAdvice({"render", "a.glb", "-o", "a.png", "--sampels", "3"},
               "lumenara render has no option --sampels; did you mean --samples?");
  expectAdvice({"render", "a.glb", "-o", "a.png", "--sampels=3"}, "did you mean --samples?");
  expectAdvice({"settings", "list", "--hom", "x"}, "did you mean --home?");
}

TEST_F(Words, AStrangeWordGetsNoAdvice) {
  const Outcome outcome = call({"xylophone"});
  EXPECT_EQ(outcome.code, 2);
  EXPECT_EQ(outcome.err.find("did you mean"), std::string::npos) << outcome.err;
  EXPECT_NE(outcome.err.find("has no command xylophone"), std::string::npos) << outcome.err;
}

TEST_F(Words, EverySettingHasOneReadableName) {
  std::istringstream lines(call({"settings", "list", "--names"}).out);
  std::set<std::string> names;
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    const std::string name = line.substr(0, line.find('\t'));
    EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789.-"), std::string::npos) << name;
    EXPECT_FALSE(name.find("15") != std::string::npos || name.find("200") != std::string::npos) << name;
    names.insert(name);
  }
  EXPECT_EQ(static_cast<int>(names.size()), count) << "unique";
  for (const char* name : {"opt.gi", "mat.bump", "stamp.render-time", "anaglyph.right", "enabled"})
    EXPECT_TRUE(names.contains(name)) << name;
}

TEST_F(Words, AReadableNameIsTheSetting) {
  EXPECT_EQ(call({"settings", "set", "opt.gi", "0"}).code, 0);
  for (const char* name : {"opt.gi", "OPT.GI", "LM_OPT_15014", "15014"})
    EXPECT_EQ(call({"settings", "get", name}).out, "0\n") << name;
  EXPECT_EQ(call({"settings", "get", "opt.ao"}).out, "1\n");
  expectAdvice({"settings", "get", "opt.gii"}, "there is no setting opt.gii; did you mean opt.gi?");
  expectAdvice({"settings", "get", "LM_STEROE"}, "did you mean LM_STEREO?");
  expectAdvice({"render", scene(), "-o", folder / "a.png", "--set", "opt.shadow=0"},
               "did you mean opt.shadows?");
}

TEST_F(Words, APictureGoesToStandardOutput) {
  const Arguments render{"render", scene(), "--size", "40x30", "--samples", "1", "-o"};
  const auto to = [&](const std::string& name) {
    Arguments arguments = render;
    arguments.push_back(name);
    return call(arguments);
  };
  EXPECT_EQ(to(folder / "file.png").code, 0);
  const Outcome png = to("-");
  EXPECT_EQ(png.code, 0) << png.err;
  EXPECT_EQ(png.out.substr(0, 8), "\x89PNG\r\n\x1a\n");
  writeFile(folder.path() / "out.png", png.out);
  EXPECT_EQ(call({"compare", folder / "out.png", folder / "file.png", "--fail-above", "0", "--quiet"}).code,
            0);
  const Outcome jpg = to("-.jpg");
  EXPECT_EQ(jpg.code, 0) << jpg.err;
  EXPECT_EQ(jpg.out.substr(0, 3), "\xff\xd8\xff");
  EXPECT_EQ(to("-.xyz").code, 2);
  expectAdvice({"compare", folder / "out.png", folder / "file.png", "--stats", "-o", "-"},
               "name a file for the picture");
}

TEST_F(Words, OtherOutputsAreFiles) {
  expectAdvice({"grab", "-o", "-"}, "name one in place of -");
  expectAdvice({"farm", "submit", scene(), "-o", "-.exr", "--split-samples", "2"},
               "name one in place of -.exr");
  const Outcome outcome = call({"render", scene(), "-o", folder / "a.png", "--size", "8x8", "--samples", "1",
                                "--stats", folder / "-"});
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_NE(readFile(folder.path() / "-").find("{"), std::string::npos);
}

TEST_F(Words, AMistypedStyleNamesTheStyles) {
  expectAdvice(
      {"compare", "a.png", "b.png", "-o", "c.png", "--style", "colums"},
      "--style colums is not a style; write columns, rows, blend or difference; did you mean columns?");
}

} // namespace
} // namespace batchtest
