// Small picture files of formats that are read by code of our own, with exact pixels.
#include <gtest/gtest.h>

#include "file_builder.h"

using namespace std::string_view_literals;
using file_builder::decode, file_builder::File, file_builder::refusal;
using picture_files::Bytes, picture_files::Values;

namespace {

struct BmpParts {
  std::uint32_t width = 2, height = 1, bits = 24, packing = 0;
  Values palette = {}, pixels = {};
  std::vector<std::uint32_t> masks = {};
};
Bytes makeBmp(const BmpParts& parts) {
  const auto size = static_cast<std::uint32_t>(parts.pixels.size());
  const auto start = static_cast<std::uint32_t>(54 + parts.masks.size() * 4 + parts.palette.size());
  File file;
  file.text("BM")
      .low(4, {start + size, 0, start})
      .low(4, {40, parts.width, parts.height})
      .low(2, {1, parts.bits});
  file.low(4, {parts.packing, size, 0, 0, static_cast<std::uint32_t>(parts.palette.size() / 4), 0});
  for (const std::uint32_t mask : parts.masks)
    file.low(4, {mask});
  return file.values(parts.palette).values(parts.pixels).done();
}

Bytes makeTga(std::uint32_t kind, std::uint32_t bits, std::uint32_t flags, std::uint32_t width,
              std::uint32_t height, const Values& pixels) {
  File file;
  file.low(1, {0, 0, kind}).low(2, {0, 0}).low(1, {0}).low(2, {0, 0, width, height}).low(1, {bits, flags});
  return file.values(pixels).done();
}

Values decodeTga(const Bytes& file) {
  return decode(file, "test.tga");
}

std::vector<float> decodeFloats(const Bytes& file) {
  std::string error;
  const auto picture = host::decodePicture(file, "test", &error);
  EXPECT_EQ(error, "");
  return picture ? picture->floats : std::vector<float>();
}

Bytes makeHdr(std::string_view size, const Values& pixels) {
  File file;
  return file.text("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n").text(size).text("\n").values(pixels).done();
}

Bytes makePnm(std::string_view header, const Values& pixels = {}) {
  File file;
  return file.text(header).values(pixels).done();
}

/// Four rows of one pixel, 0 to 3, in the order of an interlaced file; the frame may stand inside a screen.
Bytes makeGif(bool interlaced, std::uint32_t screen, std::uint32_t left) {
  File file;
  file.text("GIF89a").low(2, {screen, screen}).low(1, {0x81, 0, 0}); // four colours
  for (const int grey : {10, 20, 30, 40})
    file.values({static_cast<unsigned char>(grey), 0, 0});
  file.text(",").low(2, {left, 0, 1, 4}).low(1, {interlaced ? 0x40u : 0u});
  // Rows 0, 2, 1, 3 of an interlaced frame of four rows. Codes of three bits from the start (4) to the end
  // (5).
  const unsigned second = interlaced ? 2 : 1, third = interlaced ? 1 : 2;
  const unsigned codes = 4u | 0u << 3 | second << 6 | third << 9;
  // From the fourth pixel on codes have four bits.
  return file.low(1, {2, 3}).low(3, {codes | 3u << 12 | 5u << 16}).low(1, {0}).text(";").done();
}

} // namespace

TEST(BmpPixels, RunsMayFillRowsPastTheirEnd) {
  BmpParts parts{.width = 2, .height = 2, .bits = 8, .packing = 1};
  parts.palette = {1, 2, 3, 0, 4, 5, 6, 0};
  parts.pixels = {4, 1, 0, 0, 2, 0, 0, 1};
  EXPECT_EQ(decode(makeBmp(parts)), (Values{3, 2, 1, 255, 3, 2, 1, 255, 6, 5, 4, 255, 6, 5, 4, 255}));
  parts.pixels = {0, 3, 1, 0, 1, 0, 0, 0, 0, 2, 1, 0, 1, 1, 0, 1}; // values as they are, then a move
  EXPECT_EQ(decode(makeBmp(parts)), (Values{3, 2, 1, 255, 6, 5, 4, 255, 6, 5, 4, 255, 3, 2, 1, 255}));
}

