// Pictures from bytes: kinds, depths, damage.
#include "picture_decode.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "picture_files.h"
#include "picture_fixture.h"

using namespace picture_fixture;
using host::DecodedPicture;

// OpenImageIO, which makes some of the files, is not built with the thread sanitizer: it does not see the
// locks of the library's worker threads.
extern "C" const char* __tsan_default_suppressions(); // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __tsan_default_suppressions() {
  return "called_from_lib:libOpenImageIO_Util.so\ncalled_from_lib:libOpenImageIO.so\n";
}

namespace {

using Bytes = std::vector<std::byte>;

std::shared_ptr<const DecodedPicture> decode(const Bytes& bytes, const std::string& name = "test") {
  std::string error;
  auto picture = host::decodePicture(bytes, name, &error);
  EXPECT_EQ(picture == nullptr, !error.empty()) << error;
  if (!picture) {
    EXPECT_NE(error.find("icture"), std::string::npos) << error;
  }
  return picture;
}

void writeTiles(TIFF* tiff, const OIIO::ImageSpec& spec, const unsigned char* pixels) {
  const auto pixelBytes = static_cast<std::size_t>(spec.nchannels) * spec.channel_bytes();
  TIFFSetField(tiff, TIFFTAG_TILEWIDTH, spec.tile_width);
  TIFFSetField(tiff, TIFFTAG_TILELENGTH, spec.tile_height);
  std::vector<unsigned char> tile(static_cast<std::size_t>(spec.tile_width * spec.tile_height) * pixelBytes);
  for (int top = 0; top < spec.height; top += spec.tile_height)
    for (int left = 0; left < spec.width; left += spec.tile_width) {
      const int rows = std::min(spec.tile_height, spec.height - top);
      const auto bytes = static_cast<std::size_t>(std::min(spec.tile_width, spec.width - left)) * pixelBytes;
      for (int y = 0; y < rows; ++y)
        std::copy_n(pixels + static_cast<std::size_t>((top + y) * spec.width + left) * pixelBytes, bytes,
                    tile.begin() + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(y * spec.tile_width) *
                                                               pixelBytes));
      EXPECT_GT(TIFFWriteTile(tiff, tile.data(), static_cast<std::uint32_t>(left),
                              static_cast<std::uint32_t>(top), 0, 0),
                0);
    }
}

template <class Value>
Bytes encodeTiff(const OIIO::ImageSpec& spec, const std::vector<Value>& pixels) {
  return picture_files::makeTiff("w", [&](TIFF* tiff) {
    const auto width = static_cast<std::uint32_t>(spec.width),
               height = static_cast<std::uint32_t>(spec.height);
    picture_files::setTags(tiff, width, height, spec.nchannels, 8 * static_cast<int>(sizeof(Value)),
                           sizeof(Value) == 4 ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT, PHOTOMETRIC_RGB);
    const std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
    if (spec.nchannels == 4) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    if (spec.tile_width)
      writeTiles(tiff, spec, reinterpret_cast<const unsigned char*>(pixels.data()));
    else
      picture_files::writeRows(tiff, height, pixels.data(), pixels.size() * sizeof(Value) / height);
  });
}

