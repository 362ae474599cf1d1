// Multi-layer OpenEXR: names, types, compressions, notes; files of other programs.
#include <OpenImageIO/imageio.h>

#include <cmath>
#include <limits>

#include "display_transform.h"
#include "film.h"
#include "layer_table.h"
#include "picture_fixture.h"
#include "picture_formats.h"
#include "picture_origin.h"

using namespace picture_fixture;

namespace {

using Bitmap = AutoAlloc<BaseBitmap>;
constexpr int side = 24;

/// One part of a file as the library of other programs reads it.
struct Part {
  OIIO::ImageSpec spec;
  std::vector<float> pixels;
  int channel(const std::string& name) const {
    const auto& names = spec.channelnames;
    const auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? -1 : static_cast<int>(found - names.begin());
  }
  OIIO::TypeDesc type(const std::string& name) const { return spec.channelformat(channel(name)); }
  float at(const std::string& name, int x, int y) const {
    return pixels[static_cast<std::size_t>((y * spec.width + x) * spec.nchannels + channel(name))];
  }
};

std::vector<Part> read(const Filename& file) {
  std::vector<Part> parts;
  const auto input = OIIO::ImageInput::open(file.GetString().GetUTF8());
  for (int i = 0; input && input->seek_subimage(i, 0); ++i) {
    Part part{input->spec(), {}};
    part.pixels.resize(part.spec.image_pixels() * static_cast<std::size_t>(part.spec.nchannels));
    EXPECT_TRUE(input->read_image(i, 0, 0, part.spec.nchannels, OIIO::TypeDesc::FLOAT, part.pixels.data()));
    parts.push_back(std::move(part));
  }
  return parts;
}

float ramp(std::size_t pixel, std::size_t channel) {
  return 0.001f * static_cast<float>(pixel) + 0.1f * static_cast<float>(channel);
}
constexpr float number = 16777213; // all bits of a float's mantissa

void makeFilm(BaseBitmap& bitmap) {
  ASSERT_EQ(bitmap.Init(side, side, 24), IMAGERESULT_OK);
  auto film = std::make_shared<host::Film>(side, side);
  const host::FilmLayerPtr direct = film->addLayer("diffuse_direct", "RGB"),
                           depth = film->addLayer("depth", "Z"),
                           crypto = film->addLayer("crypto_object00", "RGBA"),
                           inner = film->addLayer("sky", "RGB", true);
  for (std::size_t pixel = 0; pixel < side * side; ++pixel) {
    const float color[4] = {ramp(pixel, 0), ramp(pixel, 1), ramp(pixel, 2), 1};
    const int x = static_cast<int>(pixel) % side, y = static_cast<int>(pixel) / side;
    film->setColor(x, y, color);
    bitmap.SetPixel(x, y, host::toDisplay(color[0]), host::toDisplay(color[1]), host::toDisplay(color[2]));
    direct->set(pixel, color);
    const float numbers[4] = {number, 0.5f, 1e-30f, number};
    depth->set(pixel, numbers);
    crypto->set(pixel, numbers);
    inner->set(pixel, color);
  }
  film->setNote("cryptomatte/1234567/name", "crypto_object");
  film->setOrigin({{"Scene", "chair <2>.glb"}, {"Camera", "K\u00fcche"}});
  host::setFilm(bitmap, film);
}

IMAGERESULT save(const BaseBitmap& bitmap, const Filename& file, LONG filter, bool half = false,
                 LONG compression = 3, bool origin = true) {
  BaseContainer options;
  options.SetBool(host::exrSaverHalf, half ? TRUE : FALSE);
  options.SetLong(host::exrSaverCompression, compression);
  if (origin) host::putOrigin(options, bitmap);
  return bitmap.Save(file, filter, &options);
}

} // namespace

