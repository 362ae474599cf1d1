// The image view: its size, what it draws of renders and pictures, and when.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>

#include "viewer_fixture.h"

namespace {

constexpr Rgb BLACK{0, 0, 0}, BAR{140, 147, 157};

class ViewTest : public ViewerFixture {
 protected:
  lmUserArea& view() { return viewer->view; }

  /// An image as the render side leaves it while it works, or when it is done.
  void putImage(LONG width, LONG height, const Rgb& color) {
    fillBitmap(*view().image, width, height, color);
  }
  void setState(LONG rendering, LONG result, LONG composed, Real progress = 0.0) {
    view().data.rendering = rendering;
    view().data.result = result;
    view().data.stampsPending = composed;
    view().data.progress = progress;
  }
  /// A strip of `frames` frames; frame n is filled with (10 * n, 0, 0) and this alpha.
  void putStrip(LONG width, LONG height, LONG alpha) {
    view().strip->Init(width, height, 32);
    for (LONG y = 0; y < height; ++y) {
      for (LONG x = 0; x < width; ++x)
        view().strip->SetPixelRGBA(x, y, 10 * (y / 35), 0, 0, alpha);
    }
    view().stripFrames = height / 35;
  }
  void noStrip() { view().stripFrames = 0; }
};

// ---- Construction and pictures

TEST_F(ViewTest, StartsEmptyAndOff) {
  EXPECT_EQ(view().enabled, 0);
  EXPECT_EQ(view().width, 120);
  EXPECT_EQ(view().height, 90);
  EXPECT_EQ(view().regionLeft, -1);
  EXPECT_EQ(view().regionTop, -1);
  EXPECT_EQ(view().regionRight, -1);
  EXPECT_EQ(view().regionBottom, -1);
  EXPECT_EQ(view().data.result, 0);
  EXPECT_EQ(view().data.rendering, 0);
  EXPECT_EQ(view().data.stampsPending, 0);
  EXPECT_EQ(view().data.progress, 0.0);
  EXPECT_FALSE(view().data.documentName.Content());
  EXPECT_EQ(view().lastCompose, 0);
  EXPECT_EQ(view().stripCounter, 0);
}

TEST_F(ViewTest, TheConstructorMakesBothFolders) {
  viewer.reset();
  std::filesystem::remove_all(dataFolder().GetString().GetUTF8());
  makeViewer();
  EXPECT_TRUE(GeFExist(dataFolder(), TRUE));
  EXPECT_TRUE(GeFExist(historyFolder(), TRUE));
  EXPECT_EQ(view().dataFolder, dataFolder());
  EXPECT_EQ(view().historyFolder, historyFolder());
}

TEST_F(ViewTest, LoadsItsPicturesWhenTheDialogOpens) {
  openViewer();
  EXPECT_GT(view().splash->GetBw(), 0);
  EXPECT_GT(view().strip->GetBw(), 0);
  EXPECT_EQ(view().stripFrames, view().strip->GetBh() / 35);
}

TEST_F(ViewTest, MissingPicturesAreNoError) {
  removeResources();
  openViewer();
  EXPECT_EQ(view().splash->GetBw(), 0);
  EXPECT_EQ(view().stripFrames, 0);
  LONG w = 7, h = 7;
  EXPECT_TRUE(view().GetMinSize(w, h));
  EXPECT_EQ(w, 0);
  EXPECT_EQ(h, 0);
  redraw();
}

TEST_F(ViewTest, FramesAreThirtyFiveRowsHigh) {
  removeResources();
  const Filename gui = folder.makeFolder("plugin/res/gui");
  const auto framesOf = [&](LONG height) {
    AutoAlloc<BaseBitmap> strip;
    fillBitmap(*strip, 20, height, {9, 9, 9}, 32);
    EXPECT_EQ(strip->Save(gui + "progress.tif", FILTER_TIF, nullptr, SAVEBIT_ALPHA), IMAGERESULT_OK);
    view().InitValues();
    return view().stripFrames;
  };
  EXPECT_EQ(framesOf(350), 10);
  EXPECT_EQ(framesOf(34), 0);
  EXPECT_EQ(framesOf(69), 1);
}

TEST_F(ViewTest, OpeningLoadsTheNewestPicturesWhenWanted) {
  addHistoryFile("a[001].tif", 1, {200, 0, 0});
  addHistoryFile("a[002].tif", 2, {0, 0, 200});
  setOption(LM_HISTORY_AUTOLOAD, 0);
  openViewer();
  EXPECT_EQ(view().imageA->GetBw(), 0);
  viewer->Close();
  setOption(LM_HISTORY_AUTOLOAD, 1);
  openViewer();
  EXPECT_TRUE(isFilled(*view().imageA, {200, 0, 0}));
  EXPECT_TRUE(isFilled(*view().imageB, {0, 0, 200}));
}

// ---- Size

TEST_F(ViewTest, MinimumSizeIsTheChosenOne) {
  openEnabled();
  const LONG sizes[][2] = {{0, 0}, {64, 48}, {320, 240}, {400, 300}, {640, 480}, {800, 600}, {1024, 768}};
  for (LONG choice = 1; choice <= 6; ++choice) {
    setOption(LM_VIEW_SIZE, choice);
    LONG w = 1, h = 1;
    EXPECT_TRUE(view().GetMinSize(w, h));
    EXPECT_EQ(w, sizes[choice][0]);
    EXPECT_EQ(h, sizes[choice][1]);
    EXPECT_EQ(view().width, w);
    EXPECT_EQ(view().height, h);
  }
  setOption(LM_VIEW_SIZE, 7);
  LONG w = 33, h = 44;
  EXPECT_TRUE(view().GetMinSize(w, h));
  EXPECT_EQ(w, 33);
  EXPECT_EQ(h, 44);
  EXPECT_EQ(view().width, 33);
  EXPECT_EQ(view().height, 44);
}

TEST_F(ViewTest, MissingSizesHaveTheirFallbacks) {
  openEnabled();
  for (const LONG key : {LM_VIEW_SIZE, LM_MIN_WIDTH, LM_MIN_HEIGHT})
    viewer->settings.GetDataInstance()->RemoveData(key);
  LONG w = 0, h = 0;
  view().GetMinSize(w, h);
  EXPECT_EQ(w, 320);
  EXPECT_EQ(h, 240);
}

TEST_F(ViewTest, FitIsTheVisibleAreaOfTheGroup) {
  openEnabled();
  setOption(LM_VIEW_SIZE, 0);
  host::setScrollSize(*viewer, 1122, 333, 222);
  LONG w = 0, h = 0;
  view().GetMinSize(w, h);
  EXPECT_EQ(w, 333);
  EXPECT_EQ(h, 222);
}

TEST_F(ViewTest, DisabledIsTheSplashsSizeAndLeavesTheViews) {
  openViewer();
  view().width = 55;
  fillBitmap(*view().splash, 200, 100, {1, 2, 3});
  LONG w = 0, h = 0;
  EXPECT_TRUE(view().GetMinSize(w, h));
  EXPECT_EQ(w, 200);
  EXPECT_EQ(h, 100);
  EXPECT_EQ(view().width, 55);
  view().splash.Free();
  view().GetMinSize(w, h);
  EXPECT_EQ(w, 120);
  EXPECT_EQ(h, 90);
}

TEST_F(ViewTest, SizedMakesABlackDisplayAndStoresTheAspect) {
  openEnabled();
  fillBitmap(*view().display, 64, 48, {9, 9, 9}, 32);
  view().Sized(90, 40);
  EXPECT_EQ(view().width, 90);
  EXPECT_EQ(view().height, 40);
  EXPECT_EQ(view().display->GetBw(), 90);
  EXPECT_EQ(view().display->GetBh(), 40);
  EXPECT_EQ(view().display->GetBt(), 32);
  EXPECT_TRUE(isFilled(*view().display, BLACK));
  EXPECT_DOUBLE_EQ(GetWorldPluginData(ID_LUMENARA)->GetReal(LM_ASPECT), 2.25);
  EXPECT_EQ(ui.drawnViews.back(), 266498);
}

TEST_F(ViewTest, SizedWhileDisabledStoresNothing) {
  openViewer();
  const Real before = viewer->settings.GetValue(LM_ASPECT, 0.0);
  ui.drawnViews.clear();
  view().Sized(90, 40);
  EXPECT_EQ(view().width, 90);
  EXPECT_EQ(viewer->settings.GetValue(LM_ASPECT, 0.0), before);
  EXPECT_TRUE(ui.drawnViews.empty());
}

TEST_F(ViewTest, TheTimerFollowsTheGroupInFitModeOnly) {
  openEnabled();
  setOption(LM_VIEW_SIZE, 0);
  host::setScrollSize(*viewer, 1122, 200, 100);
  poll();
  EXPECT_EQ(view().width, 200);
  EXPECT_EQ(view().display->GetBw(), 200);
  advance(300); // the message about the new size
  setOption(LM_MODE, LM_MODE_COMPARE);
  host::setScrollSize(*viewer, 1122, 150, 100);
  poll();
  EXPECT_EQ(view().width, 200); // it does nothing in Compare mode
  setOption(LM_MODE, LM_MODE_NORMAL);
  setOption(LM_VIEW_SIZE, 6);
  poll();
  EXPECT_EQ(view().width, 200); // not asked again
}

TEST_F(ViewTest, TheLargestSizeHoldsWhateverTheDialogsSize) {
  openEnabled();
  setOption(LM_VIEW_SIZE, 6);
  view().LayoutChanged();
  runAll();
  EXPECT_EQ(view().width, 1024);
  host::setScrollSize(*viewer, 1122, 300, 200);
  poll();
  EXPECT_EQ(view().width, 1024);
  EXPECT_EQ(view().height, 768);
}

TEST_F(ViewTest, ANewSizeOfTheViewRedrawsItAndRendersWithAutomaticRefresh) {
  openEnabled();
  setOption(LM_VIEW_SIZE, 2);
  view().LayoutChanged();
  advance(300);
  finishRender();
  EXPECT_EQ(renderCount(), 0u);
  setOption(LM_AUTO_REFRESH, 1);
  setOption(LM_VIEW_SIZE, 3);
  view().LayoutChanged();
  advance(300);
  finishRender();
  EXPECT_EQ(renderCount(), 1u);
  EXPECT_EQ(view().image->GetBw(), 400);
}

// ---- Drawing while off

TEST_F(ViewTest, OffItShowsTheSplashCentred) {
  openViewer();
  host::sizeArea(view(), 101, 60);
  fillBitmap(*view().splash, 20, 11, {200, 100, 50});
  redraw();
  const LONG left = (101 - 20) / 2, top = (60 - 11) / 2;
  EXPECT_EQ(paintedPixel(view(), left, top), (Rgb{200, 100, 50}));
  EXPECT_EQ(paintedPixel(view(), left + 19, top + 10), (Rgb{200, 100, 50}));
  EXPECT_NE(paintedPixel(view(), left - 1, top), (Rgb{200, 100, 50}));
  EXPECT_NE(paintedPixel(view(), left, top - 1), (Rgb{200, 100, 50}));
  EXPECT_NE(paintedPixel(view(), left + 20, top), (Rgb{200, 100, 50}));
  EXPECT_NE(paintedPixel(view(), left, top + 11), (Rgb{200, 100, 50}));
}

// ---- Drawing a render

TEST_F(ViewTest, WithoutARenderNothingIsComposed) {
  setOption(LM_HISTORY_ADD, 0);
  openEnabled();
  redraw();
  EXPECT_EQ(view().data.stampsPending, 0);
  EXPECT_EQ(view().data.progress, 0.0);
  EXPECT_TRUE(isFilled(*view().display, BLACK));
  EXPECT_TRUE(historyNames().empty());
}

TEST_F(ViewTest, ShowsTheWholeImageStretched) {
  openEnabled(60, 40);
  putImage(2, 1, {10, 20, 30});
  view().image->SetPixel(1, 0, 200, 100, 50);
  setState(1, 0, 0);
  noStrip();
  setOption(LM_PROGRESS_BAR, 0);
  redraw();
  EXPECT_EQ(paintedPixel(view(), 0, 0), (Rgb{10, 20, 30}));
  EXPECT_EQ(paintedPixel(view(), 29, 39), (Rgb{10, 20, 30}));
  EXPECT_EQ(paintedPixel(view(), 30, 0), (Rgb{200, 100, 50}));
  EXPECT_EQ(paintedPixel(view(), 59, 39), (Rgb{200, 100, 50}));
}

TEST_F(ViewTest, TheBarAtHalfOfTwoHundredPixels) {
  openEnabled(200, 150);
  putImage(200, 150, {1, 2, 3});
  noStrip();
  setState(1, 0, 0, 0.5);
  redraw();
  for (LONG y = 0; y < 150; ++y) {
    for (LONG x = 0; x < 200; ++x) {
      const bool bar = x >= 1 && x <= 98 && y >= 140 && y <= 148;
      ASSERT_EQ(pixelOf(*view().display, x, y), (bar ? BAR : Rgb{1, 2, 3})) << x << ", " << y;
    }
  }
}

TEST_F(ViewTest, TheBarsLengthIsCut) {
  openEnabled(200, 150);
  putImage(200, 150, {1, 2, 3});
  noStrip();
  setState(1, 0, 0, 2.0);
  redraw();
  EXPECT_EQ(pixelOf(*view().display, 198, 140), BAR);
  EXPECT_EQ(pixelOf(*view().display, 199, 140), (Rgb{1, 2, 3}));
  for (const Real progress : {0.0, 0.01, -1.0}) { // 2 pixels or fewer
    setState(1, 0, 0, progress);
    redraw();
    EXPECT_TRUE(isFilled(*view().display, {1, 2, 3})) << progress;
  }
  setState(1, 0, 0, 0.015); // 3 pixels: one is left
  redraw();
  EXPECT_EQ(pixelOf(*view().display, 1, 140), BAR);
  EXPECT_EQ(pixelOf(*view().display, 2, 140), (Rgb{1, 2, 3}));
}

TEST_F(ViewTest, TheBarHasItsSwitch) {
  openEnabled(200, 150);
  putImage(200, 150, {1, 2, 3});
  noStrip();
  setState(1, 0, 0, 0.5);
  setOption(LM_PROGRESS_BAR, 0);
  redraw();
  EXPECT_TRUE(isFilled(*view().display, {1, 2, 3}));
}

TEST_F(ViewTest, TheStripBlendsItsFrameByAlpha) {
  openEnabled(60, 50);
  putImage(60, 50, {100, 100, 100});
  putStrip(40, 70, 128);
  setOption(LM_PROGRESS_BAR, 0);
  setState(1, 0, 0);
  redraw();
  EXPECT_EQ(view().stripCounter, 1);
  // Frame 1: floor((10 - 100) * 128 / 255 + 100), floor((0 - 100) * 128 / 255 + 100)
  EXPECT_EQ(pixelOf(*view().display, 0, 0), (Rgb{54, 49, 49}));
  EXPECT_EQ(pixelOf(*view().display, 39, 34), (Rgb{54, 49, 49}));
  EXPECT_EQ(pixelOf(*view().display, 40, 0), (Rgb{100, 100, 100}));
  EXPECT_EQ(pixelOf(*view().display, 0, 35), (Rgb{100, 100, 100}));
  redraw(); // frame 0
  EXPECT_EQ(view().stripCounter, 2);
  EXPECT_EQ(pixelOf(*view().display, 0, 0), (Rgb{49, 49, 49}));
}

TEST_F(ViewTest, TheStripsBlendIsTheFloorForEveryPair) {
  openEnabled(256, 48);
  view().strip->Init(256, 35, 32);
  view().stripFrames = 1;
  setOption(LM_PROGRESS_BAR, 0);
  std::mt19937 random(7);
  std::uniform_int_distribution<LONG> byte(0, 255);
  fillBitmap(*view().image, 256, 48, BLACK);
  for (LONG y = 0; y < 35; ++y) {
    for (LONG x = 0; x < 256; ++x) {
      view().strip->SetPixelRGBA(x, y, byte(random), byte(random), byte(random), byte(random));
      view().image->SetPixel(x, y, byte(random), byte(random), byte(random));
    }
  }
  setState(1, 0, 0);
  redraw();
  for (LONG y = 0; y < 35; ++y) {
    for (LONG x = 0; x < 256; ++x) {
      LONG r, g, b, a;
      view().strip->GetPixelRGBA(x, y, &r, &g, &b, &a);
      const Rgb old = pixelOf(*view().image, x, y);
      const auto blend = [a](LONG top, LONG bottom) {
        return static_cast<LONG>(std::floor(static_cast<long double>((top - bottom) * a) / 255 + bottom));
      };
      ASSERT_EQ(pixelOf(*view().display, x, y), (Rgb{blend(r, old.r), blend(g, old.g), blend(b, old.b)}));
    }
  }
}

TEST_F(ViewTest, TheStripIsCutToASmallView) {
  openEnabled(20, 10);
  putImage(20, 10, {100, 100, 100});
  putStrip(40, 70, 255);
  setOption(LM_PROGRESS_BAR, 0);
  setState(1, 0, 0);
  redraw();
  EXPECT_TRUE(isFilled(*view().display, {10, 0, 0}));
}

TEST_F(ViewTest, TheStripHasItsSwitchAndNeedsAFrame) {
  openEnabled(60, 50);
  putImage(60, 50, {100, 100, 100});
  putStrip(40, 34, 255);
  setOption(LM_PROGRESS_BAR, 0);
  setState(1, 0, 0);
  redraw();
  EXPECT_TRUE(isFilled(*view().display, {100, 100, 100}));
  EXPECT_EQ(view().stripCounter, 0);
  putStrip(40, 70, 255);
  setOption(LM_PROGRESS_STRIP, 0);
  redraw();
  EXPECT_TRUE(isFilled(*view().display, {100, 100, 100}));
}

TEST_F(ViewTest, TheCounterStartsAgainWhenNothingRenders) {
  openEnabled(60, 50);
  putImage(60, 50, {100, 100, 100});
  putStrip(40, 70, 255);
  setState(1, 0, 0);
  redraw();
  redraw();
  EXPECT_EQ(view().stripCounter, 2);
  setState(0, 6, 0);
  redraw();
  EXPECT_EQ(view().stripCounter, 0);
}

TEST_F(ViewTest, RegionModeShowsTheRectanglesPartWithoutABar) {
  openEnabled(200, 150);
  setOption(LM_MODE, LM_MODE_REGION);
  putImage(20, 20, {1, 1, 1});
  for (LONG y = 4; y < 9; ++y) {
    for (LONG x = 2; x < 12; ++x)
      view().image->SetPixel(x, y, 50, 60, 70);
  }
  view().regionLeft = 2;
  view().regionTop = 4;
  view().regionRight = 12; // ten columns and five rows: the differences of the bounds
  view().regionBottom = 9;
  putStrip(40, 70, 255);
  setState(1, 0, 0, 0.9);
  redraw();
  EXPECT_EQ(pixelOf(*view().display, 0, 0), (Rgb{10, 0, 0})); // the strip
  EXPECT_EQ(pixelOf(*view().display, 199, 0), (Rgb{50, 60, 70}));
  for (LONG y = 35; y < 150; ++y) {
    for (LONG x = 0; x < 200; ++x)
      ASSERT_EQ(pixelOf(*view().display, x, y), (Rgb{50, 60, 70})) << x << ", " << y;
  }
}

TEST_F(ViewTest, ARegionWithoutAPartLeavesTheDisplay) {
  openEnabled(20, 15);
  setOption(LM_MODE, LM_MODE_REGION);
  putImage(20, 20, {50, 60, 70});
  noStrip();
  view().display->Clear(9, 8, 7);
  setState(1, 0, 0);
  redraw();
  EXPECT_TRUE(isFilled(*view().display, {9, 8, 7}));
  view().regionLeft = 15;
  view().regionTop = 0;
  view().regionRight = 30;
  view().regionBottom = 5;
  redraw();
  EXPECT_TRUE(isFilled(*view().display, {9, 8, 7}));
}

// ---- The finished picture

TEST_F(ViewTest, AFinishedPictureIsComposedAndStampedOnce) {
  openEnabled(200, 100);
  setOption(LM_STAMP_CUSTOM1, 1);
  setOption(LM_STAMP_TEXT1, String("HELLO"));
  putImage(200, 100, {0, 0, 0});
  setState(0, 0, 0, 1.0);
  redraw();
  EXPECT_EQ(view().data.stampsPending, 1);
  EXPECT_EQ(view().data.progress, 2.0);
  EXPECT_FALSE(isFilled(*view().display, BLACK)); // the stamp
  view().image->Clear(90, 0, 0);
  view().display->Clear(7, 7, 7);
  redraw();
  EXPECT_TRUE(isFilled(*view().display, {7, 7, 7}));
  EXPECT_EQ(paintedPixel(view(), 5, 5), (Rgb{7, 7, 7}));
}

TEST_F(ViewTest, AFailedPictureIsShownAtEveryDrawAndNeverStamped) {
  setOption(LM_HISTORY_ADD, 0);
  openEnabled(60, 40);
  setOption(LM_STAMP_CUSTOM1, 1);
  setOption(LM_STAMP_TEXT1, String("HELLO"));
  putImage(60, 40, {10, 10, 10});
  setState(0, 6, 0, 1.0);
  redraw();
  EXPECT_TRUE(isFilled(*view().display, {10, 10, 10}));
  view().image->Clear(20, 20, 20);
  redraw();
  EXPECT_TRUE(isFilled(*view().display, {20, 20, 20}));
  EXPECT_EQ(view().data.stampsPending, 0);
  EXPECT_EQ(view().data.progress, 1.0);
  EXPECT_TRUE(historyNames().empty());
}

TEST_F(ViewTest, AutomaticHistoryAddsEverySuccessfulRenderOnce) {
  setOption(LM_HISTORY_ADD, 0);
  openEnabled(60, 40);
  paintRenders({50, 60, 70});
  click(1109);
  finishRender();
  for (int i = 0; i < 5; ++i)
    poll();
  EXPECT_EQ(historyNames(), (std::vector<std::string>{"[001].tif"}));
  click(1109);
  finishRender();
  for (int i = 0; i < 5; ++i)
    poll();
  EXPECT_EQ(historyNames().size(), 2u);
  probe->result = RENDERRESULT_OUTOFMEMORY;
  click(1109);
  finishRender();
  for (int i = 0; i < 5; ++i)
    poll();
  EXPECT_EQ(historyNames().size(), 2u);
}

TEST_F(ViewTest, HistoryByHandAddsNone) {
  openEnabled(60, 40);
  click(1109);
  finishRender();
  poll();
  EXPECT_EQ(view().data.stampsPending, 1);
  EXPECT_TRUE(historyNames().empty());
}

TEST_F(ViewTest, AMissingHistorySwitchMeansAutomatic) {
  openEnabled(60, 40);
  viewer->settings.GetDataInstance()->RemoveData(LM_HISTORY_ADD);
  click(1109);
  finishRender();
  poll();
  EXPECT_EQ(historyNames().size(), 1u);
}

TEST_F(ViewTest, AJobThatHasNotBegunAddsNothing) {
  setOption(LM_HISTORY_ADD, 0);
  openEnabled(60, 40);
  clearActiveDocument(); // the thread ends before it begins
  click(1109);
  finishRender();
  poll();
  EXPECT_EQ(view().image->GetBw(), 60);
  EXPECT_TRUE(historyNames().empty());
  EXPECT_NE(view().data.progress, 2.0);
}

TEST_F(ViewTest, ShowsTheRenderAsItRefinesAndWhenItIsDone) {
  openEnabled(60, 40);
  noStrip();
  setOption(LM_PROGRESS_BAR, 0);
  paintRenders({50, 60, 70});
  holdRenders();
  click(1109);
  waitForHeldRender();
  view().image->Clear(1, 2, 3); // what the renderer has so far
  poll();
  EXPECT_EQ(paintedPixel(view(), 30, 20), (Rgb{1, 2, 3}));
  EXPECT_EQ(view().data.stampsPending, 0);
  finishRender();
  poll();
  EXPECT_EQ(paintedPixel(view(), 30, 20), (Rgb{50, 60, 70}));
  EXPECT_EQ(view().data.stampsPending, 1);
}

TEST_F(ViewTest, AResizedViewIsBlackUntilTheNextRender) {
  openEnabled(60, 40);
  paintRenders({50, 60, 70});
  click(1109);
  finishRender();
  poll();
  setOption(LM_MIN_WIDTH, 80);
  view().LayoutChanged();
  advance(300);
  EXPECT_EQ(paintedPixel(view(), 40, 20), BLACK);
  click(1109);
  finishRender();
  poll();
  EXPECT_EQ(paintedPixel(view(), 79, 39), (Rgb{50, 60, 70}));
}

TEST_F(ViewTest, TheTimerRedrawsEveryTenthOfASecond) {
  openEnabled(60, 40);
  noStrip();
  setOption(LM_PROGRESS_BAR, 0);
  putImage(60, 40, {1, 1, 1});
  setState(1, 0, 0);
  poll();
  view().image->Clear(2, 2, 2);
  advance(60);
  EXPECT_EQ(paintedPixel(view(), 5, 5), (Rgb{1, 1, 1}));
  advance(40);
  EXPECT_EQ(paintedPixel(view(), 5, 5), (Rgb{2, 2, 2}));
}

TEST_F(ViewTest, WithoutAPictureNothingIsSaved) {
  viewer->view.SaveToPictureViewer(); // never sized
  EXPECT_TRUE(ui.shownBitmaps.empty());
}

} // namespace
