// Pictures with 16 bits a channel.
#include <cmath>
#include <fstream>
#include <iterator>

#include "display_transform.h"
#include "failures.h"
#include "film.h"
#include "lens_effects.h"
#include "picture_decode.h"
#include "picture_fixture.h"
#include "picture_formats.h"
#include "picture_save.h"
#include "view_transform.h"

using namespace picture_fixture;

namespace host {
namespace {

constexpr float quarter[4] = {0.25f, 0.2501f, 4, 0.5f};

class DeepPictures : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(bitmap->Init(4, 2, 32), IMAGERESULT_OK);
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < 4; ++x)
        film->setColor(x, y, quarter);
    showFilm({});
  }
  /// The bitmap shows the film through this view; one pixel is drawn over.
  void showFilm(const ViewSettings& settings) {
    const auto view = std::make_shared<ViewTransform>(settings);
    film->setView(view);
    setFilm(*bitmap, film);
    unsigned char codes[3];
    view->show(quarter, codes, 1);
    for (LONG y = 0; y < 2; ++y)
      for (LONG x = 0; x < 4; ++x)
        bitmap->SetPixel(x, y, codes[0], codes[1], codes[2]), bitmap->SetAlpha(x, y, 128);
    bitmap->SetPixel(3, 1, 9, 8, 7), bitmap->SetAlpha(3, 1, 255);
  }
  std::shared_ptr<const DecodedPicture> saved(SAVEBIT bits, const DeskLook& look = {}) {
    const Filename file = folder.file("deep.png");
    EXPECT_EQ(savePicture(*bitmap, file, FILTER_PNG, nullptr, bits, &look), IMAGERESULT_OK);
    std::ifstream in(file.GetString().GetUTF8(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    auto picture = decodePicture(std::as_bytes(std::span(bytes)), "deep.png", nullptr);
    EXPECT_TRUE(picture && picture->words.size() == 4u * 2 * 4);
    return picture;
  }
  using Words = std::array<int, 4>;
  static Words at(const DecodedPicture& picture, std::size_t x, std::size_t y) {
    const std::uint16_t* p = picture.words.data() + 4 * (4 * y + x);
    return {p[0], p[1], p[2], p[3]};
  }

  Folder folder;
  AutoAlloc<BaseBitmap> bitmap;
  std::shared_ptr<Film> film = std::make_shared<Film>(4, 2);
};

int word(double light) {
  return static_cast<int>(std::lround(linearToSrgb(light) * 65535));
}

TEST_F(DeepPictures, HoldTheLightThroughTheView) {
  const auto opaque = saved(SAVEBIT_0);
  EXPECT_FALSE(opaque->hasAlpha);
  EXPECT_EQ(at(*opaque, 0, 0), (Words{word(0.25), word(0.2501), 65535, 65535}));
  EXPECT_NE(word(0.25), word(0.2501)) << "one code of 8 bits";
  const auto clear = saved(SAVEBIT_ALPHA); // not multiplied by the coverage
  EXPECT_EQ(at(*clear, 1, 1), (Words{word(0.5), word(0.5002), 65535, 32768}));
}

TEST_F(DeepPictures, PixelsThatWereDrawnOverHaveTheirCodes) {
  EXPECT_EQ(at(*saved(SAVEBIT_ALPHA), 3, 1), (Words{9 * 257, 8 * 257, 7 * 257, 65535}));
  setFilm(*bitmap, nullptr);
  const Words held{toDisplay(0.25f) * 257, toDisplay(0.2501f) * 257, 65535, 128 * 257};
  EXPECT_EQ(at(*saved(SAVEBIT_ALPHA), 0, 0), held);
}

TEST_F(DeepPictures, OtherViewsHaveAllTheirSteps) {
  showFilm({"Raw", 1}); // one stop brighter
  const Words raw = at(*saved(SAVEBIT_0), 2, 0);
  EXPECT_NEAR(raw[0], 0.5 * 65535, 1);
  EXPECT_NEAR(raw[1], 0.5002 * 65535, 1.5);
  EXPECT_NE(raw[0], raw[1]);
  ViewSettings bent{"Raw"};
  bent.gamma = 2;
  showFilm(bent);
  EXPECT_NEAR(at(*saved(SAVEBIT_0), 2, 0)[0], 0.5 * 65535, 1.5);
}

TEST_F(DeepPictures, ShowTheLens) {
  DeskLook look;
  look.lens.vignette = true, look.lens.amount = 1, look.lens.size = 0.5;
  std::vector<float> light;
  for (int i = 0; i < 8; ++i)
    light.insert(light.end(), quarter, quarter + 3);
  applyLens(look.lens, 4, 2, light);
  const auto picture = saved(SAVEBIT_0, look);
  EXPECT_EQ(at(*picture, 0, 1)[0], toDisplayWord(light[12]));
  EXPECT_LT(at(*picture, 0, 1)[0], word(0.25) - 500);
}

TEST_F(DeepPictures, AreSavedWholeOrNotAtAll) {
  EXPECT_TRUE(holdsDeep(FILTER_PNG));
  EXPECT_FALSE(holdsDeep(FILTER_JPG));
  takeFailures();
  const DeskLook plain;
  EXPECT_EQ(savePicture(*bitmap, folder.file("no/deep.png"), FILTER_PNG, nullptr, SAVEBIT_0, &plain),
            IMAGERESULT_FILEERROR);
  EXPECT_EQ(takeFailures().size(), 1u);
  EXPECT_EQ(folder.entries(), 0u);
}

} // namespace
} // namespace host
