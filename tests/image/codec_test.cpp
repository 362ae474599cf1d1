// Storage of pixels in each format, with exact values.
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfMultiPartOutputFile.h>
#include <OpenEXR/ImfOutputPart.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfRgbaFile.h>
#include <OpenEXR/ImfTiledOutputFile.h>
#include <gtest/gtest.h>

#include <cstring>

#include "film.h"
#include "picture_decode.h"
#include "picture_files.h"
#include "picture_fixture.h"
#include "picture_formats.h"

using namespace picture_files;
using host::DecodedPicture;
using host::PictureUse;
using Words = std::vector<std::uint16_t>;
using Floats = std::vector<float>;

namespace {

std::shared_ptr<const DecodedPicture> decode(const Bytes& bytes, PictureUse use = PictureUse::shown) {
  std::string error;
  auto picture = host::decodePicture(bytes, "test", &error, use);
  EXPECT_EQ(error, "");
  return picture ? picture : std::make_shared<DecodedPicture>();
}

std::string refusal(const Bytes& bytes) {
  std::string error;
  EXPECT_EQ(host::decodePicture(bytes, "test", &error), nullptr);
  return error;
}

Bytes fileBytes(const std::string& path) {
  return picture_fixture::bytesOf(Filename(path.c_str()));
}

} // namespace

TEST(PngCodec, GreyOfEveryDepth) {
  PngParts parts;
  parts.width = 2;
  parts.colors = SPNG_COLOR_TYPE_GRAYSCALE;
  parts.depth = 1;
  EXPECT_EQ(decode(makePng(parts, {0x40}))->bytes, (Values{0, 0, 0, 255, 255, 255, 255, 255}));
  parts.depth = 2;
  EXPECT_EQ(decode(makePng(parts, {0x60}))->bytes, (Values{85, 85, 85, 255, 170, 170, 170, 255}));
  parts.depth = 4;
  EXPECT_EQ(decode(makePng(parts, {0x1e}))->bytes, (Values{17, 17, 17, 255, 238, 238, 238, 255}));
  parts.depth = 16;
  EXPECT_EQ(decode(makePng(parts, {1, 2, 0xff, 0xfe}))->words,
            (Words{0x102, 0x102, 0x102, 65535, 0xfffe, 0xfffe, 0xfffe, 65535}));
}

TEST(PngCodec, SixteenBitsWithAlphaStay) {
  PngParts parts;
  parts.depth = 16;
  parts.colors = SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
  const auto picture = decode(makePng(parts, {0, 1, 2, 3, 0xff, 0xff, 0x80, 1}));
  EXPECT_EQ(picture->words, (Words{1, 0x203, 65535, 0x8001}));
  EXPECT_TRUE(picture->hasAlpha);
  EXPECT_EQ(host::eightBits(*picture), (Values{0, 2, 255, 128}));
}

TEST(PngCodec, PalettesWithAlpha) {
  PngParts parts;
  parts.width = 3;
  parts.colors = SPNG_COLOR_TYPE_INDEXED;
  parts.palette = {{10, 20, 30, 255}, {40, 50, 60, 128}, {70, 80, 90, 0}};
  const Values wanted{70, 80, 90, 0, 10, 20, 30, 255, 40, 50, 60, 128};
  parts.depth = 2;
  EXPECT_EQ(decode(makePng(parts, {0x84}))->bytes, wanted);
  parts.depth = 8;
  EXPECT_EQ(decode(makePng(parts, {2, 0, 1}))->bytes, wanted);
  EXPECT_TRUE(decode(makePng(parts, {2, 0, 1}))->hasAlpha);
}

TEST(PngCodec, AnIndexPastThePaletteIsHarmless) {
  PngParts parts;
  parts.width = 2;
  parts.colors = SPNG_COLOR_TYPE_INDEXED;
  parts.palette = {{10, 20, 30, 255}};
  const Bytes file = makePng(parts, {0, 255});
  const auto picture = host::decodePicture(file, "test", nullptr);
  if (picture) {
    EXPECT_EQ(picture->bytes, (Values{10, 20, 30, 255, 0, 0, 0, 255}));
  }
}

