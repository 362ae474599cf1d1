// The image view: initial state, size, and drawing while it is off.
#include <gtest/gtest.h>

#include <filesystem>

#include "off_screen.h"
#include "viewer_fixture.h"

namespace {

constexpr Rgb BLACK{0, 0, 0};

struct Size {
  LONG width = 0, height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

class ViewTest : public ViewerFixture {
 protected:
  /// The view's minimum size when the host offers `offered`.
  Size minSize(Size offered = {1, 1}) {
    EXPECT_TRUE(view().GetMinSize(offered.width, offered.height));
    return offered;
  }
  Size viewSize() { return {view().width, view().height}; }
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

TEST_F(ViewTest, TheConstructorMakesTheFoldersWithTheirParents) {
  viewer.reset();
  std::filesystem::remove_all((home() + "plugins").GetString().GetUTF8());
  makeViewer();
  EXPECT_TRUE(GeFExist(dataFolder(), TRUE));
  EXPECT_TRUE(GeFExist(historyFolder(), TRUE));
}

TEST_F(ViewTest, LoadsItsPicturesWhenTheDialogOpens) {
  openViewer();
  EXPECT_GT(view().splash->GetBw(), 0);
  EXPECT_GT(view().strip->GetBw(), 0);
  EXPECT_EQ(view().stripFrames, view().strip->GetBh() / 35);
}

TEST_F(ViewTest, MissingPicturesAreAccepted) {
  removeResources();
  openViewer();
  EXPECT_EQ(view().splash->GetBw(), 0);
  EXPECT_EQ(view().stripFrames, 0);
  EXPECT_EQ(minSize({7, 7}), (Size{0, 0}));
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

TEST_F(ViewTest, NothingIsLoadedWhenTheSettingIsAbsent) {
  addHistoryFile("a[001].tif", 1);
  addHistoryFile("a[002].tif", 2);
  BaseContainer* values = viewer->settings.GetDataInstance();
  values->RemoveData(LM_HISTORY_AUTOLOAD);
  SetWorldPluginData(ID_LUMENARA, *values, FALSE);
  openViewer();
  EXPECT_EQ(view().imageA->GetBw(), 0) << "opened";

  ui.dialogScripts.push_back([](GeDialog& dialog) { host::clickGadget(dialog, IDC_OK); });
  choose(1101);
  EXPECT_EQ(view().imageA->GetBw(), 0) << "Options closed with OK";
  view().AddLastRender();
  EXPECT_EQ(view().imageA->GetBw(), 0) << "last render added";
  view().composed = 1;
  view().AddToHistory();
  EXPECT_EQ(view().imageA->GetBw(), 0) << "picture added";
}

// ---- Drawing

TEST_F(ViewTest, EveryDrawingBeginsOffScreen) {
  openViewer();
  const int off = offScreenDrawings(view());
  redraw();
  EXPECT_EQ(offScreenDrawings(view()), off + 1) << "off";
  setOption(LM_ENABLED, 1);
  view().enabled = 1;
  redraw();
  EXPECT_EQ(offScreenDrawings(view()), off + 2) << "on";
}

// ---- Size

TEST_F(ViewTest, MinimumSizeIsTheChosenOne) {
  openEnabled();
  const Size sizes[] = {{}, {64, 48}, {320, 240}, {400, 300}, {640, 480}, {800, 600}, {1024, 768}};
  for (LONG choice = 1; choice <= 6; ++choice) {
    setOption(LM_VIEW_SIZE, choice);
    EXPECT_EQ(minSize(), sizes[choice]);
    EXPECT_EQ(viewSize(), sizes[choice]);
  }
  for (const LONG other : {7, -1}) { // the host's own
    setOption(LM_VIEW_SIZE, other);
    EXPECT_EQ(minSize({33 + other, 44}), (Size{33 + other, 44}));
    EXPECT_EQ(viewSize(), (Size{33 + other, 44}));
  }
}

TEST_F(ViewTest, MissingSizesHaveTheirFallbacks) {
  openEnabled();
  for (const LONG key : {LM_VIEW_SIZE, LM_MIN_WIDTH, LM_MIN_HEIGHT})
    viewer->settings.GetDataInstance()->RemoveData(key);
  EXPECT_EQ(minSize(), (Size{320, 240}));
}

TEST_F(ViewTest, FitIsTheVisibleAreaOfTheGroup) {
  openEnabled();
  setOption(LM_VIEW_SIZE, 0);
  host::setScrollSize(*viewer, 1122, 333, 222);
  EXPECT_EQ(minSize(), (Size{333, 222}));
  EXPECT_EQ(viewSize(), (Size{333, 222}));
}

TEST_F(ViewTest, DisabledIsTheSplashsSizeAndLeavesTheViews) {
  openViewer();
  view().width = 55;
  fillBitmap(*view().splash, 200, 100, {1, 2, 3});
  EXPECT_EQ(minSize(), (Size{200, 100}));
  EXPECT_EQ(view().width, 55);
  view().splash.Free();
  EXPECT_EQ(minSize(), (Size{120, 90}));
}

TEST_F(ViewTest, SizedMakesABlackDisplayAndStoresTheAspect) {
  openEnabled();
  for (const Size& size : {Size{90, 40}, Size{90, 40}, Size{40, 50}}) { // the same size too
    view().display->Clear(9, 9, 9);
    view().Sized(size.width, size.height);
    EXPECT_EQ(viewSize(), size);
    EXPECT_EQ((Size{view().display->GetBw(), view().display->GetBh()}), size);
    EXPECT_EQ(view().display->GetBt(), 32);
    EXPECT_TRUE(isFilled(*view().display, BLACK));
    EXPECT_DOUBLE_EQ(GetWorldPluginData(ID_LUMENARA)->GetReal(LM_ASPECT),
                     static_cast<Real>(size.width) / size.height);
    EXPECT_EQ(ui.drawnViews.back(), 266498);
  }
}

TEST_F(ViewTest, SizedWhileDisabledStoresNothing) {
  openViewer();
  const Real before = viewer->settings.GetValue(LM_ASPECT, 0.0);
  ui.drawnViews.clear();
  view().Sized(90, 40);
  EXPECT_EQ(viewSize(), (Size{90, 40}));
  EXPECT_EQ(view().display->GetBw(), 90);
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

TEST_F(ViewTest, EitherSideOfTheGroupIsFollowed) {
  openEnabled();
  setOption(LM_VIEW_SIZE, 0);
  for (const Size& size : {Size{200, 100}, Size{200, 80}, Size{180, 80}}) {
    host::setScrollSize(*viewer, 1122, size.width, size.height);
    poll();
    EXPECT_EQ(viewSize(), size);
    EXPECT_EQ((Size{view().display->GetBw(), view().display->GetBh()}), size);
  }
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
  constexpr Rgb SPLASH{200, 100, 50};
  fillBitmap(*view().splash, 20, 11, SPLASH);
  redraw();
  const LONG left = (101 - 20) / 2, top = (60 - 11) / 2;
  for (LONG y = 0; y < 60; ++y) {
    for (LONG x = 0; x < 101; ++x) {
      const bool inside = x >= left && x < left + 20 && y >= top && y < top + 11;
      ASSERT_EQ(paintedPixel(view(), x, y) == SPLASH, inside) << x << ", " << y;
    }
  }
}

// The window shows through where the splash has no alpha.
TEST_F(ViewTest, OffTheSplashIsDrawnWithItsAlpha) {
  removeResources();
  const Filename gui = folder.makeFolder("plugin/res/gui");
  AutoAlloc<BaseBitmap> splash;
  fillBitmap(*splash, 30, 20, {200, 100, 50}, 32);
  for (LONG y = 0; y < 20; ++y) {
    for (LONG x = 0; x < 30; ++x)
      splash->SetAlpha(x, y, x < 10 ? 0 : x < 20 ? 128 : 255);
  }
  ASSERT_EQ(splash->Save(gui + "splash.tif", FILTER_TIF, nullptr, SAVEBIT_ALPHA), IMAGERESULT_OK);
  openViewer();
  host::sizeArea(view(), 30, 20);
  redraw();
  const auto word = static_cast<LONG>(host::windowColor());
  const Rgb ground{word >> 16 & 255, word >> 8 & 255, word & 255};
  EXPECT_EQ(paintedPixel(view(), 5, 10), ground);
  EXPECT_EQ(paintedPixel(view(), 25, 10), (Rgb{200, 100, 50}));
  const Rgb mixed = paintedPixel(view(), 15, 10);
  EXPECT_NEAR(mixed.r, (ground.r * 127 + 200 * 128) / 255, 1);
  EXPECT_NEAR(mixed.g, (ground.g * 127 + 100 * 128) / 255, 1);
  EXPECT_NEAR(mixed.b, (ground.b * 127 + 50 * 128) / 255, 1);
}

// A splash larger than the area is cropped on both sides; the halves truncate toward zero.
TEST_F(ViewTest, OffALargerSplashIsCentredToo) {
  openViewer();
  host::sizeArea(view(), 10, 8);
  fillBitmap(*view().splash, 15, 13, BLACK);
  for (LONG y = 0; y < 13; ++y) {
    for (LONG x = 0; x < 15; ++x)
      view().splash->SetPixel(x, y, x + 1, y + 1, 0);
  }
  redraw();
  EXPECT_EQ(paintedPixel(view(), 0, 0), (Rgb{3, 3, 0})); // -5 / 2 is -2
  EXPECT_EQ(paintedPixel(view(), 9, 7), (Rgb{12, 10, 0}));
}

TEST_F(ViewTest, OffTheTimerRedrawsNothing) {
  openViewer();
  advance(200); // what the first layout posts
  view().splash->Clear(200, 100, 50);
  redraw();
  view().splash->Clear(1, 2, 3);
  poll(3);
  EXPECT_EQ(paintedPixel(view(), view().GetWidth() / 2, view().GetHeight() / 2), (Rgb{200, 100, 50}));
}

TEST_F(ViewTest, OffWithoutASplashItIsEmpty) {
  openViewer();
  host::sizeArea(view(), 30, 20);
  fillBitmap(*view().splash, 30, 20, {200, 100, 50});
  redraw();
  view().splash.Free();
  redraw();
  EXPECT_NE(paintedPixel(view(), 15, 10), (Rgb{200, 100, 50}));
}

} // namespace
