// BMP, TGA, GIF and PSD made by hand: palettes that are shorter than their pixels say, and PSD's colours.
#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "console.h"
#include "file_builder.h"

using namespace picture_files;
using file_builder::decode, file_builder::File, file_builder::refusal;
using namespace std::string_view_literals;

namespace {

/// The palette has two colours; the first two pixels show them, the third one names a missing entry.
const Values first{10, 20, 30}, second{40, 50, 60}, wanted{10, 20, 30, 255, 40, 50, 60, 255, 40, 50, 60, 255};

/// Blue, green and red of both, with a fourth byte when `bytes` is 4.
Values paletteOf(std::size_t bytes) {
  Values palette;
  for (const Values& color : {first, second}) {
    palette.insert(palette.end(), color.rbegin(), color.rend());
    if (bytes == 4) palette.push_back(0);
  }
  return palette;
}

Bytes makeBmp(std::uint32_t bits, std::uint32_t packing, const Values& pixels, std::uint32_t colors = 2) {
  const auto size = static_cast<std::uint32_t>(pixels.size());
  File file;
  file.text("BM").low(4, {54 + 8 + size, 0, 54 + 8}).low(4, {40, 3, 1}).low(2, {1, bits});
  return file.low(4, {packing, size, 0, 0, colors, 0}).values(paletteOf(4)).values(pixels).done();
}

Bytes makeTga(std::uint32_t kind, std::uint32_t firstIndex, const Values& pixels) {
  File file;
  file.low(1, {0, 1, kind}).low(2, {firstIndex, 2}).low(1, {24}).low(2, {0, 0, 3, 1}).low(1, {8, 0});
  file.values(paletteOf(3)).values(pixels);
  return file.low(4, {0, 0}).text("TRUEVISION-XFILE.\0"sv).done();
}

/// Pixels 0, 1 and 3: codes of three bits between the mark of a start (4) and, of four bits, an end (5).
Bytes makeGif(bool ownPalette, const Values& extension = {}) {
  const auto palette = [](File& file) { file.values(first).values(second); };
  File file;
  file.text("GIF89a").low(2, {3, 1}).low(1, {ownPalette ? 0u : 0x80u, 0, 0});
  if (!ownPalette) palette(file);
  file.values(extension).text(",").low(2, {0, 0, 3, 1}).low(1, {ownPalette ? 0x80u : 0u});
  if (ownPalette) palette(file);
  constexpr unsigned codes = 4 | 0 << 3 | 1 << 6 | 3 << 9 | 5 << 12;
  return file.low(1, {2, 2}).low(2, {codes}).low(1, {0}).text(";").done();
}

struct PsdParts {
  std::uint32_t mode = 3; // 1 grey, 2 palette, 3 red, green and blue, 4 inks, 7 channels, 8 duotone
  Values planes{0, 64, 255};
  Bytes profile = {};
  std::uint32_t depth = 8, width = 1, packing = 0;
  Values palette = {};
  std::uint32_t channels = 0; // 0: one for each value
  bool alpha = false;
  std::uint32_t transparentIndex = 0; // 0 for none
};
Bytes makePsd(const PsdParts& parts) {
  File resources;
  const auto size = static_cast<std::uint32_t>(parts.profile.size());
  // A block of odd length before the one that matters.
  resources.text("8BIM").high(2, {4000}).text("\3abc").high(4, {3}).text("xyz\0"sv);
  if (parts.transparentIndex != 0)
    resources.text("8BIM").high(2, {1047, 0}).high(4, {2}).high(2, {parts.transparentIndex});
  resources.text("8BIM").high(2, {1039, 0}).high(4, {size}).bytes(parts.profile);
  File layers;
  if (parts.alpha) layers.high(4, {2}).high(2, {0xffff}).high(4, {0}); // -1
  const std::uint32_t channels =
      parts.channels != 0 ? parts.channels : static_cast<std::uint32_t>(parts.planes.size());
  File file;
  file.text("8BPS")
      .high(2, {1, 0, 0, 0, channels})
      .high(4, {1, parts.width})
      .high(2, {parts.depth, parts.mode});
  file.high(4, {static_cast<std::uint32_t>(parts.palette.size())}).values(parts.palette);
  file.high(4, {static_cast<std::uint32_t>(resources.done().size())}).bytes(resources.done());
  file.high(4, {static_cast<std::uint32_t>(layers.done().size())}).bytes(layers.done());
  return file.high(2, {parts.packing}).values(parts.planes).done();
}

} // namespace

TEST(ShortPalette, BmpTakesTheLastColor) {
  EXPECT_EQ(decode(makeBmp(8, 0, {0, 1, 255, 0})), wanted);
  EXPECT_EQ(decode(makeBmp(4, 0, {0x01, 0xf0, 0, 0})), wanted);
  EXPECT_EQ(decode(makeBmp(8, 1, {1, 0, 1, 1, 1, 200, 0, 1})), wanted) << "runs";
}

