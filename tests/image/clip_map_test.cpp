// Clip maps: pixels, blending, copies.
#include "picture_fixture.h"

using namespace picture_fixture;

namespace {

using ClipMap = AutoAlloc<GeClipMap>;

void init(ClipMap& map, LONG width, LONG height, const Rgba& fill) {
  ASSERT_EQ(map->Init(width, height, 32), IMAGERESULT_OK);
  for (LONG y = 0; y < height; ++y)
    for (LONG x = 0; x < width; ++x)
      map->SetPixelRGBA(x, y, fill.r, fill.g, fill.b, fill.a);
  map->BeginDraw();
}

int rounded(double value) {
  return static_cast<int>(value + 0.5);
}

} // namespace

TEST(ClipMap, StartsTransparentBlack) {
  ClipMap map;
  EXPECT_EQ(map->GetBw(), 0);
  ASSERT_EQ(map->Init(3, 2), IMAGERESULT_OK);
  EXPECT_EQ(map->GetBw(), 3);
  EXPECT_EQ(map->GetBh(), 2);
  EXPECT_EQ(at(*map, 2, 1), (Rgba{0, 0, 0, 0}));
  map->Destroy();
  EXPECT_EQ(map->GetBw(), 0);
}

TEST(ClipMap, BadShapesAreRefused) {
  ClipMap map;
  EXPECT_EQ(map->Init(0, 5), IMAGERESULT_PARAM_ERROR);
  EXPECT_EQ(map->Init(5, -5), IMAGERESULT_PARAM_ERROR);
  EXPECT_EQ(map->Init(32769, 1), IMAGERESULT_PARAM_ERROR);
  EXPECT_EQ(map->Init(5, 5, 8), IMAGERESULT_PARAM_ERROR);
  EXPECT_EQ(map->GetBw(), 0);
}

TEST(ClipMap, SetPixelIgnoresTheDrawMode) {
  ClipMap map;
  init(map, 3, 3, {9, 9, 9, 255});
  map->SetDrawMode(GE_CM_DRAWMODE_BLEND, 255);
  map->SetPixelRGBA(1, 1, 10, 20, 30, 40);
  EXPECT_EQ(at(*map, 1, 1), (Rgba{10, 20, 30, 40}));
  map->SetPixelRGBA(2, 2, 300, -4, 30);
  EXPECT_EQ(at(*map, 2, 2), (Rgba{255, 0, 30, 255}));
  map->SetPixelRGBA(3, 0, 1, 1, 1);
  map->SetPixelRGBA(-1, INT32_MIN, 1, 1, 1);
  EXPECT_EQ(at(*map, 3, 0), (Rgba{0, 0, 0, 0}));
  EXPECT_EQ(at(*map, 0, 0), (Rgba{9, 9, 9, 255}));
  map->GetPixelRGBA(0, 0, nullptr, nullptr, nullptr, nullptr);
}

TEST(ClipMap, NothingIsDrawnOutsideBeginAndEnd) {
  ClipMap map, other;
  init(map, 4, 4, {1, 2, 3, 255});
  init(other, 4, 4, {200, 200, 200, 255});
  map->EndDraw();
  map->SetColor(255, 255, 255);
  map->FillRect(0, 0, 3, 3);
  map->Line(0, 0, 3, 3);
  map->Blit(0, 0, *other, 0, 0, 3, 3);
  map->TextAt(0, 0, "W");
  for (LONG y = 0; y < 4; ++y)
    for (LONG x = 0; x < 4; ++x)
      EXPECT_EQ(at(*map, x, y), (Rgba{1, 2, 3, 255}));
}

TEST(ClipMap, CopyModeWritesColorAndAlpha) {
  ClipMap map;
  init(map, 5, 5, {9, 9, 9, 255});
  map->SetDrawMode(GE_CM_DRAWMODE_COPY);
  map->SetColor(10, 20, 30, 40);
  map->FillRect(1, 2, 3, 2);
  for (LONG y = 0; y < 5; ++y)
    for (LONG x = 0; x < 5; ++x)
      EXPECT_EQ(at(*map, x, y), y == 2 && x >= 1 && x <= 3 ? (Rgba{10, 20, 30, 40}) : (Rgba{9, 9, 9, 255}));
}

