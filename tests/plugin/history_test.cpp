// The image history: names, numbers, the size and the slots.
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <new>

#include "viewer_fixture.h"

namespace {

/// The host has no memory for a directory browser.
bool withoutBrowser = false;

} // namespace

// In the host's place, for the whole test program.
BrowseFiles* BrowseFiles::Alloc() {
  return withoutBrowser ? nullptr : new (std::nothrow) BrowseFiles;
}

namespace {

using Names = std::vector<std::string>;

class HistoryTest : public ViewerFixture {
 protected:
  std::string nextName(const char* prefix = "") {
    const Filename file = view().GetNextFilename(historyFolder(), prefix);
    EXPECT_EQ(file.GetDirectory(), historyFolder());
    return file.GetFile().GetString().GetUTF8();
  }
  /// A view that shows a finished picture of this colour.
  void showPicture(const Rgb& color) {
    openEnabled(16, 12);
    fillBitmap(*view().image, 16, 12, color);
    redraw();
    ASSERT_EQ(view().data.stampsPending, 1);
    ASSERT_TRUE(isFilled(*view().display, color));
  }
  /// As many as the history keeps.
  void fillHistory() {
    for (LONG i = 0; i < 10; ++i)
      addHistoryFile(String("old" + LongToString(i) + ".tif").GetUTF8().c_str(), 10 + i);
  }
  void putLastRender(const Rgb& color) {
    AutoAlloc<BaseBitmap> picture;
    fillBitmap(*picture, 30, 20, color);
    ASSERT_EQ(picture->Save(dataFolder() + "lastRender.tif", FILTER_TIF), IMAGERESULT_OK);
  }
  Rgb savedColor(const char* name) {
    AutoAlloc<BaseBitmap> picture;
    EXPECT_EQ(picture->Init(historyFolder() + name), IMAGERESULT_OK) << name;
    return pixelOf(*picture, 0, 0);
  }
};

// ---- Names

TEST_F(HistoryTest, NumbersAreFilledUpToThreeDigits) {
  EXPECT_EQ(view().StrPad(7, 3), String("007"));
  EXPECT_EQ(view().StrPad(1000, 3), String("1000"));
  EXPECT_EQ(view().StrPad(0, 1), String("0"));
}

TEST_F(HistoryTest, TheNextNumberIsTheFirstFreeOne) {
  EXPECT_EQ(nextName(), "[001].tif");
  touch(historyFolder() + "[001].tif");
  touch(historyFolder() + "[003].tif");
  EXPECT_EQ(nextName(), "[002].tif");
  touch(historyFolder() + "[002].tif");
  EXPECT_EQ(nextName(), "[004].tif");
}

TEST_F(HistoryTest, TheThousandthHasFourDigits) {
  for (LONG number = 1; number < 1000; ++number)
    touch(historyFolder() + Filename(String("[") + view().StrPad(number, 3) + "].tif"));
  EXPECT_EQ(nextName(), "[1000].tif");
}

TEST_F(HistoryTest, AnEmptyPrefixIsTheDocumentsName) {
  view().data.documentName = "scene.c4d";
  EXPECT_EQ(nextName(), "scene.c4d[001].tif");
  EXPECT_EQ(nextName("lastRender"), "lastRender[001].tif");
  touch(historyFolder() + "lastRender[001].tif");
  EXPECT_EQ(nextName("lastRender"), "lastRender[002].tif");
  EXPECT_EQ(nextName(), "scene.c4d[001].tif");
}

// ---- Counting and trimming

TEST_F(HistoryTest, OnlyTifFilesCount) {
  EXPECT_EQ(view().GetHistoryCount(), 0);
  touch(historyFolder() + "[001].tif");
  touch(historyFolder() + "upper.TIF");
  touch(historyFolder() + "notes.txt");
  touch(historyFolder() + "tif");
  GeFCreateDir(historyFolder() + "folder.tif");
  EXPECT_EQ(view().GetHistoryCount(), 2);
}

TEST_F(HistoryTest, CleanupDeletesTheOldest) {
  addHistoryFile("b.tif", 30);
  addHistoryFile("a.tif", 20);
  addHistoryFile("c.tif", 10);
  touch(historyFolder() + "notes.txt");
  view().CleanupHistory(3);
  EXPECT_EQ(historyNames().size(), 4u);
  view().CleanupHistory(2);
  EXPECT_EQ(historyNames(), (Names{"a.tif", "b.tif", "notes.txt"}));
  view().CleanupHistory(0);
  EXPECT_EQ(historyNames(), (Names{"notes.txt"}));
}

TEST_F(HistoryTest, ImagesOfOneSecondStandAsListed) {
  addHistoryFile("c.tif", 10);
  addHistoryFile("b.tif", 10);
  addHistoryFile("a.tif", 11);
  addHistoryFile("d.tif", 10);
  view().CleanupHistory(2); // b and c are the first of their second
  EXPECT_EQ(historyNames(), (Names{"a.tif", "d.tif"}));
}

// Each is the first moment of its field's next value: every later field says the opposite.
TEST_F(HistoryTest, AgeGoesByEveryField) {
  const LONG minute = 60, hour = 3600, day = 86400;
  addHistoryFile("g.tif", 366 * day - 2); // 2020 was a leap year
  addHistoryFile("f.tif", 366 * day - 1);
  addHistoryFile("e.tif", 366 * day + 31 * day - 1); // 31 January 2021
  addHistoryFile("d.tif", 366 * day + 31 * day);
  addHistoryFile("c.tif", 366 * day + 32 * day);
  addHistoryFile("b.tif", 366 * day + 32 * day + hour);
  addHistoryFile("a.tif", 366 * day + 32 * day + hour + minute);
  for (const char* oldest : {"g.tif", "f.tif", "e.tif", "d.tif", "c.tif", "b.tif", "a.tif"}) {
    ASSERT_EQ(historyNames().back(), oldest);
    view().CleanupHistory(view().GetHistoryCount() - 1);
  }
}

TEST_F(HistoryTest, ANegativeSizeDeletesWhatIsThere) {
  addHistoryFile("a.tif", 1);
  addHistoryFile("b.tif", 2);
  view().CleanupHistory(-1);
  EXPECT_TRUE(historyNames().empty());
  view().CleanupHistory(-5);
}

TEST_F(HistoryTest, ClearDeletesTheImagesOnly) {
  addHistoryFile("a.tif", 1);
  addHistoryFile("b.tif", 2);
  view().AutoloadRecent();
  touch(historyFolder() + "notes.txt");
  GeFCreateDir(historyFolder() + "folder.tif");
  view().ClearHistory();
  EXPECT_EQ(historyNames(), (Names{"folder.tif", "notes.txt"}));
  EXPECT_GT(view().imageA->GetBw(), 0); // the slots stay
  EXPECT_TRUE(ui.questions.empty());
}

// ---- Adding

TEST_F(HistoryTest, AddSavesThePictureAsShown) {
  showPicture({11, 22, 33});
  view().AddToHistory();
  EXPECT_EQ(historyNames(), (Names{"[001].tif"}));
  EXPECT_EQ(savedColor("[001].tif"), (Rgb{11, 22, 33}));
}

TEST_F(HistoryTest, AddKeepsTheSize) {
  showPicture({1, 2, 3});
  fillHistory();
  view().AddToHistory();
  const Names names = historyNames();
  EXPECT_EQ(names.size(), 10u);
  EXPECT_EQ(names[0], "[001].tif");
  EXPECT_EQ(names[1], "old1.tif"); // old0 was the oldest
}

TEST_F(HistoryTest, ASizeOfOneDeletesAllBefore) {
  setOption(LM_HISTORY_SIZE, 1);
  showPicture({1, 2, 3});
  addHistoryFile("a.tif", 1);
  addHistoryFile("b.tif", 2);
  view().AddToHistory();
  EXPECT_EQ(historyNames(), (Names{"[001].tif"}));
  view().AddToHistory();
  EXPECT_EQ(historyNames(), (Names{"[001].tif"}));
}

TEST_F(HistoryTest, ASizeBelowOneIsTakenAsOne) {
  setOption(LM_HISTORY_SIZE, -3);
  showPicture({1, 2, 3});
  addHistoryFile("a.tif", 1);
  view().AddToHistory();
  EXPECT_EQ(historyNames(), (Names{"[001].tif"}));
}

TEST_F(HistoryTest, AddMakesTheFolderAgain) {
  showPicture({1, 2, 3});
  std::filesystem::remove_all(historyFolder().GetString().GetUTF8());
  view().AddToHistory();
  EXPECT_EQ(historyNames(), (Names{"[001].tif"}));
}

TEST_F(HistoryTest, AddLoadsTheTwoNewestWhenWanted) {
  showPicture({1, 2, 3});
  addHistoryFile("old.tif", 1, {50, 50, 50});
  setOption(LM_HISTORY_AUTOLOAD, 0);
  view().AddToHistory();
  EXPECT_EQ(view().imageA->GetBw(), 0);
  setOption(LM_HISTORY_AUTOLOAD, 1);
  setFileTime(historyFolder() + "[001].tif", 2);
  fillBitmap(*view().display, 16, 12, {4, 5, 6}, 32);
  view().AddToHistory();
  EXPECT_EQ(pixelOf(*view().imageA, 0, 0), (Rgb{1, 2, 3}));
  EXPECT_EQ(pixelOf(*view().imageB, 0, 0), (Rgb{4, 5, 6}));
}

/// Files of this process grow no further than `bytes`, as on a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }

 private:
  void (*handler_)(int);
  rlimit before_{};
};

TEST_F(HistoryTest, AFullDiskLeavesNoPictureAndTheConsoleSaysSoOnce) {
  showPicture({10, 20, 30});
  console.clear();
  {
    const FileSizeLimit full(64);
    view().AddToHistory();
  }
  EXPECT_TRUE(historyNames().empty());
  ASSERT_EQ(console.size(), 1u);
  for (const char* part : {"history/[001].tif", "was not written", "File too large", "free space"})
    EXPECT_NE(console[0].find(part), std::string::npos) << part << ": " << console[0];
  EXPECT_TRUE(ui.messages.empty());
  view().AddToHistory();
  EXPECT_EQ(historyNames(), (Names{"[001].tif"}));
  EXPECT_EQ(console.size(), 1u);
}

TEST_F(HistoryTest, AFolderThatCannotBeMadeIsToldByTheConsole) {
  showPicture({10, 20, 30});
  std::filesystem::remove_all(dataFolder().GetString().GetUTF8());
  console.clear();
  view().AddToHistory();
  ASSERT_EQ(console.size(), 1u);
  EXPECT_NE(console[0].find("history/[001].tif"), std::string::npos) << console[0];
  EXPECT_NE(console[0].find("Check the folder"), std::string::npos) << console[0];
}