/// A file made by OpenImageIO, in any of its formats; TIFF by libtiff.
template <class Value>
Bytes encode(const char* format, OIIO::ImageSpec spec, const std::vector<Value>& pixels) {
  if (format == std::string_view("tiff")) return encodeTiff(spec, pixels);
  const auto output = OIIO::ImageOutput::create(format);
  EXPECT_TRUE(output) << format;
  std::vector<unsigned char> bytes;
  OIIO::Filesystem::IOVecOutput memory(bytes);
  output->threads(1);
  EXPECT_TRUE(output->set_ioproxy(&memory));
  EXPECT_TRUE(output->open(std::string("x.") + format, spec)) << output->geterror();
  EXPECT_TRUE(output->write_image(OIIO::BaseTypeFromC<Value>::value, pixels.data())) << output->geterror();
  EXPECT_TRUE(output->close());
  return bytesFrom({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

std::vector<unsigned char> byteRamp(int width, int height, int channels) {
  std::vector<unsigned char> pixels;
  for (int i = 0; i < width * height * channels; ++i)
    pixels.push_back(static_cast<unsigned char>((i * 37 + 11) & 255));
  return pixels;
}

OIIO::ImageSpec straightSpec(int width, int height, int channels) {
  OIIO::ImageSpec spec(width, height, channels, OIIO::TypeDesc::UINT8);
  spec.attribute("oiio:UnassociatedAlpha", 1);
  return spec;
}

/// One small file of each kind that we read.
std::vector<std::pair<std::string, Bytes>> oneOfEach() {
  std::vector<std::pair<std::string, Bytes>> files;
  const auto rgb = byteRamp(33, 21, 3), rgba = byteRamp(33, 21, 4);
  std::vector<float> floats(33 * 21 * 3);
  for (std::size_t i = 0; i < floats.size(); ++i)
    floats[i] = static_cast<float>(i) * 0.01f;
  for (const char* format : {"png", "tiff", "bmp", "targa", "jpeg", "pnm", "gif"})
    files.emplace_back(format, encode(format, straightSpec(33, 21, 3), rgb));
  for (const char* format : {"png", "tiff", "targa", "webp"})
    files.emplace_back(format, encode(format, straightSpec(33, 21, 4), rgba));
  for (const char* format : {"openexr", "hdr", "tiff"})
    files.emplace_back(format, encode(format, OIIO::ImageSpec(33, 21, 3, OIIO::TypeDesc::FLOAT), floats));
  OIIO::ImageSpec tiled = straightSpec(33, 21, 3);
  tiled.tile_width = tiled.tile_height = 16;
  files.emplace_back("tiff", encode("tiff", tiled, rgb));
  return files;
}

std::string nameFor(const std::string& format) {
  return format == "targa" ? "test.tga" : "test";
}

} // namespace

TEST(PictureDecode, KeepsBytesOfExactFormats) {
  const auto rgb = byteRamp(9, 7, 3);
  for (const char* format : {"png", "tiff", "bmp", "targa", "pnm"}) {
    const auto picture = decode(encode(format, straightSpec(9, 7, 3), rgb), nameFor(format));
    ASSERT_TRUE(picture) << format;
    ASSERT_EQ(picture->width, 9);
    ASSERT_EQ(picture->height, 7);
    EXPECT_FALSE(picture->hasAlpha);
    EXPECT_TRUE(picture->floats.empty());
    ASSERT_EQ(picture->bytes.size(), 9u * 7 * 4);
    for (std::size_t i = 0; i < 63; ++i) {
      for (std::size_t c = 0; c < 3; ++c)
        ASSERT_EQ(picture->bytes[i * 4 + c], rgb[i * 3 + c]) << format << " " << i;
      ASSERT_EQ(picture->bytes[i * 4 + 3], 255);
    }
  }
}

TEST(PictureDecode, KeepsColorsAboveAlpha) {
  std::vector<unsigned char> pixels;
  for (int i = 0; i < 16; ++i)
    for (const int v : {200, 100, 7, i * 17})
      pixels.push_back(static_cast<unsigned char>(v));
  for (const char* format : {"png", "tiff", "targa"}) {
    const auto picture = decode(encode(format, straightSpec(4, 4, 4), pixels), nameFor(format));
    ASSERT_TRUE(picture) << format;
    EXPECT_TRUE(picture->hasAlpha);
    EXPECT_EQ(picture->bytes, pixels) << format;
  }
}

TEST(PictureDecode, GreyAndGreyWithAlpha) {
  const std::vector<unsigned char> grey{0, 128, 255, 7};
  auto picture = decode(encode("png", straightSpec(2, 2, 1), grey));
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->bytes,
            (std::vector<unsigned char>{0, 0, 0, 255, 128, 128, 128, 255, 255, 255, 255, 255, 7, 7, 7, 255}));
  OIIO::ImageSpec spec = straightSpec(2, 2, 2);
  spec.channelnames = {"Y", "A"};
  spec.alpha_channel = 1;
  picture = decode(encode("png", spec, std::vector<unsigned char>{10, 20, 30, 40, 50, 60, 70, 0}));
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->bytes,
            (std::vector<unsigned char>{10, 10, 10, 20, 30, 30, 30, 40, 50, 50, 50, 60, 70, 70, 70, 0}));
}

TEST(PictureDecode, SixteenBitsAreRounded) {
  const std::vector<unsigned short> values{0, 65535, 257 * 100, 257 * 100 + 128, 257 * 100 + 129, 257 * 254};
  const auto picture = decode(encode("png", OIIO::ImageSpec(2, 1, 3, OIIO::TypeDesc::UINT16), values));
  ASSERT_TRUE(picture);
  EXPECT_TRUE(picture->bytes.empty());
  EXPECT_EQ(host::eightBits(*picture), (std::vector<unsigned char>{0, 255, 100, 255, 100, 101, 254, 255}));
}