TEST(ExrLayers, HalfIsForColoursOnly) {
  Folder folder;
  Bitmap bitmap;
  makeFilm(*bitmap);
  for (const bool half : {false, true}) {
    ASSERT_EQ(save(*bitmap, folder.file("h.exr"), FILTER_EXR, half), IMAGERESULT_OK);
    const std::vector<Part> parts = read(folder.file("h.exr"));
    ASSERT_EQ(parts.size(), 1u);
    const auto color = half ? OIIO::TypeDesc::HALF : OIIO::TypeDesc::FLOAT;
    EXPECT_EQ(parts[0].type("R"), color);
    EXPECT_EQ(parts[0].type("diffuse_direct.G"), color);
    EXPECT_EQ(parts[0].type("depth.Z"), OIIO::TypeDesc::FLOAT);
    EXPECT_EQ(parts[0].type("crypto_object00.R"), OIIO::TypeDesc::FLOAT);
    EXPECT_EQ(parts[0].channel("sky.R"), -1); // not asked for
    EXPECT_EQ(parts[0].at("depth.Z", 3, 2), number);
    EXPECT_NEAR(parts[0].at("diffuse_direct.G", 3, 2), ramp(2 * side + 3, 1), half ? 1e-3f : 0.0f);
    EXPECT_EQ(parts[0].spec.get_string_attribute("cryptomatte/1234567/name"), "crypto_object");
  }
}

TEST(ExrLayers, NumbersSurviveEveryCompression) {
  Folder folder;
  Bitmap bitmap;
  makeFilm(*bitmap);
  for (LONG i = 0; i < static_cast<LONG>(host::exrCompressions().size()); ++i) {
    SCOPED_TRACE(host::exrCompressions()[static_cast<std::size_t>(i)]);
    ASSERT_EQ(save(*bitmap, folder.file("c.exr"), FILTER_EXR, false, i), IMAGERESULT_OK);
    const std::vector<Part> parts = read(folder.file("c.exr"));
    ASSERT_GE(parts.size(), 1u);
    std::string packed = parts[0].spec.get_string_attribute("compression");
    EXPECT_EQ(packed.substr(0, packed.find(':')), host::exrCompressions()[static_cast<std::size_t>(i)]);
    EXPECT_NEAR(parts[0].at("R", 5, 5), ramp(5 * side + 5, 0), 2e-2f);
    const Part& numbers = parts.back();
    EXPECT_EQ(numbers.at("depth.Z", 5, 5), number);
    EXPECT_EQ(numbers.at("crypto_object00.B", 5, 5), 1e-30f);
    EXPECT_EQ(numbers.at("crypto_object00.R", 5, 5), number);
    Bitmap loaded; // by us as well
    ASSERT_EQ(loaded->Init(folder.file("c.exr")), IMAGERESULT_OK);
    EXPECT_EQ(loaded->GetBw(), side);
  }
}

// Values that are no numbers stay where they are, and large ones do not become infinite.
TEST(ExrLayers, InfinitiesStayAndLargeValuesAreCut) {
  Folder folder;
  Bitmap bitmap;
  makeFilm(*bitmap);
  const auto layer = host::filmOf(*bitmap)->findLayer("diffuse_direct");
  const float odd[3] = {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(),
                        1e9f};
  layer->set(0, odd);
  ASSERT_EQ(save(*bitmap, folder.file("n.exr"), FILTER_EXR, true), IMAGERESULT_OK);
  const Part part = read(folder.file("n.exr")).at(0);
  EXPECT_TRUE(std::isinf(part.at("diffuse_direct.R", 0, 0)));
  EXPECT_TRUE(std::isnan(part.at("diffuse_direct.G", 0, 0)));
  EXPECT_EQ(part.at("diffuse_direct.B", 0, 0), 65504);
  EXPECT_NEAR(part.at("diffuse_direct.G", 1, 0), ramp(1, 1), 1e-3f);
}

