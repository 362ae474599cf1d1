// The error banner, pixel by pixel.
#include <gtest/gtest.h>

#include "thread_fixture.h"

namespace {

class BannerTest : public ThreadFixture {
 protected:
  void SetUp() override {
    ThreadFixture::SetUp();
    ASSERT_EQ(bitmap->Init(340, 130, 24), IMAGERESULT_OK);
    probe->finished = [](BaseBitmap& picture, std::size_t) { paint(picture); };
  }
  static LONG red(LONG x, LONG y) { return (x * 3 + y) % 256; }
  static LONG green(LONG x, LONG y) { return (x + y * 2) % 200; }
  static void paint(BaseBitmap& picture) {
    for (LONG y = 0; y < picture.GetBh(); ++y) {
      for (LONG x = 0; x < picture.GetBw(); ++x)
        picture.SetPixel(x, y, red(x, y), green(x, y), 90);
    }
  }

  /// A line as the banner has it: black around it, grey closer, white.
  static void drawLine(GeClipMap& map, LONG x, LONG y, const char* text) {
    map.SetColor(0, 0, 0, 16);
    for (LONG i = 0; i < 25; ++i)
      map.TextAt(x + i % 5 - 2, y + i / 5 - 2, text);
    map.SetColor(64, 64, 64, 128);
    for (LONG i = 0; i < 9; ++i)
      map.TextAt(x + i % 3 - 1, y + i / 3 - 1, text);
    map.SetColor(255, 255, 255, 255);
    map.TextAt(x, y, text);
  }

  void expectBanner(const char* detail, bool withIcon) {
    AutoAlloc<GeClipMap> map, icon;
    ASSERT_EQ(map->Init(300, 100, 32), IMAGERESULT_OK);
    map->BeginDraw();
    map->SetDrawMode(GE_CM_DRAWMODE_BLEND, 255);
    for (LONG y = 0; y < 100; ++y) {
      for (LONG x = 0; x < 300; ++x)
        map->SetPixelRGBA(x, y, red(x, y), green(x, y), 90, 255);
    }
    LONG textX = 4;
    if (withIcon) {
      ASSERT_EQ(icon->Init(Filename(LUMENARA_SOURCE_DIR) + "res" + "gui" + "error.tif"), IMAGERESULT_OK);
      map->Blit(4, 4, *icon, 0, 0, icon->GetBw() - 1, icon->GetBh() - 1);
      textX = icon->GetBw() + 8;
    }
    drawLine(*map, textX, 4, "Lumenara Error");
    drawLine(*map, textX, map->GetTextHeight() + 8, detail);
    map->EndDraw();

    LONG wrong = 0;
    for (LONG y = 0; y < bitmap->GetBh(); ++y) {
      for (LONG x = 0; x < bitmap->GetBw(); ++x) {
        LONG r = red(x, y), g = green(x, y), b = 90, a = 255;
        if (x < 300 && y < 100) map->GetPixelRGBA(x, y, &r, &g, &b, &a);
        wrong += !pixelIs(*bitmap, x, y, r, g, b);
      }
    }
    EXPECT_EQ(wrong, 0) << detail;
  }
};

TEST_F(BannerTest, IsTheIconAndTwoLinesOverThePicture) {
  probe->result = RENDERRESULT_ASSETMISSING;
  runJob();
  expectBanner("Asset Missing", true);
  probe->result = RENDERRESULT_OUTOFMEMORY;
  runJob();
  expectBanner("Not Enough Memory", true);
  probe->result = RENDERRESULT_OK;
  probe->during = [&](BaseDocument&, VideoPostStruct&) { thread.CancelRender(); };
  runJob();
  expectBanner("Render Cancelled", true);
}

TEST_F(BannerTest, WithoutItsIconTheTextStandsAtTheEdge) {
  removeResources();
  probe->result = RENDERRESULT_ASSETMISSING;
  runJob();
  expectBanner("Asset Missing", false);
}

TEST_F(BannerTest, OtherResultsPaintNothing) {
  probe->result = static_cast<RENDERRESULT>(5);
  runJob();
  EXPECT_EQ(status.result, 5);
  for (LONG y = 0; y < 100; ++y) {
    for (LONG x = 0; x < 300; ++x)
      ASSERT_TRUE(pixelIs(*bitmap, x, y, red(x, y), green(x, y), 90)) << x << ", " << y;
  }
}

TEST_F(BannerTest, ADeclinedOverwritePaintsNothing) {
  thread.animation = 1;
  thread.format = 7;
  thread.outputFile = folder / "shot";
  folder.write("shot.tif", "old");
  ui.answers = {false};
  paint(*bitmap);
  runJob();
  for (LONG y = 0; y < 100; ++y) {
    for (LONG x = 0; x < 300; ++x)
      ASSERT_TRUE(pixelIs(*bitmap, x, y, red(x, y), green(x, y), 90)) << x << ", " << y;
  }
}

} // namespace
