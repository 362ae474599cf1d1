// The image history: the slots A and B, and the calls of its operations among each other.
#include <gtest/gtest.h>

#include "history_fixture.h"

namespace {

using HistorySlotsTest = HistoryTest;

TEST_F(HistorySlotsTest, AutoloadNeedsTwo) {
  openEnabled(16, 12);
  fillBitmap(*view().imageA, 2, 2, {7, 7, 7});
  view().AutoloadRecent();
  addHistoryFile("a.tif", 1);
  view().AutoloadRecent();
  EXPECT_EQ(view().imageA->GetBw(), 2);
  EXPECT_EQ(view().imageB->GetBw(), 0);
}

TEST_F(HistorySlotsTest, AutoloadTakesTheTwoNewest) {
  openEnabled(16, 12);
  addHistoryFile("a.tif", 30, {3, 3, 3});
  addHistoryFile("b.tif", 20, {2, 2, 2});
  addHistoryFile("c.tif", 10, {1, 1, 1});
  view().AutoloadRecent();
  EXPECT_EQ(pixelOf(*view().imageA, 0, 0), (Rgb{2, 2, 2}));
  EXPECT_EQ(pixelOf(*view().imageB, 0, 0), (Rgb{3, 3, 3}));
}

TEST_F(HistorySlotsTest, APictureThatDoesNotLoadIsReportedAndLeavesItsSlotEmpty) {
  openEnabled(16, 12);
  fillBitmap(*view().imageB, 2, 2, {7, 7, 7});
  addHistoryFile("a.tif", 1, {1, 1, 1});
  folder.write("home/plugins/Lumenara/history/b.tif", "no picture");
  setFileTime(historyFolder() + "b.tif", 2);
  view().AutoloadRecent();
  EXPECT_EQ(pixelOf(*view().imageA, 0, 0), (Rgb{1, 1, 1}));
  EXPECT_EQ(view().imageB->GetBw(), 0);
  EXPECT_EQ(console, (Names{"Lumenara Error: Image Load Failed"}));
  addHistoryFile("a.tif", 3);
  std::filesystem::resize_file((historyFolder() + "a.tif").GetString().GetUTF8(), 100);
  view().AutoloadRecent();
  EXPECT_EQ(std::count(console.begin(), console.end(), "Lumenara Error: Image Load Failed"), 3);
}

TEST_F(HistorySlotsTest, SwapExchangesSizesAndPictures) {
  openEnabled(16, 12);
  fillBitmap(*view().imageA, 3, 4, {1, 2, 3});
  fillBitmap(*view().imageB, 7, 5, {4, 5, 6}, 32);
  view().HistorySwap();
  EXPECT_EQ(view().imageA->GetBw(), 7);
  EXPECT_EQ(view().imageA->GetBh(), 5);
  EXPECT_EQ(view().imageA->GetBt(), 32);
  EXPECT_TRUE(isFilled(*view().imageA, {4, 5, 6}));
  EXPECT_EQ(view().imageB->GetBw(), 3);
  EXPECT_EQ(view().imageB->GetBt(), 24);
  EXPECT_TRUE(isFilled(*view().imageB, {1, 2, 3}));
}

TEST_F(HistorySlotsTest, SwapNeedsBoth) {
  openEnabled(16, 12);
  fillBitmap(*view().imageA, 3, 4, {1, 2, 3});
  view().HistorySwap();
  EXPECT_EQ(view().imageA->GetBw(), 3);
  EXPECT_EQ(view().imageB->GetBw(), 0);
}

// ---- The view's own calls

/// Records calls of its operations.
class NotingView : public lmUserArea {
 public:
  using lmUserArea::lmUserArea;
  void AutoloadRecent() override { calls.push_back("autoload"); }
  void CleanupHistory(LONG keep) override { calls.push_back("cleanup " + std::to_string(keep)); }
  Filename GetNextFilename(const Filename& folder, const String& prefix) override {
    calls.push_back("next " + prefix.GetUTF8());
    return lmUserArea::GetNextFilename(folder, prefix);
  }
  String StrPad(LONG number, LONG length) override {
    calls.push_back("pad");
    return lmUserArea::StrPad(number, length);
  }
  Names calls;
};

TEST_F(HistorySlotsTest, ItsOperationsCallEachOtherAsOperations) {
  NotingView noting(viewer.get(), &viewer->settings);
  noting.width = 4;
  noting.height = 3;
  fillBitmap(*noting.display, 4, 3, {1, 2, 3}, 32);
  noting.HistoryPrepare(0.0, lmUserArea::COMPARE_BLEND);
  noting.AddToHistory();
  EXPECT_EQ(noting.calls, (Names{"cleanup 9", "next ", "pad", "autoload"}));
  noting.calls.clear();
  putLastRender({9, 8, 7});
  noting.AddLastRender();
  EXPECT_EQ(noting.calls, (Names{"next lastRender", "pad", "autoload"}));
  noting.calls.clear();
  setOption(LM_HISTORY_AUTOLOAD, 0);
  viewer->settings.GetDataInstance()->RemoveData(LM_HISTORY_SIZE);
  noting.AddToHistory();
  EXPECT_EQ(noting.calls, (Names{"cleanup 9", "next ", "pad", "pad"}));
}

/// Returns a given count.
class CountingView : public lmUserArea {
 public:
  using lmUserArea::lmUserArea;
  LONG GetHistoryCount() override { return count; }
  LONG count = 0;
};

TEST_F(HistorySlotsTest, TrimmingAndLoadingGoByTheCountingOperation) {
  addHistoryFile("a.tif", 1, {1, 1, 1});
  addHistoryFile("b.tif", 2, {2, 2, 2});
  addHistoryFile("c.tif", 3, {3, 3, 3});
  CountingView counting(viewer.get(), &viewer->settings);
  counting.count = 1;
  counting.CleanupHistory(1);
  counting.AutoloadRecent();
  EXPECT_EQ(historyNames().size(), 3u);
  EXPECT_EQ(counting.imageB->GetBw(), 0);
  counting.count = 3;
  counting.AutoloadRecent();
  EXPECT_EQ(pixelOf(*counting.imageB, 0, 0), (Rgb{3, 3, 3}));
  counting.CleanupHistory(2);
  EXPECT_EQ(historyNames(), (Names{"b.tif", "c.tif"}));
  counting.count = 9; // more than exist
  counting.CleanupHistory(0);
  EXPECT_TRUE(historyNames().empty());
}

} // namespace
