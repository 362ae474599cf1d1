// `lumenara compare --metric`.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include <nlohmann/json.hpp>

#include "c4d_bitmap.h"
#include "program_run.h"

namespace batchtest {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

class Measure : public testing::Test {
 protected:
  void SetUp() override {
    fs::create_directory(a);
    fs::create_directory(b);
  }
  Outcome compare(const std::string& first, const std::string& second, const Arguments& more) {
    Arguments arguments{"compare", first, second};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments, folder / "home");
  }
  static void put(const std::string& file, LONG grey, LONG side = 16) {
    AutoAlloc<BaseBitmap> bitmap;
    ASSERT_EQ(bitmap->Init(side, side, 24), IMAGERESULT_OK);
    bitmap->Clear(grey, grey, grey);
    ASSERT_EQ(bitmap->Save(Filename(file.c_str()), FILTER_PNG), IMAGERESULT_OK);
  }
  /// A TIFF of one grey float.
  static void putFloats(const std::string& file, float value) {
    std::string bytes("II*\0\x08\0\0\0", 8);
    const auto number = [&](unsigned n, int count) {
      for (int i = 0; i < count; ++i)
        bytes += static_cast<char>(n >> (8 * i));
    };
    const unsigned entries[][4] = {{256, 3, 1, 1}, {257, 3, 1, 1},   {258, 3, 1, 32}, {259, 3, 1, 1},
                                   {262, 3, 1, 1}, {273, 4, 1, 134}, {277, 3, 1, 1},  {278, 3, 1, 1},
                                   {279, 4, 1, 4}, {339, 3, 1, 3}};
    number(10, 2);
    for (const auto& [tag, type, count, entry] : entries)
      number(tag, 2), number(type, 2), number(count, 4), number(entry, 4);
    number(0, 4);
    ASSERT_EQ(bytes.size(), 134u);
    bytes.append(reinterpret_cast<const char*>(&value), 4);
    writeFile(file, bytes);
  }
  static void expectOneLine(const Outcome& outcome, int code, const std::string& part) {
    EXPECT_EQ(outcome.code, code) << part << ": " << outcome.err;
    EXPECT_EQ(lineCount(outcome.err), 1) << outcome.err;
    EXPECT_EQ(linesWith(outcome.err, part), 1) << outcome.err;
  }
  Json jsonOf(const std::string& file) { return Json::parse(readFile(file)); }

  TempFolder folder;
  std::string a = folder / "a", b = folder / "b", json = folder / "report.json",
              html = folder / "report.html";
};

TEST_F(Measure, TwoFilesGiveOneLineOfValues) {
  put(a + "/x.png", 100);
  put(b + "/y.png", 151);
  const Outcome outcome = compare(a + "/x.png", b + "/y.png", {"--metric", "rmse,psnr"});
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "x.png: rmse 0.2, psnr 13.9794\n"); // 51 / 255
  EXPECT_EQ(compare(a + "/x.png", b + "/y.png", {"--metric", "rmse", "--quiet"}).out, "");
}

TEST_F(Measure, ALimitIsOfTheFirstMetricOrOfNamedOnes) {
  put(a + "/x.png", 100);
  put(b + "/x.png", 151);
  const std::string x = a + "/x.png", y = b + "/x.png";
  EXPECT_EQ(compare(x, y, {"--metric", "rmse,psnr", "--fail-above", "0.21"}).code, 0);
  expectOneLine(compare(x, y, {"--metric", "rmse,psnr", "--fail-above", "0.19"}), 1, "rmse is 0.2, above");
  // A ratio is better when it is higher.
  EXPECT_EQ(compare(x, y, {"--metric", "rmse,psnr", "--fail-above", "psnr=13"}).code, 0);
  expectOneLine(compare(x, y, {"--metric", "rmse,psnr", "--fail-above", "psnr=14,rmse=0.3"}), 1,
                "psnr is 13.9794, below the limit 14");
  EXPECT_EQ(compare(x, x, {"--metric", "psnr,ssim", "--fail-above", "psnr=99,ssim=1"}).code, 0);
}

TEST_F(Measure, FoldersArePairedByName) {
  for (const char* name : {"2.png", "1.png"}) {
    put(a + "/" + name, 100);
    put(b + "/" + name, *name == '2' ? 151 : 100);
  }
  writeFile(a + "/notes.txt", "no picture");
  writeFile(a + "/.hidden.png", "no picture");
  fs::create_directory(a + "/folder.png");
  const Outcome outcome = compare(a, b, {"--metric", "rmse", "--fail-above", "0.1", "--json", json});
  expectOneLine(outcome, 1, "2.png: rmse");
  EXPECT_EQ(outcome.out, "1.png: rmse 0\n2.png: rmse 0.2\n");
  const Json report = jsonOf(json);
  EXPECT_EQ(report["metrics"], Json({"rmse"}));
  EXPECT_EQ(report["limits"], Json({{"rmse", 0.1}}));
  ASSERT_EQ(report["pairs"].size(), 2u);
  EXPECT_EQ(report["pairs"][1]["name"], "2.png");
  EXPECT_NEAR(report["pairs"][1]["rmse"].get<double>(), 0.2, 1e-7);
  EXPECT_EQ(report["pairs"][0]["failed"], Json::array());
  EXPECT_EQ(report["pairs"][1]["failed"], Json({"rmse"}));
  EXPECT_EQ(report["pairs"][0]["width"], 16);
  EXPECT_EQ(report["worst"]["rmse"]["name"], "2.png");
  EXPECT_EQ(report["problems"], Json::array());
  EXPECT_EQ(report["passed"], false);
  EXPECT_EQ(report["exit_code"], 1);
}

