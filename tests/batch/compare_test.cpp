// `lumenara compare` and `lumenara history`.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <random>
#include <tuple>

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
  /// A picture that takes at least a few thousand bytes in every format.
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
  nlohmann::json stats(const Arguments& more = {}) {
    Arguments arguments{"--stats"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const Outcome outcome = compare(arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    return nlohmann::json::parse(outcome.out);
  }
  /// Ends with this code and one line that names `part`.
  static void expectOneLine(const Outcome& outcome, int code, const std::string& part) {
    EXPECT_EQ(outcome.code, code) << part << ": " << outcome.err;
    EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
    EXPECT_EQ(linesWith(outcome.err, part), 1) << outcome.err;
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

TEST_F(Pictures, ColumnsAndRowsSplitAtTheSlider) {
  for (const char* style : {"columns", "rows"}) {
    const bool columns = style[0] == 'c';
    const LONG side = columns ? 20 : 10;
    for (const double slider : {-1.0, -0.5, 0.0, 0.25, 1.0}) {
      ASSERT_EQ(compare({"-o", out, "--style", style, "--slider", std::to_string(slider)}).code, 0);
      const auto split = static_cast<LONG>(std::floor(side * 0.5 * (slider + 1)));
      for (LONG at = 0; at < side; ++at)
        ASSERT_EQ(columns ? pixel(at, 9) : pixel(19, at), at < split ? colorB : colorA) << style << slider;
    }
  }
}

TEST_F(Pictures, BlendMixesBySlider) {
  const std::pair<const char*, std::vector<LONG>> mixed[] = {
      {"-1", colorA}, {"-0.5", {175, 102, 0}}, {"0", {150, 105, 0}}, {"0.99", {100, 109, 0}}, {"1", colorB}};
  for (const auto& [slider, color] : mixed) {
    ASSERT_EQ(compare({"-o", out, "--style", "blend", "--slider", slider}).code, 0);
    EXPECT_EQ(pixel(3, 3), color) << slider;
  }
  ASSERT_EQ(compare({"-o", out}).code, 0); // without options
  EXPECT_EQ(pixel(3, 3), (std::vector<LONG>{150, 105, 0}));
}

TEST_F(Pictures, DifferenceIsAbsoluteWhateverTheSlider) {
  for (const char* slider : {"-1", "0", "1"}) {
    ASSERT_EQ(compare({"-o", out, "--style", "difference", "--slider", slider}).code, 0);
    EXPECT_EQ(pixel(3, 3), (std::vector<LONG>{100, 10, 0}));
  }
}

TEST_F(Pictures, PlacesAndSizes) {
  const std::vector<LONG> black{0, 0, 0};
  const auto show = [&](const Arguments& more) {
    Arguments arguments{"-o", out, "--slider", "-1", "--size", "40x30"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    ASSERT_EQ(compare(arguments).code, 0);
  };
  show({"--corner"});
  EXPECT_EQ(pixel(0, 0), colorA);
  EXPECT_EQ(pixel(19, 9), colorA);
  EXPECT_EQ(pixel(20, 9), black);
  EXPECT_EQ(pixel(19, 10), black);
  show({"--center"});
  EXPECT_EQ(pixel(9, 10), black);
  EXPECT_EQ(pixel(10, 9), black);
  EXPECT_EQ(pixel(10, 10), colorA);
  EXPECT_EQ(pixel(29, 19), colorA);
  EXPECT_EQ(pixel(30, 19), black);
  EXPECT_EQ(pixel(29, 20), black);
  for (const Arguments& scaled : {Arguments{"--scale"}, Arguments{}}) {
    show(scaled);
    EXPECT_EQ(pixel(0, 0), colorA);
    EXPECT_EQ(pixel(39, 29), colorA);
  }
}

TEST_F(Pictures, PicturesOfDifferentSizesTakeTheFirstOnes) {
  put(b, 7, 31, 100, 110, 0);
  auto json = stats({"-o", out, "--slider", "1"});
  EXPECT_EQ(json["width"], 20);
  EXPECT_EQ(json["height"], 10);
  EXPECT_DOUBLE_EQ(json["largest_difference"], 100.0 / 255);
  EXPECT_EQ(pixel(0, 0), colorB); // stretched
  EXPECT_EQ(pixel(19, 9), colorB);
  json = stats({"-o", out, "--slider", "1", "--center"});
  EXPECT_EQ(pixel(5, 0), (std::vector<LONG>{0, 0, 0}));
  EXPECT_EQ(pixel(6, 0), colorB); // (20 - 7) / 2
  EXPECT_EQ(pixel(12, 9), colorB);
  EXPECT_EQ(pixel(13, 9), (std::vector<LONG>{0, 0, 0}));
  EXPECT_DOUBLE_EQ(json["mean_difference"],
                   (7 * 110 + 13 * 300) / (20.0 * 3 * 255)); // A against black beside it
}

TEST_F(Pictures, StatisticsAreJson) {
  const auto json = stats();
  EXPECT_EQ(json.size(), 5u);
  EXPECT_EQ(json["width"], 20);
  EXPECT_EQ(json["height"], 10);
  EXPECT_EQ(json["mean_difference"], 22000 / (200.0 * 3 * 255));
  EXPECT_EQ(json["largest_difference"], 100.0 / 255);
  EXPECT_DOUBLE_EQ(json["psnr_db"], 10 * std::log10(3 * 65025.0 / (100 * 100 + 10 * 10)));
}

TEST_F(Pictures, EqualPicturesHaveNoRatio) {
  b = a;
  const auto json = stats();
  EXPECT_TRUE(json["psnr_db"].is_null());
  EXPECT_EQ(json["mean_difference"], 0.0);
  EXPECT_EQ(json["largest_difference"], 0.0);
}

TEST_F(Pictures, BlackAndWhiteDifferByAll) {
  put(a, 1, 1, 0, 0, 0);
  put(b, 1, 1, 255, 255, 255);
  const Outcome outcome = compare({"--stats"});
  const auto json = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(json["mean_difference"], 1.0);
  EXPECT_EQ(json["largest_difference"], 1.0);
  EXPECT_EQ(json["psnr_db"], 0.0);
  EXPECT_EQ(outcome.out.find("-0"), std::string::npos) << outcome.out;
}

TEST_F(Pictures, OneChannelOfOnePixelCounts) {
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(20, 10, 24), IMAGERESULT_OK);
  bitmap->Clear(200, 100, 0);
  bitmap->SetPixel(13, 7, 200, 100, 51);
  ASSERT_EQ(bitmap->Save(Filename(b.c_str()), FILTER_PNG), IMAGERESULT_OK);
  const auto json = stats();
  EXPECT_EQ(json["mean_difference"], 51 / (600.0 * 255));
  EXPECT_EQ(json["largest_difference"], 0.2);
  EXPECT_DOUBLE_EQ(json["psnr_db"], 10 * std::log10(600 * 25.0));
}

TEST_F(Pictures, FailAboveGuards) {
  EXPECT_EQ(compare({"--fail-above", "0.15"}).code, 0);
  const Outcome outcome = compare({"--fail-above", "0.14", "-o", out, "--style", "difference"});
  expectOneLine(outcome, 1, "more than 0.14");
  EXPECT_EQ(linesWith(outcome.err, a + " and " + b), 1) << outcome.err;
  EXPECT_EQ(pixel(3, 3), (std::vector<LONG>{100, 10, 0})); // the picture is written anyway
  EXPECT_EQ(lumenara({"compare", a, a, "--fail-above", "0"}).code, 0);
  EXPECT_EQ(nlohmann::json::parse(compare({"--fail-above", "0", "--stats"}).out)["width"], 20);
}

// A limit that is met exactly is not exceeded, whatever the number's binary form.
TEST_F(Pictures, ALimitThatIsJustMetPasses) {
  put(a, 20, 10, 0, 0, 0);
  for (const auto& [value, limit, below] : {std::tuple{51, "0.2", "0.1999999"},
                                            {102, "0.4", "0.3999999"},
                                            {153, "0.6", "0.5999999"},
                                            {255, "1", "0.9999999"}}) {
    put(b, 20, 10, value, value, value);
    EXPECT_EQ(compare({"--fail-above", limit}).code, 0) << limit;
    EXPECT_EQ(compare({"--fail-above", below}).code, 1) << below;
  }
}

TEST_F(Pictures, WrongUseNamesTheOption) {
  const std::pair<Arguments, const char*> wrong[] = {
      {{}, "nothing to do"},
      {{"-o", out, "--style", "circles"}, "--style"},
      {{"-o", out, "--style", ""}, "--style"},
      {{"-o", out, "--slider", "2"}, "--slider"},
      {{"-o", out, "--slider", "-1.001"}, "--slider"},
      {{"-o", out, "--slider", "left"}, "--slider"},
      {{"-o", out, "--slider", ""}, "--slider"},
      {{"-o", out, "--slider", "nan"}, "--slider"},
      {{"-o", out, "--slider", "inf"}, "--slider"},
      {{"-o", out, "--scale", "--center"}, "--center"},
      {{"-o", out, "--center", "--corner"}, "--corner"},
      {{"-o", folder / "out.gif"}, "out.gif"},
      {{"-o", folder / "out"}, "no suffix"},
      {{"--fail-above", "-1"}, "--fail-above"},
      {{"--fail-above", "1.01"}, "--fail-above"},
      {{"--fail-above", "nan"}, "--fail-above"},
      {{"--fail-above", "much"}, "--fail-above"},
      {{"--stats", "--size", "0x5"}, "--size"},
      {{"--stats", "--size", "32769x5"}, "--size"},
      {{"--stats", "--size", "20"}, "--size"},
  };
  for (const auto& [arguments, part] : wrong)
    expectOneLine(compare(arguments), 2, part);
  EXPECT_FALSE(fs::exists(out));
  expectOneLine(lumenara({"compare", a}), 2, "B");
}

// ---- What is read

/// A red quarter at the upper left of blue: every order of channels, rows and columns shows.
class PictureFormats : public Pictures, public testing::WithParamInterface<const char*> {
 protected:
  static constexpr LONG width = 32, height = 16;
  static bool isRed(LONG x, LONG y) { return x < width / 2 && y < height / 2; }

  void SetUp() override {
    a = folder / (std::string("a.") + GetParam());
    saveAs(b, FILTER_PNG);
    const std::pair<const char*, LONG> filters[] = {{"tif", FILTER_TIF}, {"png", FILTER_PNG},
                                                    {"jpg", FILTER_JPG}, {"exr", FILTER_EXR},
                                                    {"psd", FILTER_PSD}, {"bmp", FILTER_BMP}};
    for (const auto& [suffix, filter] : filters) {
      if (suffix == std::string(GetParam())) return saveAs(a, filter);
    }
    writeFile(a, GetParam() == std::string("tga") ? targa() : radiance());
  }
  static void saveAs(const std::string& file, LONG filter) {
    AutoAlloc<BaseBitmap> bitmap;
    ASSERT_EQ(bitmap->Init(width, height, 24), IMAGERESULT_OK);
    for (LONG y = 0; y < height; ++y) {
      for (LONG x = 0; x < width; ++x)
        bitmap->SetPixel(x, y, isRed(x, y) ? 255 : 0, 0, isRed(x, y) ? 0 : 255);
    }
    ASSERT_EQ(bitmap->Save(Filename(file.c_str()), filter), IMAGERESULT_OK);
  }
  /// Every pixel's bytes after the header, from the first row on.
  static std::string withPixels(std::string bytes, const std::string& red, const std::string& blue) {
    for (LONG y = 0; y < height; ++y) {
      for (LONG x = 0; x < width; ++x)
        bytes += isRed(x, y) ? red : blue;
    }
    return bytes;
  }
  static std::string targa() {
    const char header[] = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, width, 0, height, 0, 24, 0x20};
    return withPixels({header, sizeof header}, std::string("\0\0\xff", 3), std::string("\xff\0\0", 3));
  }
  /// Shared exponent: 128 / 256 * 2^(129 - 128) is 1.
  static std::string radiance() {
    const std::string size = "-Y " + std::to_string(height) + " +X " + std::to_string(width) + "\n";
    return withPixels("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n" + size, std::string("\x80\0\0\x81", 4),
                      std::string("\0\0\x80\x81", 4));
  }
};

TEST_P(PictureFormats, AreRead) {
  const auto json = stats();
  EXPECT_EQ(json["width"], width);
  EXPECT_EQ(json["height"], height);
  if (GetParam() == std::string("jpg")) {
    EXPECT_LT(json["mean_difference"], 0.01);
  } else {
    EXPECT_EQ(json["mean_difference"], 0.0);
  }
}

TEST_P(PictureFormats, ThatAreCutShortAreNot) {
  for (const int part : {2, 10}) {
    fs::resize_file(a, fs::file_size(a) - fs::file_size(a) / static_cast<unsigned>(part));
    expectOneLine(compare({"--stats"}), 3, a);
  }
  fs::resize_file(a, 0);
  expectOneLine(compare({"--stats"}), 3, a);
}

INSTANTIATE_TEST_SUITE_P(EachOf, PictureFormats,
                         testing::Values("tif", "png", "jpg", "exr", "hdr", "psd", "bmp", "tga"),
                         [](const auto& format) { return std::string(format.param); });

TEST_F(Pictures, UnreadablePicturesSayWhich) {
  writeFile(b, "no picture");
  expectOneLine(compare({"--stats"}), 3, b);
  expectOneLine(lumenara({"compare", b, a, "--stats"}), 3, b);
  fs::remove(b);
  expectOneLine(compare({"--stats"}), 3, b);
  fs::create_directory(b);
  expectOneLine(compare({"--stats"}), 3, b);
  expectOneLine(compare({"-o", out}), 3, b);
  EXPECT_FALSE(fs::exists(out));
}

// The header alone is refused; no memory is allocated for it.
TEST_F(Pictures, AHugePictureIsRefused) {
  const unsigned char header[] = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 24, 0x20};
  b = folder / "huge.tga";
  writeFile(b, {reinterpret_cast<const char*>(header), sizeof header});
  expectOneLine(compare({"--stats"}), 3, b);
}

// The composition needs two more bitmaps than the picture: without them it would be black.
TEST_F(Pictures, ASizeWithoutTheMemoryForItIsRefused) {
  const Limits limits{.memory = std::size_t{3} << 28};
  const Outcome outcome =
      run({"compare", a, b, "-o", out, "--size", "8000x8000", "--quiet"}, folder / "home", limits);
  expectOneLine(outcome, 5, "memory");
  EXPECT_FALSE(fs::exists(out));
}

TEST_F(Pictures, HistoryAddsListsAndClears) {
  EXPECT_EQ(history({"path"}).out, (folder / "home/plugins/Lumenara/history") + "\n");
  EXPECT_EQ(history({"list"}).out, "");
  EXPECT_EQ(history({"add", a}).code, 0);
  EXPECT_EQ(history({"add", a}).code, 0);
  const std::string listed = history({"list"}).out;
  const auto asJson = nlohmann::json::parse(history({"list", "--json"}).out);
  ASSERT_EQ(asJson.size(), 2u);
  EXPECT_EQ(listed.find(asJson[0]["time"].get<std::string>() + " " + asJson[0]["name"].get<std::string>()),
            0u);
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

TEST_F(Pictures, HistoryFailuresNameTheFile) {
  expectOneLine(history({"add", folder / "none.png"}), 3, "none.png");
  writeFile(b, "no picture");
  expectOneLine(history({"add", b}), 3, b);
  writeFile(b, readFile(a).substr(0, 60));
  expectOneLine(history({"add", b}), 3, b);
  EXPECT_EQ(history({"list"}).out, "");
  EXPECT_EQ(history({}).code, 2);
  EXPECT_EQ(history({"add"}).code, 2);
  EXPECT_EQ(history({"show"}).code, 2);
}

TEST_F(Pictures, HistoryLeavesOtherFilesAlone) {
  ASSERT_EQ(history({"add", a}).code, 0);
  const std::string notes = folder / "home/plugins/Lumenara/history/notes.txt";
  writeFile(notes, "mine");
  EXPECT_EQ(lineCount(history({"list"}).out), 1);
  EXPECT_EQ(history({"clear"}).code, 0);
  EXPECT_EQ(readFile(notes), "mine");
}

TEST_F(Pictures, AHistoryThatCannotBeClearedSaysSo) {
  ASSERT_EQ(history({"add", a}).code, 0);
  const auto closed =
      fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read | fs::perms::others_exec;
  fs::permissions(folder.path(), closed);
  fs::permissions(folder / "home", closed);
  fs::permissions(folder / "home/plugins/Lumenara/history", closed);
  const Outcome outcome = run({"history", "clear"}, folder / "home", {.unprivileged = true});
  EXPECT_EQ(outcome.code, 4) << outcome.err;
  EXPECT_EQ(linesWith(outcome.err, "not deleted"), 1) << outcome.err;
  fs::permissions(folder / "home/plugins/Lumenara/history", fs::perms::owner_all);
  fs::permissions(folder / "home", fs::perms::owner_all);
  fs::permissions(folder.path(), fs::perms::owner_all);
  EXPECT_EQ(lineCount(history({"list"}).out), 1);
}

// The limit leaves room for what the program says, whose standard error is a file too.
TEST_F(Pictures, AFullDiskIsReportedOnceAndLeavesNothing) {
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
