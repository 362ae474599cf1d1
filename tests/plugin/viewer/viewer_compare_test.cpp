// Compare mode: composition of A and B.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "viewer_fixture.h"

namespace {

constexpr Rgb BLACK{0, 0, 0}, A{200, 10, 60}, B{10, 100, 61};

class CompareTest : public ViewerFixture {
 protected:
  void SetUp() override {
    ViewerFixture::SetUp();
    openEnabled(W, H);
    setOption(LM_MODE, LM_MODE_COMPARE);
    setOption(LM_HISTORY_AUTOLOAD, 0);
  }
  const BaseBitmap& display() { return *view().display; }
  void putPictures() {
    fillBitmap(*view().imageA, W, H, A);
    fillBitmap(*view().imageB, W, H, B);
  }
  void place(LONG scale, LONG center) {
    setOption(LM_COMPARE_SCALE, scale);
    setOption(LM_COMPARE_CENTER, center);
  }
  /// A picture whose pixels encode their position: (x + 1, y + 1, 0).
  static void putPlaces(BaseBitmap& bitmap, LONG width, LONG height) {
    ASSERT_EQ(bitmap.Init(width, height, 24), IMAGERESULT_OK);
    for (LONG y = 0; y < height; ++y) {
      for (LONG x = 0; x < width; ++x)
        bitmap.SetPixel(x, y, x + 1, y + 1, 0);
    }
  }

