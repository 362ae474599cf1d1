// `lumenara compare` and `lumenara history`.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>

#include <nlohmann/json.hpp>

#include "c4d_bitmap.h"
#include "program_run.h"

namespace batchtest {
namespace {

namespace fs = std::filesystem;

class Pictures : public testing::Test {
 protected:
  Outcome lumenara(const Arguments& arguments) { return run(arguments, folder / "home"); }
  Outcome compare(const Arguments& more) {
    Arguments arguments{"compare", a, b};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return lumenara(arguments);
  }
  Outcome history(const Arguments& more) {
    Arguments arguments{"history"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return lumenara(arguments);
  }
  void put(const std::string& file, LONG width, LONG height, LONG r, LONG g, LONG blue) {
    AutoAlloc<BaseBitmap> bitmap;
    ASSERT_EQ(bitmap->Init(width, height, 24), IMAGERESULT_OK);
    bitmap->Clear(r, g, blue);
    ASSERT_EQ(bitmap->Save(Filename(file.c_str()), FILTER_PNG), IMAGERESULT_OK);
  }
  /// A picture that no format makes smaller than a few thousand bytes.
  void putNoise(const std::string& file) {
    std::mt19937 random(3);
    AutoAlloc<BaseBitmap> bitmap;
    ASSERT_EQ(bitmap->Init(60, 40, 24), IMAGERESULT_OK);
    for (LONG y = 0; y < 40; ++y) {
      for (LONG x = 0; x < 60; ++x) {
        const auto word = static_cast<LONG>(random() & 0xffffff);
        bitmap->SetPixel(x, y, word >> 16, word >> 8, word);
      }
    }
    ASSERT_EQ(bitmap->Save(Filename(file.c_str()), FILTER_PNG), IMAGERESULT_OK);
  }
  void SetUp() override {
    put(a, 20, 10, 200, 100, 0);
    put(b, 20, 10, 100, 110, 0);
  }
  /// The colour at a place of the picture that was written.
  std::vector<LONG> pixel(LONG x, LONG y) {
    AutoAlloc<BaseBitmap> bitmap;
    EXPECT_EQ(bitmap->Init(Filename(out.c_str())), IMAGERESULT_OK);
    UWORD r = 0, g = 0, blue = 0;
    bitmap->GetPixel(x, y, &r, &g, &blue);
    return {r, g, blue};
  }

  TempFolder folder;
  std::string a = folder / "a.png", b = folder / "b.png", out = folder / "out.png";
  const std::vector<LONG> colorA{200, 100, 0}, colorB{100, 110, 0};
};

TEST_F(Pictures, StylesAreTheViewers) {
  ASSERT_EQ(compare({"-o", out, "--style", "columns"}).code, 0);
  EXPECT_EQ(pixel(9, 0), colorB);
  EXPECT_EQ(pixel(10, 0), colorA);
  ASSERT_EQ(compare({"-o", out, "--style", "rows", "--slider", "-0.5"}).code, 0);
  EXPECT_EQ(pixel(0, 1), colorB);
  EXPECT_EQ(pixel(0, 2), colorA);
  ASSERT_EQ(compare({"-o", out}).code, 0);
  EXPECT_EQ(pixel(3, 3), (std::vector<LONG>{150, 105, 0}));
  ASSERT_EQ(compare({"-o", out, "--slider", "1"}).code, 0);
  EXPECT_EQ(pixel(3, 3), colorB);
  ASSERT_EQ(compare({"-o", out, "--style", "difference"}).code, 0);
  EXPECT_EQ(pixel(3, 3), (std::vector<LONG>{100, 10, 0}));
}

TEST_F(Pictures, PlacesAndSizes) {
  ASSERT_EQ(compare({"-o", out, "--slider", "-1", "--size", "40x30", "--corner"}).code, 0);
  EXPECT_EQ(pixel(0, 0), colorA);
  EXPECT_EQ(pixel(19, 9), colorA);
  EXPECT_EQ(pixel(20, 9), (std::vector<LONG>{0, 0, 0}));
  ASSERT_EQ(compare({"-o", out, "--slider", "-1", "--size", "40x30", "--center"}).code, 0);
  EXPECT_EQ(pixel(0, 0), (std::vector<LONG>{0, 0, 0}));
  EXPECT_EQ(pixel(10, 10), colorA);
  ASSERT_EQ(compare({"-o", out, "--slider", "-1", "--size", "40x30", "--scale"}).code, 0);
  EXPECT_EQ(pixel(39, 29), colorA);
}

TEST_F(Pictures, StatisticsAreJson) {
  const Outcome outcome = compare({"--stats"});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  const auto json = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(json["width"], 20);
  EXPECT_EQ(json["height"], 10);
  EXPECT_NEAR(json["mean_difference"].get<double>(), 110.0 / 3 / 255, 1e-9);
  EXPECT_NEAR(json["largest_difference"].get<double>(), 100.0 / 255, 1e-9);
  EXPECT_NEAR(json["psnr_db"].get<double>(), -10 * std::log10((100.0 * 100 + 100) / 3 / 255 / 255), 1e-6);
  const Outcome same = lumenara({"compare", a, a, "--stats"});
  EXPECT_TRUE(nlohmann::json::parse(same.out)["psnr_db"].is_null());
  EXPECT_EQ(nlohmann::json::parse(same.out)["mean_difference"], 0.0);
}

TEST_F(Pictures, FailAboveGuards) {
  EXPECT_EQ(compare({"--fail-above", "0.15"}).code, 0);
  const Outcome outcome = compare({"--fail-above", "0.14", "-o", out, "--style", "difference"});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
  EXPECT_EQ(pixel(3, 3), (std::vector<LONG>{100, 10, 0}));
  EXPECT_EQ(lumenara({"compare", a, a, "--fail-above", "0"}).code, 0);
}

TEST_F(Pictures, WrongUseAndUnreadablePicturesSayWhat) {
  for (const Arguments& wrong :
       {Arguments{}, Arguments{"-o", out, "--style", "circles"}, Arguments{"-o", out, "--slider", "2"},
        Arguments{"-o", out, "--scale", "--center"}, Arguments{"-o", folder / "out.gif"},
        Arguments{"--fail-above", "-1"}, Arguments{"--stats", "--size", "0x5"}}) {
    const Outcome outcome = compare(wrong);
    EXPECT_EQ(outcome.code, 2) << outcome.err;
    EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
  }
  writeFile(b, "no picture");
  EXPECT_EQ(compare({"--stats"}).code, 3);
  fs::remove(b);
  const Outcome outcome = compare({"--stats"});
  EXPECT_EQ(outcome.code, 3);
  EXPECT_NE(outcome.err.find(b), std::string::npos);
  EXPECT_EQ(lineCount(outcome.err), 1);
}

TEST_F(Pictures, HistoryAddsListsAndClears) {
  EXPECT_EQ(history({"path"}).out, (folder / "home/plugins/Lumenara/history") + "\n");
  EXPECT_EQ(history({"list"}).out, "");
  EXPECT_EQ(history({"add", a}).code, 0);
  EXPECT_EQ(history({"add", a}).code, 0);
  const std::string listed = history({"list"}).out;
  EXPECT_EQ(lineCount(listed), 2);
  EXPECT_NE(listed.find(" a.png[001].tif\n"), std::string::npos) << listed;
  EXPECT_NE(listed.find(" a.png[002].tif\n"), std::string::npos) << listed;
  out = folder / "home/plugins/Lumenara/history/a.png[001].tif";
  EXPECT_EQ(pixel(19, 9), colorA);
  EXPECT_EQ(history({"clear"}).code, 0);
  EXPECT_EQ(history({"list"}).out, "");
}

TEST_F(Pictures, HistoryKeepsItsSize) {
  ASSERT_EQ(lumenara({"settings", "set", "LM_HISTORY_SIZE", "2"}).code, 0);
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(history({"add", b}).code, 0);
  EXPECT_EQ(lineCount(history({"list"}).out), 2);
  EXPECT_EQ(lumenara({"settings", "get", "LM_HISTORY_AUTOLOAD"}).out, "1\n");
}

TEST_F(Pictures, HistoryFailuresSayWhat) {
  EXPECT_EQ(history({"add", folder / "none.png"}).code, 3);
  EXPECT_EQ(history({}).code, 2);
}

// The limit leaves room for what the program says, whose standard error is a file too.
TEST_F(Pictures, AFullDiskIsToldOnceAndLeavesNothing) {
  putNoise(a);
  const Limits full{.fileSize = 1500};
  const Outcome added = run({"history", "add", a}, folder / "home", full);
  EXPECT_EQ(added.code, 4) << added.err;
  EXPECT_EQ(linesWith(added.err, "a.png[001].tif"), 1) << added.err;
  EXPECT_EQ(linesWith(added.err, "free space"), 1) << added.err;
  EXPECT_EQ(history({"list"}).out, "") << "no broken picture stays";

  const Outcome compared = run({"compare", a, a, "-o", out}, folder / "home", full);
  EXPECT_EQ(compared.code, 4) << compared.err;
  EXPECT_EQ(linesWith(compared.err, out), 1) << compared.err;
  EXPECT_EQ(linesWith(compared.err, "free space"), 1) << compared.err;
  EXPECT_FALSE(fs::exists(out));
}

} // namespace
} // namespace batchtest