TEST_F(HistoryTest, AComparisonIsAddedAlsoWithoutARender) {
  openEnabled(16, 12);
  ASSERT_EQ(view().image->GetBw(), 0);
  fillBitmap(*view().imageA, 16, 12, {10, 200, 30});
  fillBitmap(*view().imageB, 16, 12, {10, 200, 30});
  choose(LM_MODE_COMPARE);
  advance(20);
  view().AddToHistory();
  ASSERT_EQ(historyNames(), (Names{"[001].tif"}));
  AutoAlloc<BaseBitmap> added;
  ASSERT_EQ(added->Init(historyFolder() + "[001].tif"), IMAGERESULT_OK);
  EXPECT_EQ(added->GetBw(), 16);
  EXPECT_EQ(added->GetBh(), 12);
  EXPECT_TRUE(isFilled(*added, {10, 200, 30}));
}

TEST_F(HistoryTest, NothingIsAddedBeforeSomethingWasComposed) {
  openEnabled(16, 12);
  fillHistory();
  const Names before = historyNames();
  choose(1119); // the view is black
  EXPECT_EQ(historyNames(), before);
  choose(LM_MODE_COMPARE); // with nothing to compare
  advance(300);
  choose(LM_MODE_NORMAL);
  finishRender();
  view().data.stampsPending = 1;
  view().AddToHistory();
  EXPECT_EQ(historyNames(), before);
  EXPECT_EQ(pixelOf(*view().imageA, 0, 0), (Rgb{0, 0, 0})) << "nor are the newest loaded";
}