TEST(ClipMap, RectanglesAreClipped) {
  ClipMap map;
  init(map, 3, 3, {0, 0, 0, 255});
  map->SetColor(7, 7, 7);
  map->FillRect(INT32_MIN, 1, INT32_MAX, 1);
  map->FillRect(2, 2, 1, 2); // corners swapped: nothing
  EXPECT_EQ(at(*map, 0, 1), (Rgba{7, 7, 7, 255}));
  EXPECT_EQ(at(*map, 2, 1), (Rgba{7, 7, 7, 255}));
  EXPECT_EQ(at(*map, 1, 2), (Rgba{0, 0, 0, 255}));
}

TEST(ClipMap, BlendingIsExactOnAnOpaqueMap) {
  ClipMap map;
  for (const int alpha : {0, 1, 16, 127, 128, 254, 255})
    for (const int below : {0, 1, 100, 255})
      for (const int above : {0, 64, 200, 255}) {
        init(map, 1, 1, {below, 255 - below, 50, 255});
        map->SetDrawMode(GE_CM_DRAWMODE_BLEND, 255);
        map->SetColor(above, above, 50, alpha);
        map->FillRect(0, 0, 0, 0);
        const auto mix = [&](int under) { return rounded((above * alpha + under * (255 - alpha)) / 255.0); };
        EXPECT_EQ(at(*map, 0, 0), (Rgba{mix(below), mix(255 - below), 50, 255}))
            << alpha << " " << below << " " << above;
      }
}

TEST(ClipMap, TheModesValueScalesTheAlpha) {
  ClipMap map;
  init(map, 1, 1, {0, 0, 0, 255});
  map->SetDrawMode(GE_CM_DRAWMODE_BLEND, 51); // a fifth
  map->SetColor(250, 250, 250, 255);
  map->FillRect(0, 0, 0, 0);
  EXPECT_EQ(at(*map, 0, 0), (Rgba{50, 50, 50, 255}));
}

TEST(ClipMap, BlendingOntoATransparentMapKeepsTheColor) {
  ClipMap map;
  init(map, 2, 1, {90, 0, 0, 0});
  map->SetDrawMode(GE_CM_DRAWMODE_BLEND);
  map->SetColor(200, 100, 50, 128);
  map->FillRect(0, 0, 0, 0);
  EXPECT_EQ(at(*map, 0, 0), (Rgba{200, 100, 50, 128}));
  EXPECT_EQ(at(*map, 1, 0), (Rgba{90, 0, 0, 0}));
  map->SetColor(0, 0, 0, 128); // half over half: opacity 128 + 128 * 127 / 255, colour weighed by opacity
  map->FillRect(0, 0, 0, 0);
  const double both = 128 + 128 * 127 / 255.0;
  const double weight = 128 * 127 / 255.0 / both;
  EXPECT_EQ(at(*map, 0, 0),
            (Rgba{rounded(200 * weight), rounded(100 * weight), rounded(50 * weight), rounded(both)}));
}

TEST(ClipMap, BlitBlendsByTheSourcesAlpha) {
  ClipMap map, icon;
  init(map, 6, 6, {100, 100, 100, 255});
  init(icon, 3, 2, {0, 0, 0, 0});
  icon->SetPixelRGBA(0, 0, 255, 0, 0, 255);
  icon->SetPixelRGBA(1, 0, 200, 50, 0, 51);
  icon->SetPixelRGBA(2, 1, 10, 20, 30, 0);
  map->SetDrawMode(GE_CM_DRAWMODE_BLEND, 255);
  map->Blit(2, 3, *icon, 0, 0, 3, 2); // the size counts as the last pixel too
  EXPECT_EQ(at(*map, 2, 3), (Rgba{255, 0, 0, 255}));
  EXPECT_EQ(at(*map, 3, 3), (Rgba{120, 90, 80, 255})); // a fifth
  EXPECT_EQ(at(*map, 4, 4), (Rgba{100, 100, 100, 255}));
  EXPECT_EQ(at(*map, 1, 3), (Rgba{100, 100, 100, 255}));
}