TEST(ShortPalette, BmpMayHaveFewerColorsThanItSays) {
  EXPECT_EQ(decode(makeBmp(8, 0, {0, 1, 255, 0}, 256)), wanted);
  EXPECT_EQ(decode(makeBmp(8, 0, {0, 1, 1, 0}, 0)), wanted);
}

TEST(ShortPalette, TgaTakesTheLastColor) {
  EXPECT_EQ(decode(makeTga(1, 0, {0, 1, 200})), wanted);
  EXPECT_EQ(decode(makeTga(9, 0, {2, 0, 1, 200})), wanted) << "runs";
}

TEST(ShortPalette, TgaMayBeginWithAnotherIndex) {
  EXPECT_EQ(decode(makeTga(1, 100, {100, 101, 255})), wanted);
  EXPECT_EQ(decode(makeTga(1, 100, {3, 101, 102})), wanted);
}

TEST(ShortPalette, GifTakesTheLastColor) {
  EXPECT_EQ(decode(makeGif(false)), wanted);
  EXPECT_EQ(decode(makeGif(true)), wanted);
}

TEST(ShortPalette, GifMayMakeTheIndexTransparent) {
  const Values pixels = decode(makeGif(false, {0x21, 0xf9, 4, 1, 0, 0, 3, 0}));
  ASSERT_EQ(pixels.size(), 12u);
  EXPECT_EQ(Values(pixels.begin(), pixels.begin() + 8), Values(wanted.begin(), wanted.begin() + 8));
  EXPECT_EQ(pixels[11], 0);
}

TEST(ShortPalette, NoColorAtAllIsDamage) {
  Bytes gif = makeGif(false);
  gif[10] = std::byte{0};
  EXPECT_NE(refusal(gif).find("damaged"), std::string::npos);
  Bytes bmp = makeBmp(8, 0, {0, 1, 255, 0});
  bmp[10] = std::byte{54};
  EXPECT_NE(refusal(bmp).find("palette"), std::string::npos);
}

TEST(PsdColors, AProfileIsConverted) {
  PsdParts parts;
  EXPECT_EQ(decode(makePsd(parts)), (Values{0, 64, 255, 255}));
  parts.profile = rgbProfile(1.0);
  // 64 of 255 is a light of 0.251, whose sRGB code is 137.
  EXPECT_EQ(decode(makePsd(parts)), (Values{0, 137, 255, 255}));
  parts.mode = 1;
  parts.planes = {64};
  parts.profile = greyProfile(1.0);
  const Values grey = decode(makePsd(parts));
  ASSERT_EQ(grey.size(), 4u);
  EXPECT_NEAR(grey[0], 137, 1);
  EXPECT_EQ(grey[1], grey[0]);
}

TEST(PsdColors, AProfileThatDoesNotFitIsNamedOnce) {
  host::deliverConsole();
  std::vector<std::string> lines;
  const std::uint64_t listener =
      host::addConsoleListener([&lines](const String& line) { lines.push_back(line.GetUTF8()); });
  PsdParts parts;
  parts.mode = 4;
  parts.planes = {255, 191, 0, 255}; // no ink is the largest value
  parts.profile = rgbProfile(1.0);
  const Values before = decode(makePsd(parts), "inks.psd");
  EXPECT_EQ(decode(makePsd(parts), "inks.psd"), before);
  host::deliverConsole();
  host::removeConsoleListener(listener);
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                          [](const std::string& line) { return line.find("inks.psd") != line.npos; }),
            1);
  parts.profile.clear();
  EXPECT_EQ(decode(makePsd(parts)), before);
}

TEST(PsdColors, InksGoThroughTheirProfile) {
  PsdParts parts;
  parts.mode = 4;
  parts.planes = {255, 191, 0, 255};
  EXPECT_EQ(decode(makePsd(parts)), (Values{255, 191, 0, 255}));
  parts.profile = inkProfile();
  EXPECT_NE(decode(makePsd(parts)), (Values{255, 191, 0, 255}));
  parts.alpha = true;
  parts.planes = {255, 128, 0, 255, 255};
  parts.profile.clear();
  EXPECT_EQ(decode(makePsd(parts)), (Values{255, 128, 0, 255}));
}