TEST_F(HistoryTest, NothingIsAddedBeforeSomethingWasComposedSinceTheViewWasOpened) {
  openEnabled(16, 12);
  render();
  fillHistory();
  viewer->Close();
  openViewer();
  advance(200);
  const Names before = historyNames();
  choose(1119);
  EXPECT_EQ(historyNames(), before);
  choose(1106); // off: the splash
  advance(200);
  choose(1119);
  EXPECT_EQ(historyNames(), before);
  render(); // which switches it on
  choose(1119);
  EXPECT_NE(historyNames(), before);
}

TEST_F(HistoryTest, NamesComeFromTheRenderedDocument) {
  document->SetDocumentName("scene.gltf");
  openEnabled(16, 12);
  click(1109);
  finishRender();
  poll();
  choose(1119);
  choose(1119);
  EXPECT_EQ(historyNames(), (Names{"scene.gltf[001].tif", "scene.gltf[002].tif"}));
}

TEST_F(HistoryTest, TheLastRenderIsMovedIn) {
  openEnabled(16, 12);
  putLastRender({9, 8, 7});
  view().AddLastRender();
  EXPECT_EQ(historyNames(), (Names{"lastRender[001].tif"}));
  EXPECT_EQ(savedColor("lastRender[001].tif"), (Rgb{9, 8, 7}));
  EXPECT_FALSE(GeFExist(dataFolder() + "lastRender.tif"));
  EXPECT_TRUE(ui.messages.empty());
  view().AddLastRender();
  EXPECT_EQ(ui.messages, (Names{"Lumenara Error: No previous render found."}));
  EXPECT_EQ(historyNames().size(), 1u);
}

TEST_F(HistoryTest, LastRendersCanPushTheHistoryPastItsSize) {
  setOption(LM_HISTORY_SIZE, 2);
  showPicture({1, 2, 3});
  for (int i = 0; i < 4; ++i) {
    putLastRender({9, 8, 7});
    view().AddLastRender();
  }
  EXPECT_EQ(historyNames().size(), 4u);
  view().AddToHistory();
  EXPECT_EQ(historyNames().size(), 2u);
}

TEST_F(HistoryTest, AddLastRenderLoadsTheNewestInBothCases) {
  openEnabled(16, 12);
  addHistoryFile("a.tif", 1, {1, 1, 1});
  addHistoryFile("b.tif", 2, {2, 2, 2});
  view().AddLastRender(); // there is none
  EXPECT_EQ(pixelOf(*view().imageB, 0, 0), (Rgb{2, 2, 2}));
  putLastRender({9, 8, 7});
  view().AddLastRender();
  EXPECT_EQ(pixelOf(*view().imageA, 0, 0), (Rgb{2, 2, 2}));
  EXPECT_EQ(pixelOf(*view().imageB, 0, 0), (Rgb{9, 8, 7}));
}