TEST(PngCodec, InterlacedRowsAreTheSamePixels) {
  PngParts parts;
  parts.width = 19;
  parts.height = 13;
  Values rows;
  for (int i = 0; i < 19 * 13 * 3; ++i)
    rows.push_back(static_cast<unsigned char>(i * 31));
  const Values plain = decode(makePng(parts, rows))->bytes;
  parts.interlaced = true;
  EXPECT_EQ(decode(makePng(parts, rows))->bytes, plain);
}

TEST(JpegCodec, GreyAndProgressive) {
  JpegParts parts;
  parts.width = parts.height = 16;
  parts.channels = 1;
  const auto grey = decode(makeJpeg(parts, Values(256, 90)));
  EXPECT_EQ(Values(grey->bytes.begin(), grey->bytes.begin() + 4), (Values{90, 90, 90, 255}));
  parts.channels = 3;
  Values pixels;
  for (int i = 0; i < 16 * 16 * 3; ++i)
    pixels.push_back(static_cast<unsigned char>(100 + i / 48 * 5));
  const Values plain = decode(makeJpeg(parts, pixels))->bytes;
  parts.progressive = true;
  EXPECT_EQ(decode(makeJpeg(parts, pixels))->bytes, plain);
}

TEST(JpegCodec, InksAreStoredTheOtherWayRound) {
  JpegParts parts;
  parts.width = parts.height = 8;
  parts.channels = 4;
  Values pixels;
  for (int i = 0; i < 64; ++i)
    pixels.insert(pixels.end(), {255, 51, 0, 204}); // no cyan, 80 % magenta, all yellow, 20 % black
  for (const int stored : {int{0}, 5 /* YCCK */}) {
    parts.stored = stored;
    const auto picture = decode(makeJpeg(parts, pixels));
    ASSERT_EQ(picture->bytes.size(), 256u);
    EXPECT_NEAR(picture->bytes[0], 204, 1) << stored;
    EXPECT_NEAR(picture->bytes[1], 41, 1) << stored;
    EXPECT_NEAR(picture->bytes[2], 0, 1) << stored;
    EXPECT_EQ(picture->bytes[3], 255);
    EXPECT_FALSE(picture->hasAlpha);
  }
}

TEST(JpegCodec, TwelveBitsAreRefusedWithASentence) {
  JpegParts parts;
  Bytes file = makeJpeg(parts, {1, 2, 3});
  for (std::size_t i = 0; i + 5 < file.size(); ++i)
    if (file[i] == std::byte{0xff} && file[i + 1] == std::byte{0xc0}) file[i + 4] = std::byte{12};
  const std::string text = refusal(file);
  EXPECT_NE(text.find("more than 8 bits"), std::string::npos) << text;
}

TEST(JpegCodec, AMissingScanIsDamage) {
  JpegParts parts;
  parts.width = parts.height = 400;
  Bytes file = makeJpeg(parts, Values(400 * 400 * 3, 7));
  file.resize(file.size() / 2);
  EXPECT_NE(refusal(file).find("damaged"), std::string::npos);
}

// Two pixels, the first red, in each of the eight orientations.
TEST(Orientation, ShownPicturesStandUpright) {
  PngParts parts;
  parts.width = 2;
  const Values rows{200, 0, 0, 0, 0, 100};
  const Values redFirst{200, 0, 0, 255, 0, 0, 100, 255}, blueFirst{0, 0, 100, 255, 200, 0, 0, 255};
  const bool mirrored[] = {false, true, true, false, false, false, true, true};
  for (int orientation = 1; orientation <= 8; ++orientation) {
    parts.exif = makeExif(orientation, orientation % 2 == 0);
    const Bytes file = makePng(parts, rows);
    const auto shown = decode(file);
    EXPECT_EQ(shown->width, orientation < 5 ? 2 : 1) << orientation;
    EXPECT_EQ(shown->height, orientation < 5 ? 1 : 2) << orientation;
    EXPECT_EQ(shown->bytes, mirrored[orientation - 1] ? blueFirst : redFirst) << orientation;
    EXPECT_EQ(decode(file, PictureUse::colors)->bytes, redFirst);
    EXPECT_EQ(decode(file, PictureUse::data)->bytes, redFirst);
  }
}

TEST(Orientation, RowsAndColumnsOfATurn) {
  // a b c     d a
  // d e f  -> e b   for 6 (a quarter to the right)
  //           f c
  const Bytes file = makeTiff("w", [](TIFF* tiff) {
    setTags(tiff, 3, 2, 1, 8, SAMPLEFORMAT_UINT, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, 6);
    writeRows(tiff, 2, "abcdef", 3);
  });
  const auto picture = decode(file);
  ASSERT_EQ(picture->width, 2);
  std::string text;
  for (std::size_t i = 0; i < picture->bytes.size(); i += 4)
    text += static_cast<char>(picture->bytes[i]);
  EXPECT_EQ(text, "daebfc");
}