TEST(BmpPixels, HalfBytesInRuns) {
  BmpParts parts{.width = 3, .height = 1, .bits = 4, .packing = 2};
  parts.palette = {1, 2, 3, 0, 4, 5, 6, 0};
  parts.pixels = {3, 0x01, 0, 1};
  EXPECT_EQ(decode(makeBmp(parts)), (Values{3, 2, 1, 255, 6, 5, 4, 255, 3, 2, 1, 255}));
}

TEST(BmpPixels, MasksSayWhereTheChannelsAre) {
  BmpParts parts{.width = 2, .height = 1, .bits = 16, .packing = 3};
  parts.masks = {0xf800, 0x07e0, 0x001f};
  parts.pixels = {0x1f, 0xf8, 0xe0, 0x07};
  EXPECT_EQ(decode(makeBmp(parts)), (Values{255, 0, 255, 255, 0, 255, 0, 255}));
}

TEST(BmpPixels, AlphaThatIsNowhereSetIsNone) {
  BmpParts parts{.width = 2, .height = 1, .bits = 32, .packing = 0};
  parts.pixels = {1, 2, 3, 0, 4, 5, 6, 0};
  EXPECT_EQ(decode(makeBmp(parts)), (Values{3, 2, 1, 255, 6, 5, 4, 255}));
  parts.pixels[3] = 9;
  EXPECT_EQ(decode(makeBmp(parts)), (Values{3, 2, 1, 9, 6, 5, 4, 0}));
}

TEST(TgaPixels, BeginInAnyCorner) {
  const Values pixels{1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4};
  const auto order = [&](std::uint32_t flags) {
    const Values all = decodeTga(makeTga(2, 24, flags, 2, 2, pixels));
    return all.size() == 16 ? Values{all[0], all[4], all[8], all[12]} : Values();
  };
  EXPECT_EQ(order(0x20), (Values{1, 2, 3, 4}));
  EXPECT_EQ(order(0x00), (Values{3, 4, 1, 2}));
  EXPECT_EQ(order(0x30), (Values{2, 1, 4, 3}));
  EXPECT_EQ(order(0x10), (Values{4, 3, 2, 1}));
}

TEST(TgaPixels, PacketsMayGoOnInTheNextRow) {
  EXPECT_EQ(decodeTga(makeTga(11, 8, 0x20, 2, 2, {0x82, 7, 0x00, 9})),
            (Values{7, 7, 7, 255, 7, 7, 7, 255, 7, 7, 7, 255, 9, 9, 9, 255}));
}

TEST(TgaPixels, GreyWithAlpha) {
  EXPECT_EQ(decodeTga(makeTga(3, 16, 0x28, 2, 1, {5, 9, 100, 200})),
            (Values{5, 5, 5, 9, 100, 100, 100, 200}));
  EXPECT_EQ(decodeTga(makeTga(3, 16, 0x20, 2, 1, {5, 9, 100, 200})),
            (Values{5, 5, 5, 255, 100, 100, 100, 255}));
}

TEST(HdrPixels, MantissasAndExponents) {
  EXPECT_EQ(decodeFloats(makeHdr("-Y 1 +X 2", {128, 64, 32, 129, 0, 0, 0, 0})),
            (std::vector<float>{1, 0.5f, 0.25f, 1, 0, 0, 0, 1}));
}