TEST(PsdPixels, ModesAndDepths) {
  PsdParts parts;
  parts = {.mode = 0, .planes = {0x40}, .depth = 1, .width = 2, .channels = 1};
  EXPECT_EQ(decode(makePsd(parts)), (Values{255, 255, 255, 255, 0, 0, 0, 255})) << "1 is black";
  parts = {.mode = 8, .planes = {77}};
  EXPECT_EQ(decode(makePsd(parts)), (Values{77, 77, 77, 255})) << "duotone";
  parts = {.mode = 7, .planes = {1, 2, 3, 4}};
  EXPECT_EQ(decode(makePsd(parts)), (Values{1, 2, 3, 255})) << "channels";
  std::string error;
  parts = {.planes = {1, 2, 3, 4, 5, 6}, .depth = 16, .channels = 3};
  const auto deep = host::decodePicture(makePsd(parts), "test", &error);
  ASSERT_TRUE(deep) << error;
  EXPECT_EQ(deep->words, (std::vector<std::uint16_t>{0x102, 0x304, 0x506, 65535}));
  parts = {.mode = 1, .planes = {0x40, 0x20, 0, 0}, .depth = 32, .channels = 1};
  const auto floats = host::decodePicture(makePsd(parts), "test", &error);
  ASSERT_TRUE(floats) << error;
  EXPECT_EQ(floats->floats, (std::vector<float>{2.5f, 2.5f, 2.5f, 1}));
}

TEST(PsdPixels, APaletteMayHaveATransparentIndex) {
  PsdParts parts{.mode = 2, .planes = {1, 2}, .width = 2, .palette = Values(768), .channels = 1};
  for (std::size_t c = 0; c < 3; ++c) {
    parts.palette[c * 256 + 1] = first[c];
    parts.palette[c * 256 + 2] = second[c];
  }
  EXPECT_EQ(decode(makePsd(parts)), Values(wanted.begin(), wanted.begin() + 8));
  parts.transparentIndex = 2;
  EXPECT_EQ(decode(makePsd(parts)), (Values{10, 20, 30, 255, 40, 50, 60, 0}));
  parts.palette.resize(767);
  EXPECT_NE(refusal(makePsd(parts)).find("palette"), std::string::npos);
}

TEST(PsdPixels, TransparentOnesLoseTheirWhite) {
  PsdParts parts{.planes = {206, 208, 210, 51}, .alpha = true};
  EXPECT_EQ(decode(makePsd(parts)), (Values{10, 20, 30, 51}));
  parts.alpha = false; // the fourth channel is a selection
  EXPECT_EQ(decode(makePsd(parts)), (Values{206, 208, 210, 255}));
}

TEST(PsdPixels, PackedRowsAreCheckedAgainstTheFile) {
  // Lengths of three rows; then runs and values as they are.
  PsdParts parts{
      .planes = {0, 2, 0, 4, 0, 2, 0xfe, 7, 2, 1, 2, 3, 0xfe, 9}, .width = 3, .packing = 1, .channels = 3};
  EXPECT_EQ(decode(makePsd(parts)), (Values{7, 1, 9, 255, 7, 2, 9, 255, 7, 3, 9, 255}));
  PsdParts damaged = parts;
  damaged.planes.back() = 0xff;
  damaged.planes[12] = 0xff; // two of three
  EXPECT_NE(refusal(makePsd(damaged)).find("row"), std::string::npos);
  damaged = parts;
  damaged.planes[1] = 200;
  EXPECT_NE(refusal(makePsd(damaged)).find("ends"), std::string::npos);
  damaged = parts;
  damaged.channels = 2; // too few for the mode
  EXPECT_NE(refusal(makePsd(damaged)).find("channels"), std::string::npos);
  damaged = parts;
  damaged.packing = 0;
  damaged.planes.resize(8);
  EXPECT_NE(refusal(makePsd(damaged)).find("ends"), std::string::npos);
}

TEST(ExrHeader, ValuesHaveTheSizeOfTheirType) {
  const auto header = [](std::string_view type, const Values& value) {
    File file;
    file.low(4, {0x01312f76, 2}).text("a\0"sv).text(type).text("\0"sv);
    return file.low(4, {static_cast<std::uint32_t>(value.size())}).values(value).low(1, {0}).done();
  };
  const auto damaged = [&](std::string_view type, std::size_t size, unsigned char first = 0) {
    Values value(size);
    if (size > 0) value[0] = first;
    return refusal(header(type, value)) ==
           "Picture \"test\" is damaged or cut off. Save it again from the program that made it.";
  };
  // Our check gives no detail; the library does.
  EXPECT_FALSE(damaged("int", 4));
  EXPECT_TRUE(damaged("int", 8));
  EXPECT_TRUE(damaged("box2i", 4));
  EXPECT_FALSE(damaged("chlist", 1));
  EXPECT_TRUE(damaged("chlist", 2)) << "it ends before its size does";
  EXPECT_TRUE(damaged("chlist", 1, 'R')) << "it never ends";
  EXPECT_TRUE(damaged("preview", 12));
  EXPECT_TRUE(damaged("floatvector", 5));
  EXPECT_FALSE(damaged("theirs", 7));
}
