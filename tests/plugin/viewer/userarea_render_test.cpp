// The image view during and after a render: picture, bar, strip, stamps, and automatic additions to the
// history.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "viewer_fixture.h"

namespace {

constexpr Rgb BLACK{0, 0, 0}, BAR{140, 147, 157}, GREY{100, 100, 100};
using Names = std::vector<std::string>;

class ViewRenderTest : public ViewerFixture {
 protected:
  /// Sets the image and the record as the render side does during a render, or after it.
  void putImage(LONG width, LONG height, const Rgb& color) {
    fillBitmap(*view().image, width, height, color);
  }
  void setState(LONG rendering, LONG result, LONG composed, Real progress = 0.0) {
    view().data.rendering = rendering;
    view().data.result = result;
    view().data.stampsPending = composed;
    view().data.progress = progress;
  }
  /// A view and an image of this size, and a render that runs, with neither bar nor strip.
  void beginRender(LONG width, LONG height, const Rgb& color) {
    openEnabled(width, height);
    putImage(width, height, color);
    view().stripFrames = 0;
    setOption(LM_PROGRESS_BAR, 0);
    setState(1, 0, 0);
  }
  void showBarAt(Real progress) {
    setOption(LM_PROGRESS_BAR, 1);
    setState(1, 0, 0, progress);
    redraw();
  }
  /// A strip of that many rows; frame n is filled with (10 * n, 0, 0) and this alpha.
  void putStrip(LONG width, LONG height, LONG alpha) {
    view().strip->Init(width, height, 32);
    for (LONG y = 0; y < height; ++y) {
      for (LONG x = 0; x < width; ++x)
        view().strip->SetPixelRGBA(x, y, 10 * (y / 35), 0, 0, alpha);
    }
    view().stripFrames = height / 35;
  }
  void setRegionOfImage(LONG left, LONG top, LONG right, LONG bottom) {
    setOption(LM_MODE, LM_MODE_REGION);
    view().regionLeft = left;
    view().regionTop = top;
    view().regionRight = right;
    view().regionBottom = bottom;
  }
  void stampHello() {
    setOption(LM_STAMP_CUSTOM1, 1);
    setOption(LM_STAMP_TEXT1, String("HELLO"));
  }
  const BaseBitmap& display() { return *view().display; }
  bool shows(const Rgb& color) { return isFilled(display(), color); }
};

// ---- The picture

TEST_F(ViewRenderTest, WithoutARenderNothingIsComposed) {
  setOption(LM_HISTORY_ADD, 0);
  openEnabled();
  redraw();
  EXPECT_EQ(view().data.stampsPending, 0);
  EXPECT_EQ(view().data.progress, 0.0);
  EXPECT_TRUE(shows(BLACK));
  EXPECT_TRUE(historyNames().empty());
}

TEST_F(ViewRenderTest, ShowsTheWholeImageStretched) {
  beginRender(60, 40, BLACK);
  putImage(2, 1, {10, 20, 30});
  view().image->SetPixel(1, 0, 200, 100, 50);
  redraw();
  for (LONG y = 0; y < 40; ++y) {
    for (LONG x = 0; x < 60; ++x)
      ASSERT_EQ(paintedPixel(view(), x, y), (x < 30 ? Rgb{10, 20, 30} : Rgb{200, 100, 50})) << x << ", " << y;
  }
}

TEST_F(ViewRenderTest, ShowsTheRenderAsItRefinesAndWhenItIsDone) {
  beginRender(60, 40, BLACK);
  paintRenders({50, 60, 70});
  holdRenders();
  click(1109);
  waitForHeldRender();
  view().image->Clear(1, 2, 3); // the render so far
  poll();
  EXPECT_EQ(paintedPixel(view(), 30, 20), (Rgb{1, 2, 3}));
  EXPECT_EQ(view().data.stampsPending, 0);
  finishRender();
  poll();
  EXPECT_EQ(paintedPixel(view(), 30, 20), (Rgb{50, 60, 70}));
  EXPECT_EQ(view().data.stampsPending, 1);
}

TEST_F(ViewRenderTest, AResizedViewIsBlackUntilTheNextRender) {
  openEnabled(60, 40);
  paintRenders({50, 60, 70});
  render();
  setOption(LM_MIN_WIDTH, 80);
  view().LayoutChanged();
  advance(300);
  EXPECT_EQ(paintedPixel(view(), 40, 20), BLACK);
  render();
  EXPECT_EQ(paintedPixel(view(), 79, 39), (Rgb{50, 60, 70}));
}

TEST_F(ViewRenderTest, TheTimerRedrawsEveryTenthOfASecond) {
  beginRender(60, 40, {1, 1, 1});
  poll();
  view().image->Clear(2, 2, 2);
  advance(60);
  EXPECT_EQ(paintedPixel(view(), 5, 5), (Rgb{1, 1, 1}));
  advance(40);
  EXPECT_EQ(paintedPixel(view(), 5, 5), (Rgb{2, 2, 2}));
}

TEST_F(ViewRenderTest, AMissingModeIsNormal) {
  beginRender(60, 40, {1, 1, 1});
  poll();
  viewer->settings.GetDataInstance()->RemoveData(LM_MODE);
  view().image->Clear(2, 2, 2);
  poll();
  EXPECT_EQ(paintedPixel(view(), 5, 35), (Rgb{2, 2, 2}));
}

TEST_F(ViewRenderTest, WithoutAPictureNothingIsSaved) {
  viewer->view.SaveToPictureViewer(); // never sized
  EXPECT_TRUE(ui.shownBitmaps.empty());
}

// ---- The bar

TEST_F(ViewRenderTest, TheBarAtHalfOfTwoHundredPixels) {
  beginRender(200, 150, {1, 2, 3});
  showBarAt(0.5);
  for (LONG y = 0; y < 150; ++y) {
    for (LONG x = 0; x < 200; ++x) {
      const bool bar = x >= 1 && x <= 98 && y >= 140 && y <= 148;
      ASSERT_EQ(pixelOf(display(), x, y), (bar ? BAR : Rgb{1, 2, 3})) << x << ", " << y;
    }
  }
}

TEST_F(ViewRenderTest, TheBarsLengthIsCut) {
  beginRender(200, 150, {1, 2, 3});
  showBarAt(2.0);
  EXPECT_EQ(pixelOf(display(), 198, 140), BAR);
  EXPECT_EQ(pixelOf(display(), 199, 140), (Rgb{1, 2, 3}));
  for (const Real progress : {0.0, 0.01, -1.0}) { // 2 pixels or fewer
    showBarAt(progress);
    EXPECT_TRUE(shows({1, 2, 3})) << progress;
  }
  showBarAt(0.015); // 3 pixels: one is left
  EXPECT_EQ(pixelOf(display(), 1, 140), BAR);
  EXPECT_EQ(pixelOf(display(), 2, 140), (Rgb{1, 2, 3}));
}

TEST_F(ViewRenderTest, TheBarHasItsSwitch) {
  beginRender(200, 150, {1, 2, 3});
  setState(1, 0, 0, 0.5);
  redraw();
  EXPECT_TRUE(shows({1, 2, 3}));
  viewer->settings.GetDataInstance()->RemoveData(LM_PROGRESS_BAR);
  redraw();
  EXPECT_TRUE(shows({1, 2, 3}));
}

// ---- The strip

TEST_F(ViewRenderTest, TheStripBlendsItsFrameByAlpha) {
  beginRender(60, 50, GREY);
  putStrip(40, 70, 128);
  redraw();
  EXPECT_EQ(view().stripCounter, 1);
  // Frame 1: floor((10 - 100) * 128 / 255 + 100), floor((0 - 100) * 128 / 255 + 100)
  EXPECT_EQ(pixelOf(display(), 0, 0), (Rgb{54, 49, 49}));
  EXPECT_EQ(pixelOf(display(), 39, 34), (Rgb{54, 49, 49}));
  EXPECT_EQ(pixelOf(display(), 40, 0), GREY);
  EXPECT_EQ(pixelOf(display(), 0, 35), GREY);
  redraw(); // frame 0
  EXPECT_EQ(view().stripCounter, 2);
  EXPECT_EQ(pixelOf(display(), 0, 0), (Rgb{49, 49, 49}));
}

TEST_F(ViewRenderTest, TheStripsBlendIsTheFloorForEveryPair) {
  beginRender(256, 48, BLACK);
  view().strip->Init(256, 35, 32);
  view().stripFrames = 1;
  std::mt19937 random(7);
  std::uniform_int_distribution<LONG> byte(0, 255);
  for (LONG y = 0; y < 35; ++y) {
    for (LONG x = 0; x < 256; ++x) {
      view().strip->SetPixelRGBA(x, y, byte(random), byte(random), byte(random), byte(random));
      view().image->SetPixel(x, y, byte(random), byte(random), byte(random));
    }
  }
  redraw();
  for (LONG y = 0; y < 35; ++y) {
    for (LONG x = 0; x < 256; ++x) {
      LONG r, g, b, a;
      view().strip->GetPixelRGBA(x, y, &r, &g, &b, &a);
      const Rgb old = pixelOf(*view().image, x, y);
      const auto blend = [a](LONG top, LONG bottom) {
        return static_cast<LONG>(std::floor(static_cast<long double>((top - bottom) * a) / 255 + bottom));
      };
      ASSERT_EQ(pixelOf(display(), x, y), (Rgb{blend(r, old.r), blend(g, old.g), blend(b, old.b)}));
    }
  }
}

TEST_F(ViewRenderTest, TheStripIsCutToASmallView) {
  beginRender(20, 10, GREY);
  putStrip(40, 70, 255);
  redraw();
  EXPECT_TRUE(shows({10, 0, 0}));
}

TEST_F(ViewRenderTest, TheStripHasItsSwitchAndNeedsAFrame) {
  beginRender(60, 50, GREY);
  putStrip(40, 34, 255);
  redraw();
  EXPECT_TRUE(shows(GREY));
  EXPECT_EQ(view().stripCounter, 0);
  putStrip(40, 70, 255);
  setOption(LM_PROGRESS_STRIP, 0);
  redraw();
  EXPECT_TRUE(shows(GREY));
}

TEST_F(ViewRenderTest, TheCounterStartsAgainWhenNothingRenders) {
  beginRender(60, 50, GREY);
  putStrip(40, 70, 255);
  redraw();
  redraw();
  EXPECT_EQ(view().stripCounter, 2);
  setState(0, 6, 0);
  redraw();
  EXPECT_EQ(view().stripCounter, 0);
}

// ---- Region mode

TEST_F(ViewRenderTest, RegionModeShowsTheRectanglesPartWithoutABar) {
  beginRender(200, 150, BLACK);
  putImage(20, 20, {1, 1, 1});
  for (LONG y = 4; y < 9; ++y) {
    for (LONG x = 2; x < 12; ++x)
      view().image->SetPixel(x, y, 50, 60, 70);
  }
  setRegionOfImage(2, 4, 12, 9); // ten columns and five rows: the differences of the bounds
  putStrip(40, 70, 255);
  showBarAt(0.9);
  for (LONG y = 0; y < 150; ++y) {
    for (LONG x = 0; x < 200; ++x) {
      const bool strip = x < 40 && y < 35;
      ASSERT_EQ(pixelOf(display(), x, y), (strip ? Rgb{10, 0, 0} : Rgb{50, 60, 70})) << x << ", " << y;
    }
  }
}

TEST_F(ViewRenderTest, ARegionWithoutAPartLeavesTheDisplay) {
  beginRender(20, 15, {50, 60, 70});
  for (const LONG left : {-1, 15}) { // none at all, and one that reaches past the image
    setRegionOfImage(left, left < 0 ? -1 : 0, left < 0 ? -1 : 30, left < 0 ? -1 : 5);
    view().display->Clear(9, 8, 7);
    redraw();
    EXPECT_TRUE(shows({9, 8, 7})) << left;
  }
}

// ---- The finished picture

TEST_F(ViewRenderTest, AFinishedPictureIsComposedAndStampedOnce) {
  openEnabled(200, 100);
  stampHello();
  putImage(200, 100, BLACK);
  setState(0, 0, 0, 1.0);
  redraw();
  EXPECT_EQ(view().data.stampsPending, 1);
  EXPECT_EQ(view().data.progress, 2.0);
  EXPECT_FALSE(shows(BLACK)); // the stamp
  view().image->Clear(90, 0, 0);
  view().display->Clear(7, 7, 7);
  redraw();
  EXPECT_TRUE(shows({7, 7, 7}));
  EXPECT_EQ(paintedPixel(view(), 5, 5), (Rgb{7, 7, 7}));
}

TEST_F(ViewRenderTest, AFailedPictureIsShownAtEveryDrawAndNeverStamped) {
  setOption(LM_HISTORY_ADD, 0);
  openEnabled(60, 40);
  stampHello();
  putImage(60, 40, {10, 10, 10});
  setState(0, 6, 0, 1.0);
  redraw();
  EXPECT_TRUE(shows({10, 10, 10}));
  view().image->Clear(20, 20, 20);
  redraw();
  EXPECT_TRUE(shows({20, 20, 20}));
  EXPECT_EQ(view().data.stampsPending, 0);
  EXPECT_EQ(view().data.progress, 1.0);
  EXPECT_TRUE(historyNames().empty());
}

// ---- Automatic history

TEST_F(ViewRenderTest, AutomaticHistoryAddsEverySuccessfulRenderOnce) {
  setOption(LM_HISTORY_ADD, 0);
  openEnabled(60, 40);
  stampHello();
  render();
  poll(5);
  EXPECT_EQ(historyNames(), (Names{"[001].tif"}));
  AutoAlloc<BaseBitmap> added;
  ASSERT_EQ(added->Init(historyFolder() + "[001].tif"), IMAGERESULT_OK);
  for (LONG y = 0; y < 40; ++y) { // as it is shown, with its stamps
    for (LONG x = 0; x < 60; ++x)
      ASSERT_EQ(pixelOf(*added, x, y), paintedPixel(view(), x, y)) << x << ", " << y;
  }
  render();
  poll(5);
  EXPECT_EQ(historyNames().size(), 2u);
  for (const RENDERRESULT failed : {RENDERRESULT_OUTOFMEMORY, RENDERRESULT_USERBREAK}) {
    probe->result = failed;
    render();
    poll(5);
    EXPECT_EQ(historyNames().size(), 2u) << failed;
  }
}

TEST_F(ViewRenderTest, HistoryByHandAddsNothing) {
  openEnabled(60, 40);
  render();
  EXPECT_EQ(view().data.stampsPending, 1);
  EXPECT_TRUE(historyNames().empty());
}

TEST_F(ViewRenderTest, AMissingHistorySwitchMeansAutomatic) {
  openEnabled(60, 40);
  viewer->settings.GetDataInstance()->RemoveData(LM_HISTORY_ADD);
  render();
  EXPECT_EQ(historyNames().size(), 1u);
}

TEST_F(ViewRenderTest, AFailedPictureComesBackWhenTheNextJobDidNotBegin) {
  openEnabled(60, 40);
  paintRenders({50, 60, 70});
  probe->result = RENDERRESULT_USERBREAK;
  render();
  ASSERT_EQ(view().data.stampsPending, 0);
  clearActiveDocument(); // the thread ends before it begins
  render();
  EXPECT_EQ(view().data.stampsPending, 0);
  setOption(LM_MIN_WIDTH, 80);
  view().LayoutChanged();
  advance(300);
  EXPECT_EQ(paintedPixel(view(), 79, 39), (Rgb{50, 60, 70}));
}

// It is neither composed again nor mistaken for a picture of the job that did not begin.
TEST_F(ViewRenderTest, AFinishedPictureStaysWhenTheNextJobDidNotBegin) {
  setOption(LM_HISTORY_ADD, 0);
  openEnabled(60, 40);
  paintRenders({50, 60, 70});
  render();
  ASSERT_EQ(historyNames().size(), 1u);
  clearActiveDocument();
  render();
  poll(3);
  EXPECT_EQ(view().data.stampsPending, 1);
  EXPECT_EQ(paintedPixel(view(), 30, 20), (Rgb{50, 60, 70}));
  EXPECT_EQ(historyNames().size(), 1u);
}

TEST_F(ViewRenderTest, AJobThatHasNotBegunShowsNothingOfIts) {
  setOption(LM_HISTORY_ADD, 0);
  openEnabled(60, 40);
  paintRenders({50, 60, 70});
  clearActiveDocument();
  render();
  poll(3);
  EXPECT_EQ(view().data.stampsPending, 0);
  EXPECT_TRUE(historyNames().empty());
}

// The view's timer stands still while the dialog is closed.
TEST_F(ViewRenderTest, ARenderThatEndsWhileTheDialogIsClosedIsShownAtItsNextOpening) {
  setOption(LM_HISTORY_ADD, 0);
  openEnabled(60, 40);
  stampHello();
  paintRenders({50, 60, 70});
  startHeldRender();
  viewer->Close();
  EXPECT_TRUE(viewer->thread.IsRunning());
  finishRender();
  advance(1000);
  EXPECT_EQ(view().data.rendering, 0);
  EXPECT_EQ(view().data.result, RENDERRESULT_OK);
  EXPECT_EQ(view().data.stampsPending, 0);
  EXPECT_TRUE(historyNames().empty());
  openViewer();
  poll(3);
  EXPECT_EQ(view().data.stampsPending, 1);
  EXPECT_EQ(view().data.progress, 2.0);
  EXPECT_EQ(paintedPixel(view(), 59, 39), (Rgb{50, 60, 70}));
  EXPECT_FALSE(shows({50, 60, 70})) << "the stamp";
  EXPECT_EQ(historyNames(), (Names{"[001].tif"}));
  EXPECT_EQ(renderCount(), 1u);
}

TEST_F(ViewRenderTest, AJobThatHasNotBegunAddsNothing) {
  setOption(LM_HISTORY_ADD, 0);
  openEnabled(60, 40);
  clearActiveDocument(); // the thread ends before it begins
  render();
  EXPECT_EQ(view().image->GetBw(), 60);
  EXPECT_TRUE(historyNames().empty());
  EXPECT_NE(view().data.progress, 2.0);
}

} // namespace