TEST(Orientation, JpegStoresItInExif) {
  JpegParts parts;
  parts.width = 16;
  parts.height = 8;
  parts.orientation = 6;
  EXPECT_EQ(decode(makeJpeg(parts, Values(16 * 8 * 3, 9)))->width, 8);
  EXPECT_EQ(decode(makeJpeg(parts, Values(16 * 8 * 3, 9)), PictureUse::colors)->width, 16);
}

TEST(TiffCodec, IntegersOfEveryDepth) {
  const auto grey = [](int bits, int format, const void* row, std::size_t bytes) {
    return decode(makeTiff("w", [&](TIFF* tiff) {
      setTags(tiff, 2, 1, 1, bits, format, PHOTOMETRIC_MINISBLACK);
      writeRows(tiff, 1, row, bytes);
    }));
  };
  EXPECT_EQ(grey(1, 1, "\x40", 1)->bytes, (Values{0, 0, 0, 255, 255, 255, 255, 255}));
  EXPECT_EQ(grey(2, 1, "\x60", 1)->bytes, (Values{85, 85, 85, 255, 170, 170, 170, 255}));
  EXPECT_EQ(grey(4, 1, "\x1e", 1)->bytes, (Values{17, 17, 17, 255, 238, 238, 238, 255}));
  EXPECT_EQ(grey(8, 2, "\x7f\xff", 2)->bytes, (Values{255, 255, 255, 255, 0, 0, 0, 255}));
  EXPECT_EQ(grey(12, 1, "\xff\xf8\x00", 3)->words,
            (Words{65535, 65535, 65535, 65535, 32776, 32776, 32776, 65535}));
  const std::uint16_t words[] = {513, 65534};
  EXPECT_EQ(grey(16, 1, words, 4)->words, (Words{513, 513, 513, 65535, 65534, 65534, 65534, 65535}));
  const std::uint32_t longs[] = {0x02010000, 0xffffffff};
  EXPECT_EQ(grey(32, 1, longs, 8)->words, (Words{513, 513, 513, 65535, 65535, 65535, 65535, 65535}));
}

TEST(TiffCodec, FloatsOfEveryDepth) {
  const auto rgb = [](int bits, const void* row, std::size_t bytes) {
    return decode(makeTiff("w",
                           [&](TIFF* tiff) {
                             setTags(tiff, 1, 1, 3, bits, SAMPLEFORMAT_IEEEFP, PHOTOMETRIC_RGB);
                             writeRows(tiff, 1, row, bytes);
                           }))
        ->floats;
  };
  const std::uint16_t halves[] = {0x3800, 0x4400, 0x7e00}; // 0.5, 4, NaN
  EXPECT_EQ(rgb(16, halves, 6), (Floats{0.5f, 4, 0, 1}));
  const float floats[] = {0.1f, 1e6f, -2};
  EXPECT_EQ(rgb(32, floats, 12), (Floats{0.1f, 1e6f, -2, 1}));
  const double doubles[] = {0.25, 3, 1e300};
  EXPECT_EQ(rgb(64, doubles, 24), (Floats{0.25f, 3, 3.4e38f, 1}));
}

