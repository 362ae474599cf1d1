// Colour profiles: conversion, uses that ignore them, and refused ones.
#include <gtest/gtest.h>

#include "console.h"
#include "picture_decode.h"
#include "picture_files.h"

using namespace picture_files;
using host::PictureUse;
using Words = std::vector<std::uint16_t>;

namespace {

std::shared_ptr<const host::DecodedPicture> decode(const Bytes& bytes, PictureUse use = PictureUse::shown,
                                                   const std::string& name = "test") {
  std::string error;
  auto picture = host::decodePicture(bytes, name, &error, use);
  EXPECT_EQ(error, "");
  return picture ? picture : std::make_shared<host::DecodedPicture>();
}

/// The lines of the console while it lives.
class Lines {
 public:
  Lines() {
    host::deliverConsole();
    id_ = host::addConsoleListener([this](const String& line) { lines.push_back(line.GetUTF8()); });
  }
  ~Lines() { host::removeConsoleListener(id_); }
  std::vector<std::string> lines;

 private:
  std::uint64_t id_;
};

Bytes pngWith(const Bytes& profile, const Values& rgb = {0, 64, 255}) {
  PngParts parts;
  parts.profile = profile;
  return makePng(parts, rgb);
}

} // namespace

TEST(ColorProfile, LinearCodesBecomeSrgb) {
  // 64 of 255 is a light of 0.251, whose sRGB code is 137.
  const Values wanted{0, 137, 255, 255};
  const Bytes profile = rgbProfile(1.0);
  for (const PictureUse use : {PictureUse::shown, PictureUse::colors})
    EXPECT_EQ(decode(pngWith(profile), use)->bytes, wanted);
  EXPECT_EQ(decode(makeWebp(1, 1, {0, 64, 255, 255}, 0, profile))->bytes, wanted);
  const auto tiff = decode(makeTiff("w", [&](TIFF* file) {
    setTags(file, 1, 1, 3, 8, SAMPLEFORMAT_UINT, PHOTOMETRIC_RGB);
    TIFFSetField(file, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(profile.size()), profile.data());
    writeRows(file, 1, "\x00\x40\xff", 3);
  }));
  EXPECT_EQ(tiff->bytes, wanted);
  JpegParts parts;
  parts.width = parts.height = 8;
  parts.profile = profile;
  EXPECT_NEAR(decode(makeJpeg(parts, Values(192, 64)))->bytes[0], 137, 1);
}

TEST(ColorProfile, NumbersThatAreNoColorsStay) {
  EXPECT_EQ(decode(pngWith(rgbProfile(1.0)), PictureUse::data)->bytes, (Values{0, 64, 255, 255}));
}

TEST(ColorProfile, SixteenBitsFloatsAndAlpha) {
  PngParts parts;
  parts.depth = 16;
  parts.colors = SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
  parts.profile = rgbProfile(1.0);
  const auto words = decode(makePng(parts, {0, 0, 0x40, 0x40, 0xff, 0xff, 0x12, 0x34}))->words;
  ASSERT_EQ(words.size(), 4u);
  EXPECT_NEAR(words[1], 35203, 80); // 0.53716, to a tenth of a percent
  EXPECT_EQ(words[3], 0x1234);
  const Bytes profile = rgbProfile(2.0);
  const auto floats =
      decode(makeTiff("w", [&](TIFF* file) {
        setTags(file, 1, 1, 3, 32, SAMPLEFORMAT_IEEEFP, PHOTOMETRIC_RGB);
        TIFFSetField(file, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(profile.size()), profile.data());
        const float row[] = {0.5f, 0.5f, 0.5f};
        writeRows(file, 1, row, 12);
      }))->floats;
  ASSERT_EQ(floats.size(), 4u);
  EXPECT_NEAR(floats[0], 0.25f, 0.002f);
}

TEST(ColorProfile, GreyAndInks) {
  PngParts parts;
  parts.colors = SPNG_COLOR_TYPE_GRAYSCALE;
  parts.profile = greyProfile(1.0);
  const Values grey = decode(makePng(parts, {64}))->bytes;
  ASSERT_EQ(grey.size(), 4u);
  for (std::size_t c = 0; c < 3; ++c)
    EXPECT_NEAR(grey[c], 137, 1);
  JpegParts inks;
  inks.width = inks.height = 8;
  inks.channels = 4;
  inks.profile = inkProfile();
  Values pixels;
  for (int i = 0; i < 64; ++i)
    pixels.insert(pixels.end(), {0, 0, 0, 255});            // all colours, no black
  EXPECT_GT(decode(makeJpeg(inks, pixels))->bytes[0], 250); // this profile looks at black alone
  inks.profile.clear();
  EXPECT_LT(decode(makeJpeg(inks, pixels))->bytes[0], 3);
}

TEST(ColorProfile, SrgbChangesNothing) {
  cmsHPROFILE srgb = cmsCreate_sRGBProfile();
  cmsUInt32Number size = 0;
  cmsSaveProfileToMem(srgb, nullptr, &size);
  Bytes profile(size);
  cmsSaveProfileToMem(srgb, profile.data(), &size);
  cmsCloseProfile(srgb);
  Values rgb;
  PngParts parts;
  parts.width = 256;
  parts.profile = profile;
  for (int i = 0; i < 256; ++i)
    rgb.insert(rgb.end(), {static_cast<unsigned char>(i), static_cast<unsigned char>(255 - i), 77});
  const auto picture = decode(makePng(parts, rgb));
  for (std::size_t i = 0; i < 256; ++i)
    for (std::size_t c = 0; c < 3; ++c)
      ASSERT_EQ(picture->bytes[i * 4 + c], rgb[i * 3 + c]);
}

TEST(ColorProfile, RefusedOnesAreNamedOnce) {
  Lines console;
  Bytes damaged = rgbProfile(1.0);
  std::fill(damaged.begin() + 128, damaged.end(), std::byte{0xee});
  const std::pair<std::string, Bytes> files[] = {
      {"damaged.png", damaged}, {"grey.png", greyProfile(1.0)}, {"link.png", linkProfile()}};
  for (const auto& [name, profile] : files)
    for (int i = 0; i < 3; ++i)
      EXPECT_EQ(decode(pngWith(profile), PictureUse::shown, name)->bytes, (Values{0, 64, 255, 255})) << name;
  host::deliverConsole();
  for (const auto& [name, profile] : files)
    EXPECT_EQ(std::count_if(console.lines.begin(), console.lines.end(),
                            [&n = name](const std::string& line) { return line.find(n) != line.npos; }),
              1)
        << name;
  EXPECT_EQ(decode(pngWith(damaged), PictureUse::data, "data.png")->bytes, (Values{0, 64, 255, 255}));
  host::deliverConsole();
  EXPECT_EQ(console.lines.size(), 3u); // data ignores profiles and prints nothing
}
