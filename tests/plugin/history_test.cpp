// The image history: names, numbers, the size, and pictures that are added.
#include <gtest/gtest.h>

#include "history_fixture.h"

namespace {

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

// For each field, a file in its next value's first moment: all smaller fields say the opposite.
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

TEST_F(HistoryTest, ANegativeSizeDeletesAllPictures) {
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
  view().AddLastRender(); // without a last render
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
  view().AddLastRender(); // does not create the folder
  EXPECT_TRUE(GeFExist(dataFolder() + "lastRender.tif"));
  EXPECT_FALSE(GeFExist(historyFolder(), TRUE));
  EXPECT_TRUE(ui.messages.empty());
}

} // namespace