TEST(TiffCodec, EveryLayoutIsTheSamePicture) {
  constexpr std::uint32_t width = 37, height = 29;
  Values pixels, wanted;
  for (unsigned i = 0; i < width * height; ++i)
    for (unsigned c = 0; c < 4; ++c) {
      const auto value = static_cast<unsigned char>(c == 3 ? 255 : i * 7 + c * 50);
      if (c < 3) pixels.push_back(value);
      wanted.push_back(value);
    }
  const std::pair<const char*, int> files[] = {
      {"w", COMPRESSION_NONE},      {"wb", COMPRESSION_LZW},
      {"w8", COMPRESSION_PACKBITS}, {"wb8", COMPRESSION_ADOBE_DEFLATE},
      {"w", COMPRESSION_ZSTD},      {"w", COMPRESSION_LZMA}};
  for (const auto& [mode, packing] : files)
    for (const int planes : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE})
      for (const bool tiled : {false, true}) {
        const auto fill = [&, packed = packing](TIFF* tiff) {
          setTags(tiff, width, height, 3, 8, SAMPLEFORMAT_UINT, PHOTOMETRIC_RGB);
          TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, planes);
          TIFFSetField(tiff, TIFFTAG_COMPRESSION, packed);
          constexpr std::uint32_t side = 16;
          if (tiled) TIFFSetField(tiff, TIFFTAG_TILEWIDTH, side);
          if (tiled) TIFFSetField(tiff, TIFFTAG_TILELENGTH, side);
          const int count = planes == PLANARCONFIG_SEPARATE ? 3 : 1;
          for (int plane = 0; plane < count; ++plane) {
            Values part;
            for (std::size_t i = 0; i < pixels.size(); ++i)
              if (count == 1 || i % 3 == static_cast<std::size_t>(plane)) part.push_back(pixels[i]);
            const std::size_t samples = count == 1 ? 3 : 1;
            if (!tiled) {
              for (std::uint32_t y = 0; y < height; ++y)
                EXPECT_EQ(TIFFWriteScanline(tiff, part.data() + y * width * samples, y,
                                            static_cast<std::uint16_t>(plane)),
                          1);
              continue;
            }
            for (std::uint32_t top = 0; top < height; top += side)
              for (std::uint32_t left = 0; left < width; left += side) {
                Values tile(side * side * samples);
                for (std::uint32_t y = 0; y < std::min(side, height - top); ++y)
                  std::memcpy(tile.data() + y * side * samples,
                              part.data() + ((top + y) * width + left) * samples,
                              std::min(side, width - left) * samples);
                EXPECT_GE(TIFFWriteTile(tiff, tile.data(), left, top, 0, static_cast<std::uint16_t>(plane)),
                          0);
              }
          }
        };
        EXPECT_EQ(decode(makeTiff(mode, fill))->bytes, wanted) << mode << packing << planes << tiled;
      }
}

TEST(TiffCodec, AlphaOfBothKinds) {
  for (const bool multiplied : {false, true}) {
    const auto picture = decode(makeTiff("w", [&](TIFF* tiff) {
      setTags(tiff, 1, 1, 4, 16, SAMPLEFORMAT_UINT, PHOTOMETRIC_RGB);
      const std::uint16_t kind = multiplied ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
      TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
      const std::uint16_t row[] = {10000, 5000, 0, 32768};
      writeRows(tiff, 1, row, 8);
    }));
    EXPECT_TRUE(picture->hasAlpha);
    EXPECT_EQ(picture->words, multiplied ? (Words{20000, 10000, 0, 32768}) : (Words{10000, 5000, 0, 32768}));
  }
}

TEST(TiffCodec, PalettesInksWhiteZeroAndLaterPictures) {
  const auto palette = decode(makeTiff("w", [](TIFF* tiff) {
    setTags(tiff, 2, 1, 1, 2, SAMPLEFORMAT_UINT, PHOTOMETRIC_PALETTE);
    std::uint16_t red[] = {0, 257 * 10, 0, 65535}, green[] = {0, 257 * 20, 0, 0},
                  blue[] = {0, 257 * 30, 0, 0};
    TIFFSetField(tiff, TIFFTAG_COLORMAP, red, green, blue);
    writeRows(tiff, 1, "\x70", 1);
  }));
  EXPECT_EQ(palette->bytes, (Values{10, 20, 30, 255, 255, 0, 0, 255}));
  const auto inks = decode(makeTiff("w", [](TIFF* tiff) {
    setTags(tiff, 1, 1, 4, 8, SAMPLEFORMAT_UINT, PHOTOMETRIC_SEPARATED);
    writeRows(tiff, 1, "\x00\xcc\xff\x33", 4);
  }));
  EXPECT_EQ(inks->bytes, (Values{204, 41, 0, 255}));
  const auto first = decode(makeTiff("w", [](TIFF* tiff) {
    setTags(tiff, 1, 1, 1, 8, SAMPLEFORMAT_UINT, PHOTOMETRIC_MINISWHITE);
    writeRows(tiff, 1, "\x05", 1);
    TIFFWriteDirectory(tiff);
    setTags(tiff, 3, 3, 1, 8, SAMPLEFORMAT_UINT, PHOTOMETRIC_MINISBLACK);
    writeRows(tiff, 3, "123456789", 3);
  }));
  EXPECT_EQ(first->bytes, (Values{250, 250, 250, 255}));
}

