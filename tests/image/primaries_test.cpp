// Pictures whose red, green and blue are other lights than Rec. 709's.
#include "primaries.h"

#include <OpenImageIO/imageio.h>

#include "film_file.h"
#include "picture_decode.h"
#include "picture_fixture.h"
#include "read_file.h"

using namespace picture_fixture;

namespace {

constexpr host::Primaries acesCg{{0.713, 0.293}, {0.165, 0.83}, {0.128, 0.044}, {0.32168, 0.33767}};
// Published with the ACES colour spaces, to five digits.
constexpr float acesCgToRec709[9] = {1.70505f,  -0.62179f, -0.08326f, -0.13026f, 1.14080f,
                                     -0.01055f, -0.02400f, -0.12897f, 1.15297f};

void writeExr(const Filename& file, const host::Primaries* primaries, const std::vector<float>& pixel,
              const std::vector<std::string>& channels = {"R", "G", "B"}) {
  OIIO::ImageSpec spec(1, 1, static_cast<int>(channels.size()), OIIO::TypeDesc::FLOAT);
  spec.channelnames = channels;
  if (channels.size() > 3) spec.attribute("cryptomatte/1/name", "who");
  if (primaries) {
    float values[8];
    const host::Primaries::Point points[] = {primaries->red, primaries->green, primaries->blue,
                                             primaries->white};
    for (std::size_t i = 0; i < 8; ++i)
      values[i] = static_cast<float>(points[i / 2][i % 2]);
    spec.attribute("chromaticities", OIIO::TypeDesc(OIIO::TypeDesc::FLOAT, 8), values);
  }
  const auto output = OIIO::ImageOutput::create("exr");
  ASSERT_TRUE(output->open(file.GetString().GetUTF8(), spec));
  ASSERT_TRUE(output->write_image(OIIO::TypeDesc::FLOAT, pixel.data()));
  output->close();
}

std::vector<float> decoded(const Filename& file, host::PictureUse use) {
  std::string error;
  const auto picture = host::decodePicture(host::readFile(file).bytes, "a.exr", &error, use);
  EXPECT_TRUE(picture) << error;
  return picture ? picture->floats : std::vector<float>();
}

TEST(Primaries, AcesCgHasThePublishedMatrix) {
  const auto matrix = host::toRec709(acesCg);
  ASSERT_TRUE(matrix);
  for (std::size_t i = 0; i < 9; ++i)
    EXPECT_NEAR((*matrix)[i], acesCgToRec709[i], 2e-4f) << i;
}

TEST(Primaries, Rec709AndNonsenseGiveNone) {
  EXPECT_FALSE(host::toRec709({}));
  EXPECT_FALSE(host::toRec709({{0.64, 0.33}, {0.64, 0.33}, {0.15, 0.06}, {0.3127, 0.329}})) << "a line";
  EXPECT_FALSE(host::toRec709({{0.64, 0}, {0.3, 0.6}, {0.15, 0.06}, {0.3127, 0.329}}));
  EXPECT_FALSE(host::toRec709({{NAN, 0.3}, {0.3, 0.6}, {0.15, 0.06}, {0.3127, 0.329}}));
}

TEST(Primaries, AnOpenExrFilesPrimariesCountForColoursOnly) {
  Folder folder;
  const std::vector<float> white{0.5f, 0.5f, 0.5f}, green{0.1f, 0.8f, 0.2f};
  writeExr(folder.file("white.exr"), &acesCg, white);
  writeExr(folder.file("green.exr"), &acesCg, green);
  writeExr(folder.file("plain.exr"), nullptr, green);
  for (const host::PictureUse use : {host::PictureUse::shown, host::PictureUse::colors}) {
    const std::vector<float> grey = decoded(folder.file("white.exr"), use);
    for (std::size_t c = 0; c < 3; ++c)
      EXPECT_NEAR(grey[c], 0.5f, 1e-3f) << "white stays white";
    const std::vector<float> seen = decoded(folder.file("green.exr"), use);
    for (std::size_t row = 0; row < 3; ++row)
      EXPECT_NEAR(seen[row],
                  acesCgToRec709[3 * row] * green[0] + acesCgToRec709[3 * row + 1] * green[1] +
                      acesCgToRec709[3 * row + 2] * green[2],
                  1e-3f);
  }
  const auto tells = [&](const char* name) {
    const auto bytes = host::readFile(folder.file(name)).bytes;
    return host::decodePicture(bytes, name, nullptr, host::PictureUse::colors)->tellsColors;
  };
  EXPECT_TRUE(tells("green.exr")) << "before any rule for its name";
  EXPECT_FALSE(tells("plain.exr"));
  EXPECT_FLOAT_EQ(decoded(folder.file("green.exr"), host::PictureUse::data)[1], 0.8f);
  EXPECT_FLOAT_EQ(decoded(folder.file("plain.exr"), host::PictureUse::colors)[1], 0.8f);
}

TEST(Primaries, LayersOfColoursAreConvertedAndNumbersAreNot) {
  const Folder folder;
  std::vector<std::string> channels;
  std::vector<float> pixel;
  for (const char* layer : {"", "diffuse_direct.", "Main.Albedo.", "Main.Normal.", "crypto_object00.",
                            "who00.", "object_id.", "uv."})
    for (std::size_t c = 0; c < 3; ++c) {
      channels.push_back(layer + std::string(1, "RGB"[c]));
      pixel.push_back(std::array{0.1f, 0.8f, 0.2f}[c]);
    }
  channels.push_back("depth.Z");
  pixel.push_back(7);
  writeExr(folder.file("layers.exr"), &acesCg, pixel, channels);
  const host::FilmFile file = host::loadFilm(folder.file("layers.exr").GetString().GetUTF8());
  ASSERT_TRUE(file.film) << file.error;
  float rgba[4];
  file.film->getColor(0, 0, rgba);
  EXPECT_NEAR(rgba[1], 0.897f, 1e-3f); // -0.013026 + 0.91264 - 0.00211
  const auto layer = [&](const char* name) {
    std::array<float, 4> values{};
    const host::FilmLayerPtr found = file.film->findLayer(name);
    EXPECT_TRUE(found) << name;
    if (found) found->get(0, values.data());
    return values;
  };
  for (const char* name : {"diffuse_direct", "Main.Albedo"})
    for (std::size_t c = 0; c < 3; ++c)
      EXPECT_FLOAT_EQ(layer(name)[c], rgba[c]) << name;
  for (const char* name : {"Main.Normal", "crypto_object00", "who00", "object_id", "uv"})
    EXPECT_EQ((std::array{layer(name)[0], layer(name)[1], layer(name)[2]}), (std::array{0.1f, 0.8f, 0.2f}))
        << name;
  EXPECT_EQ(layer("depth")[0], 7);
}

} // namespace