TEST(HdrPixels, RunsOfPixelsAndOfComponents) {
  const std::vector<float> pixels = decodeFloats(makeHdr("-Y 1 +X 4", {128, 64, 32, 129, 1, 1, 1, 3}));
  ASSERT_EQ(pixels.size(), 16u);
  EXPECT_EQ(pixels[13], 0.5f);
  const std::vector<float> packed =
      decodeFloats(makeHdr("-Y 1 +X 8", {2, 2, 0, 8, 136, 128, 8, 1, 2, 3, 4, 5, 6, 7, 8, 136, 0, 136, 136}));
  ASSERT_EQ(packed.size(), 32u);
  EXPECT_EQ(packed[0], 128.0f);
  EXPECT_EQ(packed[29], 8.0f);
  EXPECT_NE(refusal(makeHdr("-Y 1 +X 2", {128, 64, 32, 129, 1, 1, 1, 2})).find("run"), std::string::npos);
}

TEST(HdrPixels, AxesTurnThePicture) {
  const auto order = [](std::string_view size) {
    const std::vector<float> all =
        decodeFloats(makeHdr(size, {1, 0, 0, 136, 2, 0, 0, 136, 3, 0, 0, 136, 4, 0, 0, 136}));
    return all.size() == 16 ? std::vector<float>{all[0], all[4], all[8], all[12]} : std::vector<float>();
  };
  EXPECT_EQ(order("-Y 2 +X 2"), (std::vector<float>{1, 2, 3, 4}));
  EXPECT_EQ(order("+Y 2 +X 2"), (std::vector<float>{3, 4, 1, 2}));
  EXPECT_EQ(order("-Y 2 -X 2"), (std::vector<float>{2, 1, 4, 3}));
  EXPECT_EQ(order("+X 2 -Y 2"), (std::vector<float>{1, 3, 2, 4}));
  EXPECT_EQ(order("+X 2 +Y 2"), (std::vector<float>{2, 4, 1, 3}));
}

TEST(PnmPixels, EachKind) {
  const Values black{0, 0, 0, 255}, white{255, 255, 255, 255};
  Values both = white;
  both.insert(both.end(), black.begin(), black.end());
  EXPECT_EQ(decode(makePnm("P1 # note\n2 1\n01")), both);
  EXPECT_EQ(decode(makePnm("P4\n2 1\n", {0x40})), both);
  EXPECT_EQ(decode(makePnm("P2 1 1 10 3")), (Values{77, 77, 77, 255}));
  EXPECT_EQ(decode(makePnm("P3 1 1 255 1 2 3")), (Values{1, 2, 3, 255}));
  EXPECT_EQ(decode(makePnm("P6 1 1 255\n", {1, 2, 3})), (Values{1, 2, 3, 255}));
  EXPECT_NE(refusal(makePnm("P5 2 1 255\n", {1})).find("ends"), std::string::npos);
  EXPECT_NE(refusal(makePnm("P5 1 1 0\n", {1})).find("largest"), std::string::npos);
}

TEST(GifPixels, InterlacedRowsComeInTheirPlaces) {
  const auto reds = [](const Bytes& file) {
    const Values all = decode(file);
    return all.size() == 16 ? Values{all[0], all[4], all[8], all[12]} : Values();
  };
  // The screen's width would be four: here it is as narrow as the frame.
  Bytes plain = makeGif(false, 4, 0), interlaced = makeGif(true, 4, 0);
  plain[6] = interlaced[6] = std::byte{1};
  EXPECT_EQ(reds(plain), (Values{10, 20, 30, 40}));
  EXPECT_EQ(reds(interlaced), (Values{10, 20, 30, 40}));
}

TEST(GifPixels, TheScreenAroundTheFrameIsTransparent) {
  const Values all = decode(makeGif(false, 4, 2));
  ASSERT_EQ(all.size(), 64u);
  EXPECT_EQ(Values(all.begin(), all.begin() + 12), (Values{0, 0, 0, 0, 0, 0, 0, 0, 10, 0, 0, 255}));
  Bytes huge = makeGif(false, 4, 2);
  huge[6] = huge[7] = huge[8] = huge[9] = std::byte{0x7f};
  EXPECT_NE(refusal(huge).find("frame"), std::string::npos);
}