TEST(TiffCodec, JpegInsideAndYcbcr) {
  const auto file = [](int packing) {
    return makeTiff("w", [packing](TIFF* tiff) {
      setTags(tiff, 16, 16, 3, 8, SAMPLEFORMAT_UINT, PHOTOMETRIC_YCBCR);
      TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 16);
      TIFFSetField(tiff, TIFFTAG_COMPRESSION, packing);
      TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, 1, 1);
      if (packing == COMPRESSION_JPEG) TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
      Values row(16 * 16 * 3, 128);
      for (std::size_t i = 0; packing == COMPRESSION_NONE && i < row.size(); i += 3)
        row[i] = 90;
      writeRows(tiff, 16, row.data(), 48);
    });
  };
  EXPECT_EQ(decode(file(COMPRESSION_JPEG))->bytes[0], 128);
  EXPECT_NEAR(decode(file(COMPRESSION_NONE))->bytes[1], 90, 1);
}

TEST(ExrCodec, PartsLayersAndTiles) {
  picture_fixture::Folder folder;
  const std::string path = (folder.path() / "a.exr").string();
  std::vector<Imf::Header> headers(2, Imf::Header(2, 1));
  headers[0].setName("depth");
  headers[1].setName("beauty");
  for (Imf::Header& header : headers)
    header.setType(Imf::SCANLINEIMAGE);
  headers[0].channels().insert("Z", Imf::Channel(Imf::FLOAT));
  for (const char* name : {"diffuse.B", "diffuse.G", "diffuse.R"})
    headers[1].channels().insert(name, Imf::Channel(Imf::HALF));
  Floats values{1, 2, 3, 4, 5, 6};
  const std::vector<Imath::half> halves{0.5f, 1.0f, 1.5f, 2.0f, 2.5f, 3.0f};
  {
    Imf::MultiPartOutputFile file(path.c_str(), headers.data(), 2);
    Imf::FrameBuffer depth, colors;
    depth.insert("Z", Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(values.data()), 4, 8));
    auto* start = reinterpret_cast<char*>(const_cast<Imath::half*>(halves.data()));
    colors.insert("diffuse.R", Imf::Slice(Imf::HALF, start, 6, 12));
    colors.insert("diffuse.G", Imf::Slice(Imf::HALF, start + 2, 6, 12));
    colors.insert("diffuse.B", Imf::Slice(Imf::HALF, start + 4, 6, 12));
    Imf::OutputPart first(file, 0), second(file, 1);
    first.setFrameBuffer(depth);
    first.writePixels(1);
    second.setFrameBuffer(colors);
    second.writePixels(1);
  }
  EXPECT_EQ(decode(fileBytes(path))->floats, (Floats{0.5f, 1, 1.5f, 1, 2, 2.5f, 3, 1}));

  std::vector<std::uint32_t> ids{0, 7, 65535, 1, 2, 3};
  Imf::Header tiles(3, 2);
  tiles.channels().insert("Y", Imf::Channel(Imf::UINT));
  tiles.setTileDescription(Imf::TileDescription(2, 1, Imf::ONE_LEVEL));
  {
    Imf::TiledOutputFile file(path.c_str(), tiles);
    Imf::FrameBuffer buffer;
    buffer.insert("Y", Imf::Slice(Imf::UINT, reinterpret_cast<char*>(ids.data()), 4, 12));
    file.setFrameBuffer(buffer);
    file.writeTiles(0, file.numXTiles() - 1, 0, file.numYTiles() - 1);
  }
  const auto grey = decode(fileBytes(path));
  ASSERT_EQ(grey->floats.size(), 24u);
  EXPECT_EQ(grey->floats[4], 7);
  EXPECT_EQ(grey->floats[9], 65535);
  EXPECT_EQ(grey->floats[20], 3);
}

