// `lumenara render --resumable` and `--resume`.
#include <gtest/gtest.h>

#include <filesystem>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

class Resume : public testing::Test {
 protected:
  Outcome render(const std::string& name, const Arguments& more, int code = 0) {
    Arguments arguments{"render", scene, "-o", folder / name, "--sampling", "even", "--noise", "0"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    Outcome outcome = run(arguments, folder / "home");
    EXPECT_EQ(outcome.code, code) << outcome.err;
    return outcome;
  }
  void expectRefused(const Arguments& more, int code, const std::string& part) {
    Arguments all = more;
    all.push_back("--quiet");
    const Outcome outcome = render("refused.exr", all, code);
    EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
    EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(folder / "refused.exr"));
  }

  TempFolder folder;
  std::string scene = writeTinyScene(folder.path(), {false, true});
};

TEST_F(Resume, AddsSamplesToAFile) {
  render("whole.exr", {"--size", "48x32", "--samples", "24", "--resumable"});
  render("first.exr", {"--size", "48x32", "--samples", "16", "--resumable", "--half"});
  render("rest.exr", {"--resume", folder / "first.exr", "--samples", "8"}); // at the size of the file
  const Picture whole = readPicture(folder / "whole.exr"), rest = readPicture(folder / "rest.exr");
  ASSERT_EQ(rest.width, 48);
  // Bit for bit; the picture alone, because the samples were not asked for again.
  std::size_t same = 0;
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 48; ++x)
      same += whole.at(x, y, 0) == rest.at(x, y, 0) && whole.at(x, y, 1) == rest.at(x, y, 1);
  EXPECT_EQ(same, 48u * 32);
  EXPECT_LT(std::filesystem::file_size(folder / "rest.exr"),
            std::filesystem::file_size(folder / "whole.exr"));
}

TEST_F(Resume, RefusesInOneLine) {
  render("kept.exr", {"--size", "32x24", "--samples", "4", "--resumable"});
  render("plain.exr", {"--size", "32x24", "--samples", "4"});
  const std::string kept = folder / "kept.exr";
  expectRefused({"--resume", folder / "plain.exr"}, 3, "no samples");
  expectRefused({"--resume", folder / "absent.exr"}, 3, "absent.exr");
  writeFile(folder / "foreign.exr", "P6 1 1 255 abc");
  expectRefused({"--resume", folder / "foreign.exr"}, 3, "foreign.exr");
  const std::string bytes = readFile(kept);
  writeFile(folder / "short.exr", bytes.substr(0, bytes.size() / 2));
  expectRefused({"--resume", folder / "short.exr"}, 3, "short.exr");
  expectRefused({"--resume", kept, "--size", "24x32"}, 2, "32 x 24");
  expectRefused({"--resume", kept, "--camera", "Back"}, 2, "another");
  expectRefused({"--resume", kept, "--frame", "15"}, 2, "another");
  expectRefused({"--resume", kept, "--region", "0,0,9,9"}, 2, "another region");
  expectRefused({"--resume", kept, "--set", "LM_OPT_15006=5"}, 2, "reconstruction filter");
  expectRefused({"--resume", kept, "--layers", "depth"}, 2, "--layers");
  expectRefused({"--resume", kept, "--set", "LM_OPT_ENGINE=1"}, 2, "standard engine");
  TinyScene other;
  other.animated = true;
  other.glow = 3;
  scene = writeTinyScene(folder.path(), other);
  expectRefused({"--resume", kept}, 2, "another scene");
}

TEST_F(Resume, TheSamplesNeedAnExr) {
  const Outcome outcome = render("picture.png", {"--samples", "1", "--resumable"}, 2);
  EXPECT_NE(outcome.err.find("--resumable has no effect"), std::string::npos) << outcome.err;
}

} // namespace
} // namespace batchtest
