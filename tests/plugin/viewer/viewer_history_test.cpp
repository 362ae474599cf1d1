// The viewer's commands for Compare mode and the history.
#include <gtest/gtest.h>

#include "viewer_fixture.h"

namespace {

class ViewerHistoryTest : public ViewerFixture {};

constexpr LONG COMPARE = 1105, ADD_TO_HISTORY = 1119;
using Names = std::vector<std::string>;

// ---- History commands

TEST_F(ViewerHistoryTest, HistoryButtonsAreForCompare) {
  openEnabled();
  viewer->Command(1120, BaseContainer());
  EXPECT_TRUE(ui.popups.empty());
  choose(COMPARE);
  addHistoryFile("x[001].tif", 1, {10, 20, 30});
  ui.choices = {900000, 900000};
  click(1120);
  EXPECT_EQ(viewer->view.imageA->GetBw(), 8);
  EXPECT_EQ(viewer->view.imageB->GetBw(), 0);
  click(1121);
  EXPECT_EQ(viewer->view.imageB->GetBw(), 8);
  LONG x = 0, y = 0, w = 0, h = 0;
  ASSERT_TRUE(viewer->GetItemDim(1121, &x, &y, &w, &h));
  ASSERT_TRUE(viewer->Local2Screen(&x, &y));
  ASSERT_EQ(ui.popups.size(), 2u);
  EXPECT_EQ(ui.popups[1].x, x);
  EXPECT_EQ(ui.popups[1].y, y);
}

TEST_F(ViewerHistoryTest, HistoryButtonsAreGreyWhereTheyDoNothing) {
  const auto expectEnabled = [&](bool enabled) {
    for (const LONG button : {1120, 1121})
      EXPECT_EQ(host::findGadget(*viewer, button)->enabled, enabled) << button;
  };
  openEnabled();
  expectEnabled(false);
  for (const LONG mode : std::vector<LONG>{COMPARE, LM_MODE_REGION, COMPARE, LM_MODE_NORMAL}) {
    choose(mode);
    expectEnabled(mode == COMPARE);
  }
  choose(COMPARE);
  choose(1106); // off: they switch the viewer on
  expectEnabled(true);
  viewer->Close();
  openViewer();
  expectEnabled(true);
  finishRender();
}

// In Compare mode the view's timer asks for nothing, so each operation asks by itself.
TEST_F(ViewerHistoryTest, LoadingSwappingAndChoosingRedrawTheComparison) {
  openEnabled(16, 12);
  setOption(LM_COMPARE_STYLE, 0); // B on the left, A on the right
  const Rgb oldest{10, 0, 0}, older{20, 0, 0}, newest{30, 0, 0};
  addHistoryFile("a.tif", 1, oldest);
  addHistoryFile("b.tif", 2, older);
  addHistoryFile("c.tif", 3, newest);
  choose(COMPARE);
  advance(1000);
  const auto expectShown = [&](const Rgb& left, const Rgb& right) {
    advance(20);
    EXPECT_EQ(paintedPixel(view(), 2, 6), left);
    EXPECT_EQ(paintedPixel(view(), 13, 6), right);
  };
  expectShown({}, {});
  view().AutoloadRecent();
  expectShown(newest, older);
  choose(1131);
  expectShown(older, newest);
  ui.choices = {900000, 900000};
  click(1120);
  expectShown(older, oldest);
  click(1121);
  expectShown(oldest, oldest);
  view().imageA->Clear(77, 0, 0);
  expectShown(oldest, oldest); // nothing has asked
  ui.choices = {901000};
  ui.files = {Filename()};
  click(1120); // cancelled, and redrawn all the same
  expectShown(oldest, {77, 0, 0});
}

TEST_F(ViewerHistoryTest, HistoryButtonsSwitchTheViewerOn) {
  openEnabled();
  for (const LONG button : {1120, 1121}) {
    choose(COMPARE);
    choose(1106); // off
    ASSERT_EQ(option(LM_ENABLED), 0);
    click(button);
    EXPECT_EQ(storedOption(LM_ENABLED), 1) << button;
  }
}

TEST_F(ViewerHistoryTest, TheSliderAtItsOldValueComposesNothing) {
  openEnabled(16, 12);
  fillBitmap(*view().imageA, 16, 12, {1, 1, 1});
  fillBitmap(*view().imageB, 16, 12, {2, 2, 2});
  choose(COMPARE);
  ASSERT_TRUE(host::enterNumber(*viewer, 1108, 40));
  advance(20);
  const LONG composed = view().lastCompose;
  clock.advance(20);
  viewer->Command(1108, BaseContainer());
  advance(20);
  EXPECT_EQ(view().lastCompose, composed);
  choose(COMPARE); // entered anew: any value counts as changed
  viewer->Command(1108, BaseContainer());
  EXPECT_EQ(viewer->compareValue, 0.4);
}

TEST_F(ViewerHistoryTest, APopupWithoutItsButtonOpensAtThePointer) {
  setOption(LM_ENABLED, 1);
  setOption(LM_MODE, COMPARE);
  viewer->Command(1120, BaseContainer()); // never opened: there are no dimensions
  ASSERT_EQ(ui.popups.size(), 1u);
  EXPECT_EQ(ui.popups[0].x, 0x7fffffff);
  EXPECT_EQ(ui.popups[0].y, 0x7fffffff);
}

TEST_F(ViewerHistoryTest, OpenHistoryFolderMakesItAndOpensIt) {
  openEnabled();
  ASSERT_TRUE(GeFKill(historyFolder()));
  choose(1130);
  runAll();
  EXPECT_TRUE(GeFExist(historyFolder(), TRUE));
  EXPECT_EQ(ui.openedFiles, (Names{historyFolder().GetString().GetUTF8()}));
}

TEST_F(ViewerHistoryTest, AnExistingFolderIsOpenedUnchanged) {
  openEnabled();
  addHistoryFile("x[001].tif", 1);
  choose(1130);
  runAll();
  EXPECT_EQ(historyNames(), (Names{"x[001].tif"}));
  EXPECT_EQ(ui.openedFiles.size(), 1u);
}

TEST_F(ViewerHistoryTest, ClearHistoryAsksFirst) {
  openEnabled();
  addHistoryFile("x[001].tif", 1);
  touch(historyFolder() + "notes.txt");
  ui.answers = {false, true};
  choose(1129);
  EXPECT_EQ(historyNames().size(), 2u);
  choose(1129);
  EXPECT_EQ(historyNames(), (Names{"notes.txt"}));
  EXPECT_EQ(ui.questions[0], "Are you sure you want to delete all images in your history?");
}

TEST_F(ViewerHistoryTest, ViewDifferenceShowsItInThePictureViewer) {
  openEnabled(10, 8);
  fillBitmap(*viewer->view.imageA, 10, 8, {10, 200, 30});
  fillBitmap(*viewer->view.imageB, 10, 8, {15, 100, 30});
  choose(1132);
  EXPECT_TRUE(isFilled(*viewer->view.display, {5, 100, 0}));
  EXPECT_EQ(ui.shownBitmaps.size(), 1u);
}

TEST_F(ViewerHistoryTest, SwapAndAddReachTheView) {
  openEnabled(16, 12);
  fillBitmap(*viewer->view.imageA, 3, 4, {1, 1, 1});
  fillBitmap(*viewer->view.imageB, 5, 6, {2, 2, 2});
  choose(1131);
  EXPECT_EQ(viewer->view.imageA->GetBw(), 5);
  choose(5015);
  EXPECT_EQ(ui.messages, (Names{"Lumenara Error: No previous render found."}));
  render();
  choose(ADD_TO_HISTORY);
  EXPECT_EQ(historyNames(), (Names{"[001].tif"}));
}

} // namespace
