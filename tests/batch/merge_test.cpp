// `lumenara render --part` and `lumenara merge`.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "program_run.h"
#include "tiny_scene.h"

namespace batchtest {
namespace {

class Merge : public testing::Test {
 protected:
  Outcome render(const std::string& name, const Arguments& more, int code = 0) {
    Arguments arguments{"render", scene,       "-o", folder / name, "--size",
                        "48x32",  "--samples", "24", "--quiet"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    Outcome outcome = run(arguments, folder / "home");
    EXPECT_EQ(outcome.code, code) << outcome.err;
    return outcome;
  }
  Outcome merge(const Arguments& films, const std::string& to, int code = 0, const Arguments& more = {}) {
    Arguments arguments{"merge", "-o", folder / to, "--quiet"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    for (const std::string& film : films)
      arguments.push_back(folder / film);
    Outcome outcome = run(arguments, folder / "home");
    EXPECT_EQ(outcome.code, code) << outcome.err;
    return outcome;
  }
  void expectRefused(const Arguments& films, int code, const std::string& part) {
    const Outcome outcome = merge(films, "refused.exr", code);
    EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
    EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(folder / "refused.exr"));
  }

  TempFolder folder;
  std::string scene = writeTinyScene(folder.path(), {false, false, 2});
};

TEST_F(Merge, PartsGiveThePictureOfAllSamples) {
  render("whole.exr", {"--sampling", "even", "--noise", "0"});
  for (const char* number : {"1", "2", "3"})
    render(std::string(number) + ".exr", {"--part", std::string(number) + "/3"});
  merge({"3.exr", "1.exr", "2.exr"}, "merged.exr");
  merge({"1.exr", "2.exr", "3.exr"}, "again.exr");
  const Picture whole = readPicture(folder / "whole.exr"), merged = readPicture(folder / "merged.exr");
  ASSERT_EQ(merged.width, 48);
  ASSERT_EQ(merged.pixels.size(), whole.pixels.size());
  EXPECT_GT(whole.spread(), 0);
  for (std::size_t i = 0; i < whole.pixels.size(); ++i)
    ASSERT_NEAR(merged.pixels[i], whole.pixels[i], 1e-5f * (1 + std::abs(whole.pixels[i]))) << i;
  EXPECT_EQ(readPicture(folder / "again.exr").pixels, merged.pixels) << "bit for bit";
  // The samples were not asked for.
  EXPECT_LT(std::filesystem::file_size(folder / "merged.exr"), std::filesystem::file_size(folder / "1.exr"));
}

TEST_F(Merge, OtherFormatsAndMoreFilms) {
  for (const char* number : {"1", "2", "3", "4"})
    render(std::string(number) + ".exr", {"--part", std::string(number) + "/4"});
  merge({"1.exr", "2.exr"}, "low.exr", 0, {"--resumable"});
  merge({"low.exr", "3.exr", "4.exr"}, "all.png");
  const Picture picture = readPicture(folder / "all.png");
  EXPECT_EQ(picture.width, 48);
  EXPECT_GT(picture.spread(), 0);
}

TEST_F(Merge, RefusesInOneLine) {
  render("1.exr", {"--part", "1/3"});
  render("3.exr", {"--part", "3/3"});
  render("other.exr", {"--part", "2/3", "--camera", "Back"});
  render("plain.exr", {});
  expectRefused({"1.exr", "3.exr"}, 2, "the samples 8 to 15 are missing between");
  expectRefused({"1.exr", "1.exr"}, 2, "named twice");
  expectRefused({"1.exr", "other.exr"}, 2, "camera or frame differs");
  expectRefused({"1.exr", "plain.exr"}, 3, "no samples");
  expectRefused({"absent.exr"}, 3, "absent.exr");
  const std::string bytes = readFile(folder / "1.exr");
  writeFile(folder / "short.exr", bytes.substr(0, bytes.size() / 2));
  expectRefused({"short.exr"}, 3, "short.exr");
}

TEST_F(Merge, PartsAreCheckedBeforeTheRender) {
  EXPECT_NE(render("a.exr", {"--part", "0/3"}, 2).err.find("out of range"), std::string::npos);
  EXPECT_NE(render("a.exr", {"--part", "4/3"}, 2).err.find("out of range"), std::string::npos);
  EXPECT_NE(render("a.exr", {"--part", "half"}, 2).err.find("is not a part"), std::string::npos);
  EXPECT_NE(render("a.exr", {"--part", "1/25"}, 2).err.find("only 24 samples"), std::string::npos);
  EXPECT_NE(render("a.png", {"--part", "1/2"}, 2).err.find("has no effect on"), std::string::npos);
  EXPECT_NE(render("a.exr", {"--part", "1/2", "--noise", "0.1"}, 2).err.find("--noise"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(folder / "a.exr"));
}

} // namespace
} // namespace batchtest