TEST(ExrLayers, AForeignFileWithHundredsOfChannelsOpens) {
  Folder folder;
  constexpr int channels = 700;
  OIIO::ImageSpec spec(9, 7, channels, OIIO::TypeDesc::HALF);
  spec.channelnames.clear();
  for (int c = 0; c < channels; ++c)
    spec.channelnames.push_back(c < 3 ? std::string(1, "RGB"[c])
                                      : "layer" + std::to_string(c / 3) + "." + "RGB"[c % 3]);
  const std::string file = folder.file("many.exr").GetString().GetUTF8();
  const auto output = OIIO::ImageOutput::create(file);
  ASSERT_TRUE(output && output->open(file, spec));
  const std::vector<float> grey(9 * 7 * channels, 0.25f);
  ASSERT_TRUE(output->write_image(OIIO::TypeDesc::FLOAT, grey.data()));
  ASSERT_TRUE(output->close());
  Bitmap loaded;
  ASSERT_EQ(loaded->Init(folder.file("many.exr")), IMAGERESULT_OK);
  EXPECT_EQ(loaded->GetBw(), 9);
  EXPECT_EQ(at(*loaded, 4, 4).r, host::toDisplay(0.25f));
}

TEST(PictureOrigin, IsInFilesThatHaveRoomForIt) {
  Folder folder;
  Bitmap bitmap;
  makeFilm(*bitmap);
  ASSERT_EQ(save(*bitmap, folder.file("o.exr"), FILTER_EXR), IMAGERESULT_OK);
  const Part exr = read(folder.file("o.exr")).at(0);
  EXPECT_EQ(exr.spec.get_string_attribute("lumenara:Scene"), "chair <2>.glb");
  EXPECT_EQ(exr.spec.get_string_attribute("lumenara:Camera"), "K\u00fcche");

  ASSERT_EQ(save(*bitmap, folder.file("o.png"), FILTER_PNG), IMAGERESULT_OK);
  const Part png = read(folder.file("o.png")).at(0);
  EXPECT_EQ(png.spec.get_string_attribute("Scene"), "chair <2>.glb");
  EXPECT_EQ(png.spec.get_string_attribute("Software"), "Lumenara");

  for (const auto& [name, filter] : {std::pair("o.tif", FILTER_TIF), std::pair("o.jpg", FILTER_JPG)}) {
    ASSERT_EQ(save(*bitmap, folder.file(name), filter), IMAGERESULT_OK);
    std::ifstream file(folder.path() / name, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    EXPECT_NE(bytes.find("<lumenara:Scene>chair &lt;2&gt;.glb</lumenara:Scene>"), std::string::npos) << name;
    EXPECT_NE(bytes.find("<lumenara:Camera>K\u00fcche</lumenara:Camera>"), std::string::npos) << name;
    Bitmap loaded;
    EXPECT_EQ(loaded->Init(folder.file(name)), IMAGERESULT_OK);
  }
}

TEST(PictureOrigin, IsLeftOutUnlessItIsWanted) {
  Folder folder;
  Bitmap bitmap;
  makeFilm(*bitmap);
  ASSERT_EQ(save(*bitmap, folder.file("p.exr"), FILTER_EXR, false, 3, false), IMAGERESULT_OK);
  EXPECT_EQ(read(folder.file("p.exr")).at(0).spec.get_string_attribute("lumenara:Scene"), "");
}

TEST(LayerTable, ReadsLists) {
  std::string unknown;
  EXPECT_EQ(host::layersOf("all", unknown), host::allLayers());
  EXPECT_EQ(host::layersOf("depth,albedo", unknown), host::depthLayer | host::albedoLayer);
  for (const char* wrong : {"", "depth,", "Depth", "depth albedo", ",", "all,depth"})
    EXPECT_FALSE(host::layersOf(wrong, unknown)) << wrong;
  EXPECT_FALSE(host::layersOf("depth,deep,albedo", unknown));
  EXPECT_EQ(unknown, "deep");
}
