// Saving and loading through every filter, read back by us and by other programs.
#include <OpenImageIO/imageio.h>

#include <cmath>

#include "display_transform.h"
#include "film.h"
#include "picture_fixture.h"

using namespace picture_fixture;

namespace {

struct Format {
  LONG filter;
  const char* suffix;
  bool alpha;
};
constexpr Format exactFormats[] = {{FILTER_TIF, "tif", true},
                                   {FILTER_BMP, "bmp", false},
                                   {FILTER_PNG, "png", true},
                                   {FILTER_EXR, "exr", true}};

using Bitmap = AutoAlloc<BaseBitmap>;

void makePattern(Bitmap& bitmap, LONG width, LONG height, LONG depth) {
  ASSERT_EQ(bitmap->Init(width, height, depth), IMAGERESULT_OK);
  fillPattern(*bitmap);
}

/// A picture file as other programs of its library see it.
struct Decoded {
  OIIO::ImageSpec spec;
  std::vector<float> pixels;
  float at(int x, int y, int c) const {
    return pixels[static_cast<std::size_t>((y * spec.width + x) * spec.nchannels + c)];
  }
};

Decoded decodeFloats(const Filename& name) {
  Decoded decoded;
  const auto input = OIIO::ImageInput::open(name.GetString().GetUTF8());
  if (!input) return decoded;
  input->threads(1);
  decoded.spec = input->spec();
  decoded.pixels.resize(decoded.spec.image_pixels() * static_cast<std::size_t>(decoded.spec.nchannels));
  EXPECT_TRUE(
      input->read_image(0, 0, 0, decoded.spec.nchannels, OIIO::TypeDesc::FLOAT, decoded.pixels.data()));
  return decoded;
}

std::shared_ptr<host::Film> makeFilm(BaseBitmap& bitmap) {
  auto film = std::make_shared<host::Film>(bitmap.GetBw(), bitmap.GetBh());
  for (LONG y = 0; y < bitmap.GetBh(); ++y)
    for (LONG x = 0; x < bitmap.GetBw(); ++x) {
      const float value[4] = {0.01f * static_cast<float>(x) + 0.001f, 3.5f * static_cast<float>(y), -0.25f,
                              1};
      film->setColor(x, y, value);
      bitmap.SetPixel(x, y, host::toDisplay(value[0]), host::toDisplay(value[1]), host::toDisplay(value[2]));
    }
  host::setFilm(bitmap, film);
  return film;
}

} // namespace

TEST(BitmapSave, ExactFormatsRoundTrip) {
  Folder folder;
  Bitmap bitmap, loaded;
  for (const LONG depth : {24, 32})
    for (const Format& format : exactFormats)
      for (const SAVEBIT bits : {SAVEBIT_0, SAVEBIT_ALPHA}) {
        makePattern(bitmap, 61, 37, depth);
        const Filename name = folder.file(std::string("picture.") + format.suffix);
        ASSERT_EQ(bitmap->Save(name, format.filter, nullptr, bits), IMAGERESULT_OK) << format.suffix;
        ASSERT_EQ(loaded->Init(name), IMAGERESULT_OK) << format.suffix;
        const bool alpha = format.alpha && depth == 32 && bits == SAVEBIT_ALPHA;
        ASSERT_EQ(loaded->GetBw(), 61);
        ASSERT_EQ(loaded->GetBh(), 37);
        EXPECT_EQ(loaded->GetBt(), alpha ? 32 : 24) << format.suffix;
        for (LONG y = 0; y < 37; ++y)
          for (LONG x = 0; x < 61; ++x) {
            Rgba wanted = patternAt(x, y);
            if (!alpha) wanted.a = 255;
            // OpenEXR keeps colours multiplied by their alpha: where alpha is 0 they are lost.
            if (alpha && format.filter == FILTER_EXR && wanted.a == 0) wanted = {0, 0, 0, 0};
            ASSERT_EQ(at(*loaded, x, y), wanted) << format.suffix << " " << x << ", " << y;
          }
        EXPECT_EQ(folder.entries(), 1u); // no temporary file beside it
        fs::remove(name.GetString().GetUTF8());
      }
}