TEST(PictureDecode, FloatsStayFloatsAndFinite) {
  const float inf = std::numeric_limits<float>::infinity();
  const std::vector<float> values{0.5f, 1e6f, -3, std::nanf(""), inf, -inf};
  const auto picture = decode(encode("openexr", OIIO::ImageSpec(2, 1, 3, OIIO::TypeDesc::FLOAT), values));
  ASSERT_TRUE(picture);
  EXPECT_TRUE(picture->bytes.empty());
  EXPECT_EQ(picture->floats, (std::vector<float>{0.5f, 1e6f, -3, 1, 0, 65504, -65504, 1}));
}

TEST(PictureDecode, HdrIsLinear) {
  const std::vector<float> values{0.5f, 0.25f, 8, 1, 2, 4};
  const auto picture = decode(encode("hdr", OIIO::ImageSpec(2, 1, 3, OIIO::TypeDesc::FLOAT), values));
  ASSERT_TRUE(picture);
  ASSERT_EQ(picture->floats.size(), 8u);
  EXPECT_NEAR(picture->floats[0], 0.5f, 0.04f); // eight bits beside one exponent
  EXPECT_NEAR(picture->floats[2], 8, 0.04f);
  EXPECT_NEAR(picture->floats[6], 4, 0.04f);
}

TEST(PictureDecode, TilesAndOffsets) {
  const auto rgb = byteRamp(37, 29, 3);
  OIIO::ImageSpec spec = straightSpec(37, 29, 3);
  spec.tile_width = 16;
  spec.tile_height = 32;
  const auto picture = decode(encode("tiff", spec, rgb));
  ASSERT_TRUE(picture);
  for (std::size_t i = 0; i < 37 * 29; ++i)
    ASSERT_EQ(picture->bytes[i * 4 + 1], rgb[i * 3 + 1]) << i;

  std::vector<float> floats(5 * 3 * 3, 0.75f);
  OIIO::ImageSpec window(5, 3, 3, OIIO::TypeDesc::FLOAT);
  window.x = -7;
  window.y = 100;
  const auto moved = decode(encode("openexr", window, floats));
  ASSERT_TRUE(moved);
  EXPECT_EQ(moved->width, 5);
  EXPECT_EQ(moved->floats[4], 0.75f);
}

TEST(PictureDecode, EveryKindIsRead) {
  for (const auto& [format, bytes] : oneOfEach()) {
    const auto picture = decode(bytes, nameFor(format));
    ASSERT_TRUE(picture) << format;
    EXPECT_EQ(picture->width, 33);
    EXPECT_EQ(picture->height, 21);
  }
}

TEST(PictureDecode, NonPicturesAreRefused) {
  for (const char* text :
       {"", "x", "hello, this is no picture at all", "{\"asset\": {\"version\": \"2.0\"}}", "BM", "P", "GIF",
        "RIFF\1\2\3\4WAVE....", "\x89PNG\r\n\x1a\n", "\xff\xd8\xff", "II*", "#?RADIANCE\n"})
    EXPECT_FALSE(decode(bytesFrom(text))) << text;
  EXPECT_FALSE(decode(bytesFrom("a text with a picture's name"), "a.tga"));
  EXPECT_FALSE(host::decodePicture({}, "empty", nullptr));
}

TEST(PictureDecode, TruncatedFilesAreReportedAsDamaged) {
  for (const auto& [format, bytes] : oneOfEach())
    for (std::size_t keep = 0; keep < bytes.size(); keep += std::max<std::size_t>(1, bytes.size() / 60)) {
      const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(keep));
      // A missing end of the last picture row may go unnoticed; three quarters of a file are never a
      // picture.
      const auto picture = decode(cut, nameFor(format));
      if (keep < bytes.size() * 3 / 4) {
        EXPECT_FALSE(picture) << format << " cut at " << keep << " of " << bytes.size();
      }
    }
}

