// The image history on a full disk, and in a host without a directory browser.
#include <gtest/gtest.h>

#include <new>

#include "file_size_limit.h"
#include "history_fixture.h"

namespace {

/// Makes the host unable to allocate a directory browser.
bool withoutBrowser = false;

} // namespace

// Replaces the host's function in the whole test program.
BrowseFiles* BrowseFiles::Alloc() {
  return withoutBrowser ? nullptr : new (std::nothrow) BrowseFiles;
}

namespace {

using HistoryFailureTest = HistoryTest;

TEST_F(HistoryFailureTest, AFullDiskLeavesNoPictureAndIsReportedOnce) {
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

TEST_F(HistoryFailureTest, AFolderThatCannotBeCreatedIsReportedOnTheConsole) {
  showPicture({10, 20, 30});
  std::filesystem::remove_all(dataFolder().GetString().GetUTF8());
  console.clear();
  view().AddToHistory();
  ASSERT_EQ(console.size(), 1u);
  EXPECT_NE(console[0].find("history/[001].tif"), std::string::npos) << console[0];
  EXPECT_NE(console[0].find("Check the folder"), std::string::npos) << console[0];
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
  EXPECT_TRUE(ui.popups.empty()); // no menu at all, not one with "[ Empty ]"
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

} // namespace