TEST(BitmapSave, JpegIsCloseAndFollowsItsQuality) {
  Folder folder;
  Bitmap bitmap, loaded;
  ASSERT_EQ(bitmap->Init(64, 64, 32), IMAGERESULT_OK);
  for (LONG y = 0; y < 64; ++y)
    for (LONG x = 0; x < 64; ++x)
      put(*bitmap, x, y, {x * 4, y * 4, (x * x + y * 3) & 127, 255});
  std::uintmax_t last = 0;
  for (const LONG quality : {5, 40, 95, 100}) {
    BaseContainer options;
    options.SetLong(JPGSAVER_QUALITY, quality);
    const Filename name = folder.file("q.jpg");
    ASSERT_EQ(bitmap->Save(name, FILTER_JPG, &options, SAVEBIT_ALPHA), IMAGERESULT_OK);
    const std::uintmax_t size = fs::file_size(name.GetString().GetUTF8());
    EXPECT_GT(size, last) << quality;
    last = size;
  }
  ASSERT_EQ(loaded->Init(folder.file("q.jpg")), IMAGERESULT_OK);
  EXPECT_EQ(loaded->GetBt(), 24);
  double error = 0;
  for (LONG y = 0; y < 64; ++y)
    for (LONG x = 0; x < 64; ++x)
      error += std::abs(at(*loaded, x, y).r - at(*bitmap, x, y).r) +
               std::abs(at(*loaded, x, y).g - at(*bitmap, x, y).g);
  EXPECT_LT(error / (64 * 64 * 2), 1.0);

  for (const LONG quality : {-50, 0, 101, 5000}) { // clamped
    BaseContainer options;
    options.SetLong(JPGSAVER_QUALITY, quality);
    EXPECT_EQ(bitmap->Save(folder.file("cut.jpg"), FILTER_JPG, &options), IMAGERESULT_OK);
  }
}

TEST(BitmapSave, ExrHoldsTheFilm) {
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(20, 10, 24), IMAGERESULT_OK);
  makeFilm(*bitmap);
  bitmap->SetPixel(4, 5, 255, 188, 0); // drawn over after the render
  const Filename name = folder.file("film.exr");
  ASSERT_EQ(bitmap->Save(name, FILTER_EXR), IMAGERESULT_OK);
  const Decoded decoded = decodeFloats(name);
  ASSERT_EQ(decoded.spec.width, 20);
  ASSERT_EQ(decoded.spec.nchannels, 3);
  EXPECT_EQ(decoded.spec.format, OIIO::TypeDesc::FLOAT);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 20; ++x) {
      if (x == 4 && y == 5) continue;
      ASSERT_EQ(decoded.at(x, y, 0), 0.01f * static_cast<float>(x) + 0.001f);
      ASSERT_EQ(decoded.at(x, y, 1), 3.5f * static_cast<float>(y));
      ASSERT_EQ(decoded.at(x, y, 2), -0.25f);
    }
  EXPECT_EQ(decoded.at(4, 5, 0), 1.0f);
  EXPECT_NEAR(decoded.at(4, 5, 1), 0.5029f, 1e-4f); // code 188
  EXPECT_EQ(decoded.at(4, 5, 2), 0.0f);
}

TEST(BitmapSave, ExrWithAlphaIsMultiplied) {
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(2, 1, 32), IMAGERESULT_OK);
  auto film = std::make_shared<host::Film>(2, 1);
  const float value[4] = {1, 0.125f, 0, 0.25f}; // surfaces cover a quarter of the pixel
  film->setColor(0, 0, value);
  host::setFilm(*bitmap, film);
  put(*bitmap, 0, 0, {255, host::toDisplay(0.125f), 0, 64});
  const Filename name = folder.file("alpha.exr");
  ASSERT_EQ(bitmap->Save(name, FILTER_EXR, nullptr, SAVEBIT_ALPHA), IMAGERESULT_OK);
  const Decoded decoded = decodeFloats(name);
  ASSERT_EQ(decoded.spec.nchannels, 4);
  EXPECT_EQ(decoded.at(0, 0, 0), 1.0f);
  EXPECT_EQ(decoded.at(0, 0, 1), 0.125f);
  EXPECT_EQ(decoded.at(0, 0, 3), 0.25f);
}