TEST_F(Measure, WithoutAMetricAReportHasAll) {
  put(a + "/x.png", 100);
  EXPECT_EQ(compare(a, a, {"--json", json, "--quiet"}).code, 0);
  const Json pair = jsonOf(json)["pairs"][0];
  EXPECT_EQ(pair["flip"], 0.0);
  EXPECT_TRUE(pair["psnr"].is_null()); // infinite
  EXPECT_EQ(pair["ssim"], 1.0);
  EXPECT_EQ(pair["rmse"], 0.0);
}

TEST_F(Measure, ThePageHasEverythingInIt) {
  const std::string name = "a&<b>.png";
  put(a + "/" + name, 100);
  put(b + "/" + name, 151);
  EXPECT_EQ(compare(a, b, {"--metric", "flip,rmse", "--fail-above", "rmse=0.1", "--html", html}).code, 1);
  const std::string page = readFile(html);
  std::size_t pictures = 0;
  for (std::size_t at = 0; (at = page.find("data:image/jpeg;base64,/9j/", at)) != std::string::npos; ++at)
    ++pictures;
  EXPECT_EQ(pictures, 4u); // A, B and two heat maps
  EXPECT_NE(page.find("a&amp;&lt;b&gt;.png"), std::string::npos);
  EXPECT_EQ(page.find("<b>"), std::string::npos);
  EXPECT_NE(page.find("0.2 failed"), std::string::npos);
  EXPECT_EQ(page.find("http"), std::string::npos) << "it loads nothing";
  EXPECT_EQ(page.find("src=\"data"), page.find("src=")) << page.substr(0, 2000);
}

TEST_F(Measure, EveryTroubleHasItsLineAndItsCode) {
  put(a + "/x.png", 100);
  put(b + "/x.png", 100, 15);
  expectOneLine(compare(a, b, {"--metric", "flip"}), 6, "16 x 16 pixels and");
  put(b + "/x.png", 100);
  put(b + "/y.png", 100);
  const Outcome lonely = compare(a, b, {"--metric", "flip", "--json", json});
  expectOneLine(lonely, 7, "y.png has no partner in " + a);
  EXPECT_EQ(lonely.out, "x.png: flip 0\n") << "the others are measured";
  EXPECT_EQ(jsonOf(json)["problems"][0]["kind"], "no partner");
  EXPECT_EQ(jsonOf(json)["exit_code"], 7);
  writeFile(a + "/y.png", "no picture");
  expectOneLine(compare(a, b, {"--metric", "flip"}), 3, a + "/y.png");
  expectOneLine(compare(a, b + "/x.png", {"--metric", "flip"}), 2, "is a folder");
  expectOneLine(compare(folder / "none", b, {"--metric", "flip"}), 2, "is a folder");
  fs::create_directory(folder / "empty");
  expectOneLine(compare(folder / "empty", folder / "empty", {"--metric", "flip"}), 7, "no pictures");
  expectOneLine(compare(a, b, {"--metric", "flip", "--json", folder / "none/x.json"}), 4, "x.json");
}

TEST_F(Measure, PicturesWithNanAreNotMeasured) {
  putFloats(a + "/x.tif", 0.5f);
  putFloats(b + "/x.tif", 0.75f);
  EXPECT_EQ(compare(a, b, {"--metric", "rmse"}).out, "x.tif: rmse 0.25\n");
  for (const float value : {std::nanf(""), INFINITY}) {
    putFloats(b + "/x.tif", value);
    const Outcome outcome = compare(a, b, {"--metric", "rmse"});
    expectOneLine(outcome, 8, b + "/x.tif has 1 pixels with NaN");
    EXPECT_EQ(outcome.out, "");
  }
}

TEST_F(Measure, WrongUseNamesTheOption) {
  const std::pair<Arguments, const char*> wrong[] = {
      {{"--metric", "mse"}, "\"mse\""},
      {{"--metric", ""}, "--metric"},
      {{"--metric", "flip,"}, "--metric"},
      {{"--metric", "flip", "--fail-above", "psnr=4"}, "not measured"},
      {{"--metric", "flip", "--fail-above", "flip"}, "no number"},
      {{"--metric", "flip", "--fail-above", "flip=nan"}, "no number"},
      {{"--metric", "flip", "--fail-above", "0.1,flip=0.2"}, "twice"},
      {{"--metric", "flip", "--stats"}, "--stats"},
      {{"--metric", "flip", "-o", "x.png"}, "--output"},
      {{"--json", "x.json", "--style", "rows"}, "--style"},
  };
  for (const auto& [arguments, part] : wrong)
    expectOneLine(compare(a, b, arguments), 2, part);
}

} // namespace
} // namespace batchtest