TEST(PictureDecode, FlippedBitsAreHarmless) {
  std::mt19937 random(20240607);
  int survived = 0, refused = 0;
  for (const auto& [format, bytes] : oneOfEach())
    for (int round = 0; round < 150; ++round) {
      Bytes flipped = bytes;
      const int flips = 1 + static_cast<int>(random() % 8);
      for (int i = 0; i < flips; ++i) {
        // Half of them in the header, where they hurt.
        const std::size_t range = round % 2 ? flipped.size() : std::min<std::size_t>(flipped.size(), 128);
        flipped[random() % range] ^= static_cast<std::byte>(1u << (random() % 8));
      }
      const auto picture = decode(flipped, nameFor(format));
      (picture ? survived : refused)++;
      if (!picture) continue;
      const auto count =
          static_cast<std::size_t>(picture->width) * static_cast<std::size_t>(picture->height) * 4;
      EXPECT_EQ(picture->bytes.size() + picture->words.size() + picture->floats.size(), count) << format;
    }
  EXPECT_GT(survived, 0);
  EXPECT_GT(refused, 0);
}

TEST(PictureDecode, HugeClaimsAreRefusedAtOnce) {
  Bytes png = encode("png", straightSpec(4, 4, 3), byteRamp(4, 4, 3));
  for (const auto& [width, height] :
       {std::pair<unsigned, unsigned>{32768, 32768}, {0x7fffffff, 1}, {0xffffffff, 0xffffffff}}) {
    Bytes huge = png;
    for (std::size_t i = 0; i < 4; ++i) {
      huge[16 + i] = static_cast<std::byte>(width >> (24 - 8 * i));
      huge[20 + i] = static_cast<std::byte>(height >> (24 - 8 * i));
    }
    EXPECT_FALSE(decode(huge));
  }
  EXPECT_FALSE(decode(bytesFrom("P6\n2000000000 2000000000\n255\nabc")));
  EXPECT_FALSE(decode(bytesFrom("P5\n32768 32768\n255\nabc")));
  EXPECT_FALSE(decode(bytesFrom("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2000000000 +X 2000000000\nabc")));
  const auto wide = encode("png", straightSpec(32769, 1, 1), byteRamp(32769, 1, 1));
  std::string error;
  EXPECT_FALSE(host::decodePicture(wide, "wide.png", &error));
  EXPECT_NE(error.find("32769 x 1"), std::string::npos) << error;
}

TEST(PictureLoad, ResultsNameTheFault) {
  Folder folder;
  AutoAlloc<BaseBitmap> bitmap;
  const auto expectEmpty = [&](const Filename& name, IMAGERESULT wanted) {
    ASSERT_EQ(bitmap->Init(2, 2), IMAGERESULT_OK);
    EXPECT_EQ(bitmap->Init(name), wanted) << name.GetString().GetUTF8();
    EXPECT_EQ(bitmap->GetBw(), 0);
  };
  expectEmpty(folder.file("none.png"), IMAGERESULT_NOTEXISTING);
  expectEmpty(Filename(), IMAGERESULT_NOTEXISTING);
  expectEmpty(Filename(folder.path().c_str()), IMAGERESULT_FILEERROR);
  writeBytes(folder.file("text.png"), bytesFrom("no picture"));
  expectEmpty(folder.file("text.png"), IMAGERESULT_WRONGTYPE);
  Bytes png = encode("png", straightSpec(40, 40, 3), byteRamp(40, 40, 3));
  png.resize(png.size() / 2);
  writeBytes(folder.file("cut.png"), png);
  expectEmpty(folder.file("cut.png"), IMAGERESULT_FILESTRUCTURE);
  writeBytes(folder.file("wide.png"), encode("png", straightSpec(32769, 1, 1), byteRamp(32769, 1, 1)));
  expectEmpty(folder.file("wide.png"), IMAGERESULT_OUTOFMEMORY);
  if (fs::exists("/dev/zero")) expectEmpty(Filename("/dev/zero"), IMAGERESULT_FILEERROR);
}

TEST(PictureLoad, FloatPicturesAreShownThroughTheDisplayTransform) {
  Folder folder;
  writeBytes(folder.file("a.exr"), encode("openexr", OIIO::ImageSpec(2, 1, 3, OIIO::TypeDesc::FLOAT),
                                          std::vector<float>{0.18f, 5, -1, 1, 0.5f, 0}));
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(folder.file("a.exr")), IMAGERESULT_OK);
  EXPECT_EQ(at(*bitmap, 0, 0), (Rgba{118, 255, 0, 255}));
  EXPECT_EQ(at(*bitmap, 1, 0), (Rgba{255, 188, 0, 255}));
}