// Surfaces of light 0.8 cover half of a pixel, before nothing and before a sky of light 0.5.
TEST(BitmapSave, HalfCoveredPixelsHaveNoFringes) {
  Folder folder;
  Bitmap bitmap, loaded;
  ASSERT_EQ(bitmap->Init(2, 1, 32), IMAGERESULT_OK);
  const auto film = std::make_shared<host::Film>(2, 1);
  const float dark[4] = {0.4f, 0.4f, 0.4f, 0.5f}, bright[4] = {0.65f, 0.65f, 0.65f, 0.5f};
  const float sky[3] = {0.25f, 0.25f, 0.25f};
  film->setColor(0, 0, dark);
  film->setColor(1, 0, bright);
  film->addLayer(host::film_layers::sky, "RGB", true)->set(1, sky);
  host::setFilm(*bitmap, film);
  for (LONG x = 0; x < 2; ++x) {
    const int code = host::toDisplay(x == 0 ? 0.4f : 0.65f);
    put(*bitmap, x, 0, {code, code, code, 128});
  }
  ASSERT_EQ(bitmap->Save(folder.file("edge.png"), FILTER_PNG, nullptr, SAVEBIT_ALPHA), IMAGERESULT_OK);
  ASSERT_EQ(loaded->Init(folder.file("edge.png")), IMAGERESULT_OK);
  const int code = host::toDisplay(0.8f);
  for (LONG x = 0; x < 2; ++x)
    EXPECT_EQ(at(*loaded, x, 0), (Rgba{code, code, code, 128})) << x;

  ASSERT_EQ(bitmap->Save(folder.file("edge.exr"), FILTER_EXR, nullptr, SAVEBIT_ALPHA), IMAGERESULT_OK);
  const Decoded decoded = decodeFloats(folder.file("edge.exr"));
  ASSERT_EQ(decoded.spec.nchannels, 4); // the sky's layer is the host's own
  for (int x = 0; x < 2; ++x) {
    EXPECT_FLOAT_EQ(decoded.at(x, 0, 0), 0.4f) << x;
    EXPECT_EQ(decoded.at(x, 0, 3), 0.5f) << x;
  }
  // Without alpha a picture is what the camera sees.
  ASSERT_EQ(bitmap->Save(folder.file("seen.exr"), FILTER_EXR), IMAGERESULT_OK);
  const Decoded seen = decodeFloats(folder.file("seen.exr"));
  EXPECT_EQ(seen.at(0, 0, 0), 0.4f);
  EXPECT_EQ(seen.at(1, 0, 0), 0.65f);
}

TEST(BitmapSave, ExrHoldsTheLayersOfTheFilm) {
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(2, 1, 24), IMAGERESULT_OK);
  const auto film = std::make_shared<host::Film>(2, 1);
  const float noisy[4] = {0.5f, 0, 0, 1}, clean[3] = {0.25f, 0, 0}, depth = 7;
  film->setColor(1, 0, noisy);
  film->addLayer(host::film_layers::denoised, "RGB")->set(1, clean);
  film->addLayer("depth", "Z")->set(1, &depth);
  host::setFilm(*bitmap, film);
  bitmap->SetPixel(1, 0, host::toDisplay(0.25f), 0, 0);
  ASSERT_EQ(bitmap->Save(folder.file("layers.exr"), FILTER_EXR), IMAGERESULT_OK);
  const Decoded decoded = decodeFloats(folder.file("layers.exr"));
  const auto value = [&](const char* name) {
    const int channel = decoded.spec.channelindex(name);
    return channel < 0 ? -1 : decoded.at(1, 0, channel);
  };
  EXPECT_EQ(value("R"), 0.25f);
  EXPECT_EQ(value("denoised.R"), 0.25f);
  EXPECT_EQ(value("beauty.R"), 0.5f);
  EXPECT_EQ(value("depth.Z"), 7);
}

TEST(BitmapSave, ExrWithoutAFilmIsTheLinearLightOfTheCodes) {
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(2, 1, 24), IMAGERESULT_OK);
  bitmap->SetPixel(0, 0, 0, 128, 255);
  ASSERT_EQ(bitmap->Save(folder.file("bytes.exr"), FILTER_EXR), IMAGERESULT_OK);
  const Decoded decoded = decodeFloats(folder.file("bytes.exr"));
  ASSERT_EQ(decoded.spec.nchannels, 3);
  EXPECT_EQ(decoded.at(0, 0, 0), 0.0f);
  EXPECT_NEAR(decoded.at(0, 0, 1), 0.215861f, 1e-5f);
  EXPECT_EQ(decoded.at(0, 0, 2), 1.0f);
}

TEST(BitmapSave, ThePictureIsTheSameBytesEveryTime) {
  Folder folder;
  Bitmap bitmap;
  makePattern(bitmap, 30, 20, 32);
  for (const Format& format : exactFormats) {
    ASSERT_EQ(bitmap->Save(folder.file("a"), format.filter), IMAGERESULT_OK);
    ASSERT_EQ(bitmap->Save(folder.file("b"), format.filter), IMAGERESULT_OK);
    EXPECT_EQ(bytesOf(folder.file("a")), bytesOf(folder.file("b"))) << format.suffix;
  }
}