TEST(ExrCodec, BrightnessAndColorsAtHalfTheSize) {
  picture_fixture::Folder folder;
  const std::string path = (folder.path() / "a.exr").string();
  const std::vector<Imf::Rgba> pixels(64, Imf::Rgba(0.25f, 0.5f, 1, 1));
  {
    Imf::RgbaOutputFile file(path.c_str(), 8, 8, Imf::WRITE_YC);
    file.setFrameBuffer(pixels.data(), 1, 8);
    file.writePixels(8);
  }
  const auto picture = decode(fileBytes(path));
  ASSERT_EQ(picture->floats.size(), 256u);
  EXPECT_FALSE(picture->hasAlpha);
  EXPECT_NEAR(picture->floats[100], 0.25f, 0.01f);
  EXPECT_NEAR(picture->floats[101], 0.5f, 0.01f);
  EXPECT_NEAR(picture->floats[102], 1, 0.01f);
}

TEST(WebpCodec, StillsAndTheFirstFrame) {
  Values first, second;
  for (int i = 0; i < 24; ++i) {
    first.insert(first.end(),
                 {static_cast<unsigned char>(i * 10), 20, 30, static_cast<unsigned char>(i * 7 + 80)});
    second.insert(second.end(), {200, 200, static_cast<unsigned char>(i), 255});
  }
  const auto still = decode(makeWebp(6, 4, first, 0));
  EXPECT_EQ(still->bytes, first);
  EXPECT_TRUE(still->hasAlpha);
  const auto moving = decode(makeAnimation(6, 4, first, second));
  EXPECT_EQ(moving->bytes, first);
  EXPECT_NEAR(decode(makeWebp(6, 4, Values(96, 255), 90))->bytes[5], 255, 3);
}

TEST(WebpCodec, WrittenWithoutLossUnlessAQualityIsAsked) {
  picture_fixture::Folder folder;
  AutoAlloc<BaseBitmap> bitmap, loaded;
  ASSERT_EQ(bitmap->Init(61, 37, 32), IMAGERESULT_OK);
  picture_fixture::fillPattern(*bitmap);
  const Filename name = folder.file("a.webp");
  ASSERT_EQ(bitmap->Save(name, host::filterWebp, nullptr, SAVEBIT_ALPHA), IMAGERESULT_OK);
  ASSERT_EQ(loaded->Init(name), IMAGERESULT_OK);
  for (LONG y = 0; y < 37; ++y)
    for (LONG x = 0; x < 61; ++x)
      ASSERT_EQ(picture_fixture::at(*loaded, x, y), picture_fixture::patternAt(x, y)) << x << ", " << y;
  const auto textOf = [&name] {
    const Bytes file = picture_fixture::bytesOf(name);
    return std::string(reinterpret_cast<const char*>(file.data()), file.size());
  };
  EXPECT_NE(textOf().find("VP8L"), std::string::npos); // the lossless kind
  BaseContainer options;
  options.SetLong(host::webpSaverQuality, 20);
  ASSERT_EQ(bitmap->Save(name, host::filterWebp, &options), IMAGERESULT_OK);
  EXPECT_NE(textOf().find("VP8 "), std::string::npos); // the lossy kind
  EXPECT_NE(textOf().find("Lumenara"), std::string::npos);
}

// The suffixes that the plug-in gives the pictures of an animation.
TEST(PictureFormats, AnimationsUseTheUsualSuffixes) {
  const std::pair<LONG, const char*> used[] = {{FILTER_BMP, "bmp"},
                                               {FILTER_TIF, "tif"},
                                               {FILTER_JPG, "jpg"},
                                               {FILTER_PSD, "psd"},
                                               {FILTER_B3D, "b3d"}};
  for (const auto& [filter, suffix] : used) {
    ASSERT_NE(host::formatOfFilter(filter), nullptr) << suffix;
    EXPECT_STREQ(host::formatOfFilter(filter)->suffixes[0], suffix);
  }
}

TEST(PictureFormats, TheTableKnowsSuffixesAndNumbers) {
  for (const host::PictureFileFormat& format : host::pictureFileFormats()) {
    EXPECT_TRUE(format.read || format.write) << format.name;
    EXPECT_EQ(format.write != nullptr, format.filter != 0) << format.name;
    if (!format.write) continue;
    EXPECT_EQ(host::formatOfFilter(format.filter), &format);
    EXPECT_EQ(host::formatOfSuffix(format.suffixes[0]), &format);
  }
  EXPECT_EQ(host::formatOfSuffix("TIFF"), host::formatOfFilter(FILTER_TIF));
  EXPECT_EQ(host::formatOfSuffix("hdr"), nullptr);
  EXPECT_EQ(host::formatOfSuffix(""), nullptr);
  EXPECT_EQ(host::formatOfFilter(0), nullptr);
}
