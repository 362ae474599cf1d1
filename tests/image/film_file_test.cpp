// Picture files as films: every layer of OpenEXR files, ours and foreign ones.
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfOutputFile.h>

#include <limits>

#include "film_file.h"
#include "layer_rows.h"
#include "picture_fixture.h"
#include "picture_formats.h"
#include "temporary_folder.h"

using namespace picture_fixture;

namespace {

using Bitmap = AutoAlloc<BaseBitmap>;

float valueAt(const host::Film& film, const char* layer, int x, int y, std::size_t channel = 0) {
  const host::FilmLayerPtr found = film.findLayer(layer);
  if (!found) {
    ADD_FAILURE() << layer;
    return 0;
  }
  std::vector<float> values(found->channels().size());
  found->get(film.pixelAt(x, y), values.data());
  return values.at(channel);
}

TEST(FilmFile, OurFilesComeBackWhole) {
  for (const LONG compression : {LONG{3}, LONG{8}}) { // 8: numbers are in a part of their own
    const TemporaryFolder folder;
    Bitmap bitmap;
    ASSERT_EQ(bitmap->Init(8, 4, 24), IMAGERESULT_OK);
    const auto film = std::make_shared<host::Film>(8, 4);
    const float depth = 1234.5f, light[3] = {0.5f, 0.25f, 0.125f};
    film->addLayer("depth", "Z")->set(film->pixelAt(5, 2), &depth);
    film->addLayer("diffuse_direct", "RGB")->set(film->pixelAt(5, 2), light);
    film->setNote("object_id/names", R"({"1":"Box"})");
    host::setFilm(*bitmap, film);
    BaseContainer options;
    options.SetLong(host::exrSaverCompression, compression);
    ASSERT_EQ(bitmap->Save(folder / "a.exr", FILTER_EXR, &options, SAVEBIT_0), IMAGERESULT_OK);
    const host::FilmFile read = host::loadFilm((folder / "a.exr").GetString().GetUTF8());
    ASSERT_TRUE(read.film) << read.error;
    EXPECT_EQ(read.film->layers().size(), 2u);
    EXPECT_EQ(read.film->findLayer("diffuse_direct")->channels(), "RGB");
    EXPECT_EQ(valueAt(*read.film, "depth", 5, 2), depth);
    EXPECT_NEAR(valueAt(*read.film, "diffuse_direct", 5, 2, 1), 0.25f, 0.02f);
    EXPECT_EQ(read.film->notes().at("object_id/names"), R"({"1":"Box"})");
  }
}

// Three hundred numbers, a layer of colours and one of directions, and a data window that does not begin at
// 0.
void writeForeign(const std::string& file) {
  constexpr int width = 5, height = 40, left = -2, top = 7;
  Imf::Header header(width, height);
  header.dataWindow() = {{left, top}, {left + width - 1, top + height - 1}};
  std::vector<std::string> names{
      "R",        "G",        "B",       "View.Combined.B", "View.Combined.G", "View.Combined.R",
      "Normal.X", "Normal.Y", "Normal.Z"};
  for (int i = 0; i < 300; ++i)
    names.push_back("aov.number" + std::to_string(i));
  std::vector<std::vector<float>> planes(names.size(), std::vector<float>(width * height));
  Imf::FrameBuffer buffer;
  for (std::size_t i = 0; i < names.size(); ++i) {
    for (std::size_t p = 0; p < planes[i].size(); ++p)
      planes[i][p] = static_cast<float>(i) + 0.01f * static_cast<float>(p);
    header.channels().insert(names[i], Imf::Channel(Imf::FLOAT));
    char* base = reinterpret_cast<char*>(planes[i].data() - left - top * width);
    buffer.insert(names[i], Imf::Slice(Imf::FLOAT, base, sizeof(float), width * sizeof(float)));
  }
  planes[0][0] = std::numeric_limits<float>::quiet_NaN();
  planes[1][1] = std::numeric_limits<float>::infinity();
  Imf::OutputFile output(file.c_str(), header, 0);
  output.setFrameBuffer(buffer);
  output.writePixels(height);
}

TEST(FilmFile, HundredsOfForeignChannelsAreLayers) {
  const TemporaryFolder folder;
  const std::string file = (folder / "foreign.exr").GetString().GetUTF8();
  writeForeign(file);
  const host::FilmFile read = host::loadFilm(file);
  ASSERT_TRUE(read.film) << read.error;
  EXPECT_EQ(read.film->layers().size(), 302u);
  EXPECT_EQ(read.film->findLayer("View.Combined")->channels(), "RGB");
  EXPECT_FLOAT_EQ(valueAt(*read.film, "View.Combined", 2, 1, 0), 5.07f) << "red is the first";
  EXPECT_FLOAT_EQ(valueAt(*read.film, "aov.number299", 4, 39), 308 + 1.99f);
  EXPECT_FLOAT_EQ(valueAt(*read.film, "Normal", 0, 0, 2), 8);
  const std::shared_ptr<host::Film> film = read.film;
  std::size_t vectors = 0;
  for (const host::ShownLayer& layer : host::shownLayers(*film))
    vectors += layer.kind == host::LayerKind::vector;
  EXPECT_EQ(vectors, 1u);
  host::LayerRows rows(film, "");
  rows.keep();
  EXPECT_EQ(rows.faults().nan, 1u) << "values of the picture itself are not made finite";
  EXPECT_EQ(rows.faults().infinite, 1u);
}

TEST(FilmFile, FailuresAreSentences) {
  const TemporaryFolder folder;
  EXPECT_NE(host::loadFilm((folder / "none.exr").GetString().GetUTF8()).error, "");
  const Filename file = folder.write("broken.exr", std::string_view("\x76\x2f\x31\x01 nothing else", 17));
  EXPECT_NE(host::loadFilm(file.GetString().GetUTF8()).error, "");
  EXPECT_FALSE(host::loadFilm(file.GetString().GetUTF8()).film);
}

} // namespace