TEST(BitmapSave, FilesAreTaggedRight) {
  Folder folder;
  Bitmap bitmap;
  makePattern(bitmap, 30, 20, 32);
  const std::tuple<LONG, const char*, const char*> spaces[] = {{FILTER_PNG, "tagged.png", "sRGB"},
                                                               {FILTER_EXR, "tagged.exr", "Linear"}};
  for (const auto& [filter, file, space] : spaces) {
    ASSERT_EQ(bitmap->Save(folder.file(file), filter), IMAGERESULT_OK);
    const Decoded decoded = decodeFloats(folder.file(file));
    EXPECT_STRCASEEQ(decoded.spec.get_string_attribute("oiio:ColorSpace").c_str(), space);
  }
  // The sRGB chunk is in the file, and no chunk for a size in inches or metres.
  ASSERT_EQ(bitmap->Save(folder.file("a.png"), FILTER_PNG), IMAGERESULT_OK);
  const std::vector<std::byte> bytes = bytesOf(folder.file("a.png"));
  const std::string text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  EXPECT_NE(text.find("sRGB"), std::string::npos);
  EXPECT_EQ(text.find("pHYs"), std::string::npos);
}

TEST(BitmapSave, IdentifyReadsThePixels) {
  if (!hasProgram("convert") || !hasProgram("identify")) GTEST_SKIP() << "ImageMagick is not installed";
  Folder folder;
  Bitmap bitmap;
  makePattern(bitmap, 31, 17, 32);
  const std::string red = std::to_string(patternAt(11, 5).r), green = std::to_string(patternAt(11, 5).g),
                    blue = std::to_string(patternAt(11, 5).b);
  const Format formats[] = {{FILTER_TIF, "tif", true}, {FILTER_BMP, "bmp", false}, {FILTER_PNG, "png", true}};
  for (const Format& format : formats)
    for (const SAVEBIT bits : {SAVEBIT_0, SAVEBIT_ALPHA}) {
      const Filename name = folder.file(std::string("picture.") + format.suffix);
      const std::string path = "'" + name.GetString().GetUTF8() + "'";
      ASSERT_EQ(bitmap->Save(name, format.filter, nullptr, bits), IMAGERESULT_OK);
      EXPECT_EQ(outputOf("identify -format '%wx%h %z' " + path), "31x17 8") << format.suffix;
      const bool alpha = format.alpha && bits == SAVEBIT_ALPHA;
      const std::string pixel = outputOf("convert " + path + " -depth 8 -crop 1x1+11+5 txt:-");
      std::string wanted = red + "," + green + "," + blue;
      if (alpha) wanted += "," + std::to_string(patternAt(11, 5).a);
      EXPECT_NE(pixel.find("(" + wanted + ")"), std::string::npos) << format.suffix << ": " << pixel;
    }
  ASSERT_EQ(bitmap->Save(folder.file("p.jpg"), FILTER_JPG), IMAGERESULT_OK);
  EXPECT_EQ(outputOf("identify -format '%m %wx%h %Q' '" + folder.file("p.jpg").GetString().GetUTF8() + "'"),
            "JPEG 31x17 90");
}

TEST(BitmapSave, TiffinfoReadsTheFile) {
  if (!hasProgram("tiffinfo")) GTEST_SKIP() << "tiffinfo is not installed";
  Folder folder;
  Bitmap bitmap;
  makePattern(bitmap, 31, 17, 32);
  const Filename name = folder.file("picture.tif");
  ASSERT_EQ(bitmap->Save(name, FILTER_TIF, nullptr, SAVEBIT_ALPHA), IMAGERESULT_OK);
  const std::string text = outputOf("tiffinfo -D '" + name.GetString().GetUTF8() + "'"); // decodes all of it
  EXPECT_NE(text.find("Image Width: 31 Image Length: 17"), std::string::npos) << text;
  EXPECT_NE(text.find("unassoc-alpha"), std::string::npos) << text;
  EXPECT_NE(text.find("LZW"), std::string::npos) << text;
  EXPECT_EQ(text.find("Warning"), std::string::npos) << text;
}

TEST(BitmapSave, IinfoReadsTheExr) {
  if (!hasProgram("iinfo")) GTEST_SKIP() << "iinfo is not installed";
  Folder folder;
  Bitmap bitmap;
  ASSERT_EQ(bitmap->Init(20, 10, 24), IMAGERESULT_OK);
  makeFilm(*bitmap);
  const Filename name = folder.file("film.exr");
  ASSERT_EQ(bitmap->Save(name, FILTER_EXR), IMAGERESULT_OK);
  const std::string text = outputOf("iinfo -v '" + name.GetString().GetUTF8() + "'");
  EXPECT_NE(text.find("20 x   10, 3 channel, float openexr"), std::string::npos) << text;
}