TEST(ClipMap, BlitCopiesParts) {
  ClipMap map, source;
  init(map, 4, 4, {0, 0, 0, 255});
  init(source, 4, 4, {0, 0, 0, 255});
  for (LONG y = 0; y < 4; ++y)
    for (LONG x = 0; x < 4; ++x)
      source->SetPixelRGBA(x, y, x, y, 0, 10 * x + y);
  map->Blit(2, 1, *source, 1, 2, 3, 3); // the right column falls outside
  for (LONG y = 0; y < 4; ++y)
    for (LONG x = 0; x < 4; ++x) {
      const bool drawn = x >= 2 && (y == 1 || y == 2);
      EXPECT_EQ(at(*map, x, y), drawn ? (Rgba{x - 1, y + 1, 0, 10 * (x - 1) + y + 1}) : (Rgba{0, 0, 0, 255}));
    }
}

TEST(ClipMap, BlitKeepsThePlaceOfACutPart) {
  ClipMap map, source;
  init(map, 4, 1, {0, 0, 0, 255});
  init(source, 2, 1, {5, 5, 5, 255});
  map->Blit(0, 0, *source, -2, 0, 1, 0); // two columns before the source: its first lands on column 2
  EXPECT_EQ(at(*map, 1, 0), (Rgba{0, 0, 0, 255}));
  EXPECT_EQ(at(*map, 2, 0), (Rgba{5, 5, 5, 255}));
  EXPECT_EQ(at(*map, 3, 0), (Rgba{5, 5, 5, 255}));
  map->Blit(INT32_MAX, INT32_MIN, *source, INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX);
  EXPECT_EQ(at(*map, 0, 0), (Rgba{0, 0, 0, 255}));
}

TEST(ClipMap, BlitWithinOneMapReadsTheOldPixels) {
  ClipMap map;
  init(map, 4, 1, {0, 0, 0, 255});
  for (LONG x = 0; x < 4; ++x)
    map->SetPixelRGBA(x, 0, 10 * x, 0, 0);
  map->Blit(1, 0, *map, 0, 0, 2, 0);
  const int wanted[] = {0, 0, 10, 20};
  for (LONG x = 0; x < 4; ++x)
    EXPECT_EQ(at(*map, x, 0).r, wanted[x]);
}

TEST(ClipMap, LinesReachBothEnds) {
  ClipMap map;
  const std::array<LONG, 4> lines[] = {{1, 1, 6, 1}, {6, 4, 1, 1}, {2, 7, 2, 0},
                                       {0, 0, 7, 7}, {3, 3, 3, 3}, {1, 6, 3, 0}};
  for (const auto& l : lines) {
    init(map, 8, 8, {0, 0, 0, 255});
    map->SetColor(255, 255, 255);
    map->Line(l[0], l[1], l[2], l[3]);
    EXPECT_EQ(at(*map, l[0], l[1]).r, 255);
    EXPECT_EQ(at(*map, l[2], l[3]).r, 255);
    int drawn = 0;
    for (LONG y = 0; y < 8; ++y)
      for (LONG x = 0; x < 8; ++x)
        drawn += at(*map, x, y).r == 255;
    EXPECT_EQ(drawn, std::max(std::abs(l[2] - l[0]), std::abs(l[3] - l[1])) + 1);
  }
}

TEST(ClipMap, EndlessLinesCostNothingOutside) {
  ClipMap map;
  init(map, 8, 8, {0, 0, 0, 255});
  map->SetColor(255, 255, 255);
  map->Line(INT32_MIN, 3, INT32_MAX, 3);
  for (LONG x = 0; x < 8; ++x)
    EXPECT_EQ(at(*map, x, 3).r, 255);
  EXPECT_EQ(at(*map, 3, 4).r, 0);
}

TEST(ClipMap, LoadsAPicture) {
  Folder folder;
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(5, 4, 32), IMAGERESULT_OK);
  fillPattern(*bitmap);
  ASSERT_EQ(bitmap->Save(folder.file("icon.tif"), FILTER_TIF, nullptr, SAVEBIT_ALPHA), IMAGERESULT_OK);
  ClipMap map;
  ASSERT_EQ(map->Init(folder.file("icon.tif")), IMAGERESULT_OK);
  EXPECT_EQ(map->GetBw(), 5);
  EXPECT_EQ(at(*map, 3, 2), patternAt(3, 2));
  EXPECT_EQ(map->Init(folder.file("none.tif")), IMAGERESULT_NOTEXISTING);
  EXPECT_EQ(map->GetBw(), 0);
}