TEST_F(HistoryTest, ALastRenderThatCannotBeMovedStays) {
  openEnabled(16, 12);
  putLastRender({9, 8, 7});
  ASSERT_TRUE(GeFKill(historyFolder()));
  view().AddLastRender(); // which makes no folder
  EXPECT_TRUE(GeFExist(dataFolder() + "lastRender.tif"));
  EXPECT_FALSE(GeFExist(historyFolder(), TRUE));
  EXPECT_TRUE(ui.messages.empty());
}

// ---- The view's own calls

/// Notes which of its operations are called.
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

TEST_F(HistoryTest, ItsOperationsCallEachOtherAsOperations) {
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

/// Counts as it is told.
class CountingView : public lmUserArea {
 public:
  using lmUserArea::lmUserArea;
  LONG GetHistoryCount() override { return count; }
  LONG count = 0;
};

TEST_F(HistoryTest, TrimmingAndLoadingGoByTheCountingOperation) {
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
  counting.count = 9; // more than there are
  counting.CleanupHistory(0);
  EXPECT_TRUE(historyNames().empty());
}

// ---- A host without a directory browser

class NoBrowserTest : public HistoryTest {
 protected:
  void TearDown() override {
    withoutBrowser = false;
    HistoryTest::TearDown();
  }
};

TEST_F(NoBrowserTest, NothingIsCountedShownLoadedOrDeleted) {
  openEnabled(16, 12);
  addHistoryFile("a.tif", 1);
  addHistoryFile("b.tif", 2);
  ui.choices = {900000, 901000};
  withoutBrowser = true;
  EXPECT_EQ(view().GetHistoryCount(), 0);
  view().CleanupHistory(0);
  view().ClearHistory();
  view().AutoloadRecent();
  view().SelectImagePopup(0, 0, TRUE);
  EXPECT_TRUE(ui.popups.empty()); // no menu, not one that says that there are none
  EXPECT_TRUE(ui.fileRequests.empty());
  EXPECT_EQ(view().imageA->GetBw(), 0);
  withoutBrowser = false;
  EXPECT_EQ(historyNames(), (Names{"a.tif", "b.tif"}));
  EXPECT_TRUE(console.empty());
}

TEST_F(NoBrowserTest, APictureIsAddedAllTheSame) {
  showPicture({1, 2, 3});
  withoutBrowser = true;
  view().AddToHistory();
  withoutBrowser = false;
  EXPECT_EQ(historyNames(), (Names{"[001].tif"}));
}

// ---- The slots

TEST_F(HistoryTest, AutoloadNeedsTwo) {
  openEnabled(16, 12);
  fillBitmap(*view().imageA, 2, 2, {7, 7, 7});
  view().AutoloadRecent();
  addHistoryFile("a.tif", 1);
  view().AutoloadRecent();
  EXPECT_EQ(view().imageA->GetBw(), 2);
  EXPECT_EQ(view().imageB->GetBw(), 0);
}

TEST_F(HistoryTest, AutoloadTakesTheTwoNewest) {
  openEnabled(16, 12);
  addHistoryFile("a.tif", 30, {3, 3, 3});
  addHistoryFile("b.tif", 20, {2, 2, 2});
  addHistoryFile("c.tif", 10, {1, 1, 1});
  view().AutoloadRecent();
  EXPECT_EQ(pixelOf(*view().imageA, 0, 0), (Rgb{2, 2, 2}));
  EXPECT_EQ(pixelOf(*view().imageB, 0, 0), (Rgb{3, 3, 3}));
}

TEST_F(HistoryTest, APictureThatDoesNotLoadIsReportedAndLeavesItsSlotEmpty) {
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

TEST_F(HistoryTest, SwapExchangesSizesAndPictures) {
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

TEST_F(HistoryTest, SwapNeedsBoth) {
  openEnabled(16, 12);
  fillBitmap(*view().imageA, 3, 4, {1, 2, 3});
  view().HistorySwap();
  EXPECT_EQ(view().imageA->GetBw(), 3);
  EXPECT_EQ(view().imageB->GetBw(), 0);
}

} // namespace