  static constexpr LONG W = 21, H = 16;
};

TEST_F(CompareTest, SplitsStandAtTheSlider) {
  putPictures();
  for (const LONG style : {0, 1}) { // side by side, top and bottom
    const LONG side = style == 0 ? W : H;
    for (const Real slider : {-1.0, -0.5, -0.01, 0.0, 0.3, 0.999, 1.0}) {
      view().HistoryPrepare(slider, style);
      const auto split = static_cast<LONG>(std::floor(side * 0.5 * (slider + 1)));
      for (LONG y = 0; y < H; ++y) {
        for (LONG x = 0; x < W; ++x)
          ASSERT_EQ(pixelOf(display(), x, y), ((style == 0 ? x : y) < split ? B : A))
              << style << ", " << slider << ": " << x << ", " << y;
      }
    }
  }
}

TEST_F(CompareTest, TheMiddleSplitsAtHalfTheWidthRoundedDown) {
  putPictures();
  view().HistoryPrepare(0.0, 0);
  EXPECT_EQ(pixelOf(display(), 9, 0), B);
  EXPECT_EQ(pixelOf(display(), 10, 0), A);
}

TEST_F(CompareTest, TheEndsShowOneOnly) {
  putPictures();
  for (const LONG style : {0, 1, 2}) {
    view().HistoryPrepare(-1.0, style);
    EXPECT_TRUE(isFilled(display(), A)) << style;
    view().HistoryPrepare(1.0, style);
    EXPECT_TRUE(isFilled(display(), B)) << style;
  }
}

TEST_F(CompareTest, BlendIsTheFloorOfTheMixture) {
  std::mt19937 random(3);
  std::uniform_int_distribution<LONG> byte(0, 255);
  putPictures();
  for (LONG y = 0; y < H; ++y) {
    for (LONG x = 0; x < W; ++x) {
      view().imageA->SetPixel(x, y, byte(random), byte(random), byte(random));
      view().imageB->SetPixel(x, y, byte(random), byte(random), byte(random));
    }
  }
  place(0, 0);
  for (const Real slider : {-1.7, -1.0, -0.42, -0.37, 0.0, 0.1, 0.16, 0.5, 0.98, 1.0, 1.3}) {
    view().HistoryPrepare(slider, 2);
    const Real t = (slider + 1) / 2;
    const auto mix = [t](LONG a, LONG b) {
      return std::clamp(static_cast<LONG>(std::floor((b - a) * t + a)), 0, 255);
    };
    for (LONG y = 0; y < H; ++y) {
      for (LONG x = 0; x < W; ++x) {
        const Rgb a = pixelOf(*view().imageA, x, y), b = pixelOf(*view().imageB, x, y);
        ASSERT_EQ(pixelOf(display(), x, y), (Rgb{mix(a.r, b.r), mix(a.g, b.g), mix(a.b, b.b)})) << slider;
      }
    }
  }
}

TEST_F(CompareTest, TheAlphaChannelStays) {
  putPictures();
  for (LONG x = 0; x < W; ++x)
    view().display->SetAlpha(x, 3, x);
  for (const LONG style : {0, 1, 2, 9999}) {
    view().HistoryPrepare(0.4, style);
    for (LONG x = 0; x < W; ++x)
      EXPECT_EQ(view().display->GetAlpha(x, 3), x) << style;
  }
}

TEST_F(CompareTest, DifferenceIsAbsoluteAndGoesToThePictureViewer) {
  putPictures();
  view().HistoryPrepare(0.7, 9999);
  EXPECT_TRUE(isFilled(display(), {190, 90, 1}));
  ASSERT_EQ(ui.shownBitmaps.size(), 1u);
  EXPECT_EQ(ui.shownBitmaps[0].width, W);
  EXPECT_EQ(ui.shownBitmaps[0].height, H);
}

TEST_F(CompareTest, DifferenceIgnoresTheSlider) {
  putPictures();
  for (const Real slider : {-1.0, 0.0, 1.0}) {
    view().display->Clear(0, 0, 0);
    view().HistoryPrepare(slider, 9999);
    EXPECT_TRUE(isFilled(display(), {190, 90, 1})) << slider;
  }
  EXPECT_EQ(ui.shownBitmaps.size(), 3u);
}

TEST_F(CompareTest, AnEmptySlotCountsAsBlack) {
  fillBitmap(*view().imageB, W, H, B);
  for (const LONG scale : {1, 0}) {
    place(scale, 1);
    view().HistoryPrepare(0.0, 9999);
    EXPECT_TRUE(isFilled(display(), B));
    view().HistoryPrepare(-1.0, 0);
    EXPECT_TRUE(isFilled(display(), BLACK));
  }
}

TEST_F(CompareTest, OtherStylesLeaveTheDisplay) {
  putPictures();
  view().display->Clear(5, 6, 7);
  for (const LONG style : {-1, 3, 4, 9998, 10000, -9999})
    view().HistoryPrepare(0.0, style);
  EXPECT_TRUE(isFilled(display(), {5, 6, 7}));
  EXPECT_TRUE(ui.shownBitmaps.empty());
}

TEST_F(CompareTest, ScaledPicturesFillTheViewWithoutTheirAspect) {
  fillBitmap(*view().imageA, 3, 50, A);
  fillBitmap(*view().imageB, 70, 2, B);
  view().HistoryPrepare(-1.0, 0);
  EXPECT_TRUE(isFilled(display(), A));
  view().HistoryPrepare(1.0, 0);
  EXPECT_TRUE(isFilled(display(), B));
}

TEST_F(CompareTest, ScalingFilters) {
  ASSERT_EQ(view().imageA->Init(2 * W, H, 24), IMAGERESULT_OK);
  fillBitmap(*view().imageB, W, H, B);
  for (LONG y = 0; y < H; ++y) {
    for (LONG x = 0; x < 2 * W; ++x)
      view().imageA->SetPixel(x, y, x % 2 ? 200 : 100, 0, 0);
  }
  view().HistoryPrepare(-1.0, 0);
  EXPECT_EQ(pixelOf(display(), 7, 7), (Rgb{150, 0, 0}));
}

TEST_F(CompareTest, CentredPicturesThatAreSmaller) {
  place(0, 1);
  putPlaces(*view().imageA, 5, 4);
  fillBitmap(*view().imageB, W, H, B);
  view().HistoryPrepare(-1.0, 0);
  const LONG left = (W - 5) / 2, top = (H - 4) / 2;
  for (LONG y = 0; y < H; ++y) {
    for (LONG x = 0; x < W; ++x) {
      const LONG fromX = x - left, fromY = y - top;
      const bool inside = fromX >= 0 && fromX < 5 && fromY >= 0 && fromY < 4;
      ASSERT_EQ(pixelOf(display(), x, y), (inside ? Rgb{fromX + 1, fromY + 1, 0} : BLACK)) << x << ", " << y;
    }
  }
}

TEST_F(CompareTest, WithoutSettingsPicturesAreScaledElseCentred) {
  fillBitmap(*view().imageA, 5, 4, A);
  fillBitmap(*view().imageB, W, H, B);
  BaseContainer& data = *viewer->settings.GetDataInstance();
  data.RemoveData(LM_COMPARE_SCALE);
  data.RemoveData(LM_COMPARE_CENTER);
  view().HistoryPrepare(-1.0, 0);
  EXPECT_TRUE(isFilled(display(), A));
  data.SetLong(LM_COMPARE_SCALE, 0);
  view().HistoryPrepare(-1.0, 0);
  EXPECT_EQ(pixelOf(display(), 0, 0), BLACK);
  EXPECT_EQ(pixelOf(display(), W / 2, H / 2), A);
}

// An odd rest: the column bound comes one column early, the row bound lets one row more through.
TEST_F(CompareTest, CentredBoundsAreNotAlike) {
  place(0, 1);
  fillBitmap(*view().imageB, W, H, B);
  putPlaces(*view().imageA, W + 3, H + 3); // offsets -1 and -1: both truncate toward zero
  view().HistoryPrepare(-1.0, 0);
  for (LONG y = 0; y < H; ++y) {
    for (LONG x = 0; x < W; ++x)
      ASSERT_EQ(pixelOf(display(), x, y), (Rgb{x + 2, y + 2, 0})) << x << ", " << y;
  }

  putPlaces(*view().imageA, W - 3, H - 3); // offsets 1 and 1
  view().HistoryPrepare(-1.0, 0);
  for (LONG y = 0; y < H; ++y) {
    for (LONG x = 0; x < W; ++x) {
      // Columns 1 to W - 2; rows 1 to H - 1, of which the picture fills H - 3.
      const bool inside = x >= 1 && x < W - 1 && y >= 1 && x - 1 < W - 3 && y - 1 < H - 3;
      ASSERT_EQ(pixelOf(display(), x, y), (inside ? Rgb{x, y, 0} : BLACK)) << x << ", " << y;
    }
  }
}

TEST_F(CompareTest, CentredPicturesOfEvenRestLoseNothing) {
  place(0, 1);
  fillBitmap(*view().imageB, W, H, B);
  putPlaces(*view().imageA, W + 4, H + 6);
  view().HistoryPrepare(-1.0, 0);
  EXPECT_EQ(pixelOf(display(), 0, 0), (Rgb{3, 4, 0}));
  EXPECT_EQ(pixelOf(display(), W - 1, H - 1), (Rgb{W + 2, H + 3, 0}));
}

TEST_F(CompareTest, CornerPicturesStartAtTheTopLeft) {
  place(0, 0);
  putPlaces(*view().imageA, 5, 4);
  putPlaces(*view().imageB, W + 9, H + 9);
  view().HistoryPrepare(-1.0, 0);
  for (LONG y = 0; y < H; ++y) {
    for (LONG x = 0; x < W; ++x)
      ASSERT_EQ(pixelOf(display(), x, y), (x < 5 && y < 4 ? Rgb{x + 1, y + 1, 0} : BLACK));
  }
  view().HistoryPrepare(1.0, 0);
  EXPECT_EQ(pixelOf(display(), W - 1, H - 1), (Rgb{W, H, 0}));
}

TEST_F(CompareTest, AnyPlacesAndSizesStayWithinTheBitmaps) {
  std::mt19937 random(11);
  std::uniform_int_distribution<LONG> side(1, 60), style(-1, 3);
  std::uniform_real_distribution<Real> slider(-1, 1);
  for (int i = 0; i < 100; ++i) {
    place(i & 1, i & 2);
    putPlaces(*view().imageA, side(random), side(random));
    putPlaces(*view().imageB, side(random), side(random));
    view().Sized(side(random), side(random));
    view().HistoryPrepare(slider(random), style(random));
  }
}

// ---- Drawing

TEST_F(CompareTest, DrawsByTheSliderAndTheStoredStyle) {
  putPictures();
  setOption(LM_COMPARE_STYLE, 1);
  viewer->SetPercent(1108, 0.0, -100.0, 100.0, 1.0);
  redraw();
  EXPECT_EQ(paintedPixel(view(), 3, 0), B);
  EXPECT_EQ(paintedPixel(view(), 3, H - 1), A);
  viewer->settings.GetDataInstance()->RemoveData(LM_COMPARE_STYLE);
  redraw();
  EXPECT_EQ(paintedPixel(view(), 3, 0), (Rgb{105, 55, 60})); // blend is the fallback
}

TEST_F(CompareTest, EnteringClearsTheDisplayOnce) {
  view().display->Clear(9, 9, 9);
  view().lastCompose = 0;
  redraw();
  EXPECT_TRUE(isFilled(display(), BLACK));
  EXPECT_EQ(view().lastCompose, GeGetTimer());
  view().display->Clear(9, 9, 9);
  redraw();
  EXPECT_TRUE(isFilled(display(), {9, 9, 9})); // nothing to compose: what was there stays
}

TEST_F(CompareTest, WithOneSlotEmptyNothingIsComposed) {
  fillBitmap(*view().imageA, W, H, A);
  view().lastCompose = 0;
  redraw();
  EXPECT_TRUE(isFilled(display(), BLACK));
  fillBitmap(*view().imageB, W, H, B);
  redraw();
  EXPECT_FALSE(isFilled(display(), BLACK));
  view().imageA->FlushAll();
  redraw();
  EXPECT_FALSE(isFilled(display(), BLACK)); // the last composition stays
}

TEST_F(CompareTest, ADrawingBeforeTheLastCompositionIsBlittedOnly) {
  putPictures();
  view().lastCompose = GeGetTimer() + 1000;
  view().display->Clear(9, 9, 9);
  redraw();
  EXPECT_TRUE(isFilled(display(), {9, 9, 9}));
  EXPECT_EQ(view().lastCompose, GeGetTimer() + 1000);
  advance(1000);
  redraw();
  EXPECT_FALSE(isFilled(display(), {9, 9, 9}));
}

TEST_F(CompareTest, ComposesAcrossTheTimersWrap) {
  putPictures();
  clock.set(0x7fffffffLL);
  view().lastCompose = GeGetTimer();
  clock.advance(5); // the timer is negative now
  view().display->Clear(9, 9, 9);
  redraw();
  EXPECT_FALSE(isFilled(display(), {9, 9, 9}));
  EXPECT_EQ(view().lastCompose, GeGetTimer());
  view().lastCompose = 0; // entered now
  redraw();
  EXPECT_EQ(view().lastCompose, GeGetTimer());
}

TEST_F(CompareTest, TheTimerDoesNothing) {
  putPictures();
  view().lastCompose = 0;
  poll();
  EXPECT_EQ(view().lastCompose, 0);
}

} // namespace
