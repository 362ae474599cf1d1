// `lumenara render --part` and `lumenara merge`.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>

#include "film_file.h"
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

  /// All channels and their values.
  static void expectEqualFilms(const std::string& a, const std::string& b) {
    const host::FilmFile one = host::loadFilm(a), other = host::loadFilm(b);
    ASSERT_TRUE(one.film && other.film) << one.error << other.error;
    ASSERT_EQ(one.film->width(), other.film->width());
    ASSERT_EQ(one.film->layers().size(), other.film->layers().size());
    const auto equal = [&](auto&& read, const std::string& what) {
      for (int y = 0; y < one.film->height(); ++y)
        for (int x = 0; x < one.film->width(); ++x) {
          std::array<float, 8> left{}, right{};
          read(*one.film, x, y, left.data()), read(*other.film, x, y, right.data());
          ASSERT_EQ(std::memcmp(left.data(), right.data(), sizeof left), 0)
              << what << " at " << x << "," << y << ": " << left[0] << " and " << right[0];
        }
    };
    equal([](const host::Film& film, int x, int y, float* to) { film.getColor(x, y, to); }, "colour");
    for (const host::FilmLayerPtr& layer : other.film->layers()) {
      ASSERT_TRUE(one.film->findLayer(layer->name())) << layer->name();
      equal([&](const host::Film& film, int x, int y,
                float* to) { film.findLayer(layer->name())->get(film.pixelAt(x, y), to); },
            layer->name());
    }
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

// Also layers, motion blur, edges by objects, and what is made of the whole picture.
TEST_F(Merge, TilesGiveThePictureBitForBit) {
  const std::vector<Arguments> looks{
      {"--layers", "all"},
      {"--layers", "albedo,noise", "--denoise"},
      {"--set", "LM_OPT_15004=1", "--layers", "noise", "--shutter", "0.5"},
      {"--layers", "object_id,cryptomatte,sky,lightgroups", "--compression", "piz"}};
  for (const Arguments& look : looks) {
    Arguments whole = look;
    whole.insert(whole.end(), {"--sampling", "even", "--noise", "0"});
    render("whole.exr", whole);
    for (const char* number : {"1", "2", "3", "4", "5", "6"}) {
      Arguments tile = look;
      tile.insert(tile.end(), {"--tile", std::string(number) + "/3x2"});
      render(std::string(number) + ".exr", tile);
    }
    merge({"3.exr", "1.exr", "6.exr", "2.exr", "5.exr", "4.exr"}, "joined.exr");
    expectEqualFilms(folder / "joined.exr", folder / "whole.exr");
  }
  const Picture one = readPicture(folder / "1.exr");
  EXPECT_EQ(one.width, 16);
  EXPECT_EQ(one.height, 16);
}

TEST_F(Merge, TilesThatDoNotFitAreRefusedInOneLine) {
  for (const char* number : {"1", "2"})
    render(std::string(number) + ".exr", {"--tile", std::string(number) + "/3"});
  render("2b.exr", {"--tile", "2/3", "--camera", "Back"});
  render("3.exr", {"--tile", "3/3", "--layers", "depth"});
  render("wide.exr", {"--tile", "1/2"});
  render("part.exr", {"--part", "1/2"});
  expectRefused({"1.exr", "2.exr"}, 2, "512 of 1536 pixels are in none");
  expectRefused({"1.exr", "2b.exr"}, 2, "(Camera differs)");
  expectRefused({"1.exr", "2.exr", "3.exr"}, 2, "(the layers differs)");
  expectRefused({"1.exr", "wide.exr"}, 2, "have the same pixels");
  expectRefused({"1.exr", "part.exr"}, 2, "is no tile of a picture");
  expectRefused({"part.exr", "1.exr"}, 3, "no samples");
  EXPECT_NE(render("a.png", {"--tile", "1/2"}, 2).err.find("name an exr"), std::string::npos);
  EXPECT_NE(render("a.exr", {"--tile", "1/64x1"}, 2).err.find("use fewer"), std::string::npos);
  EXPECT_NE(render("a.exr", {"--tile", "5/2x2"}, 2).err.find("out of range"), std::string::npos);
  EXPECT_NE(render("a.exr", {"--tile", "1/2", "--time", "1"}, 2).err.find("--time"), std::string::npos);
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
