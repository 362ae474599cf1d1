// The popup of the image history: its entries, their effect, and changes of the folder while it is open.
#include <gtest/gtest.h>

#include <filesystem>

#include "user_interface.h"
#include "viewer_fixture.h"

namespace {

using Names = std::vector<std::string>;

class HistoryPopupTest : public ViewerFixture {
 protected:
  Names popupTexts(const BaseContainer& popup) {
    Names texts;
    for (LONG i = 0; i < popup.GetCount(); ++i)
      texts.push_back(LongToString(popup.GetIndexId(i)).GetUTF8() + " " +
                      popup.GetIndexData(i)->GetString().GetUTF8());
    return texts;
  }
};

TEST_F(HistoryPopupTest, ThePopupListsOldestFirst) {
  openEnabled(16, 12);
  addHistoryFile("[001].tif", 30);
  addHistoryFile("lastRender[001].tif", 10);
  addHistoryFile("scene.c4d[002].tif", 20);
  view().SelectImagePopup(12, 34, TRUE);
  ASSERT_EQ(ui.popups.size(), 1u);
  EXPECT_EQ(popupTexts(ui.popups[0].entries), (Names{"900000 lastRender[001]", "900001 scene.c4d[002]",
                                                     "900002 [001]", "0 ", "901000 Load Image..."}));
  EXPECT_EQ(ui.popups[0].x, 12);
  EXPECT_EQ(ui.popups[0].y, 34);
}

TEST_F(HistoryPopupTest, AnEmptyHistorySaysSo) {
  openEnabled(16, 12);
  touch(historyFolder() + "notes.txt"); // is not listed
  GeFCreateDir(historyFolder() + "folder.tif");
  ui.choices = {900999};
  view().SelectImagePopup(0, 0, TRUE);
  EXPECT_EQ(popupTexts(ui.popups[0].entries), (Names{"900999 [ Empty ]&d&", "0 ", "901000 Load Image..."}));
  EXPECT_EQ(view().imageA->GetBw(), 0);
  EXPECT_TRUE(console.empty());
}

TEST_F(HistoryPopupTest, AChoiceFillsItsSlot) {
  openEnabled(16, 12);
  addHistoryFile("a.tif", 1, {1, 1, 1});
  addHistoryFile("b.tif", 2, {2, 2, 2});
  ui.choices = {900001, 900000, 0, 900002, 899999, 901001};
  view().SelectImagePopup(0, 0, TRUE);
  EXPECT_EQ(pixelOf(*view().imageA, 0, 0), (Rgb{2, 2, 2}));
  EXPECT_EQ(view().imageB->GetBw(), 0);
  view().SelectImagePopup(0, 0, FALSE);
  EXPECT_EQ(pixelOf(*view().imageB, 0, 0), (Rgb{1, 1, 1}));
  for (int i = 0; i < 4; ++i) // the others are not entries
    view().SelectImagePopup(0, 0, TRUE);
  EXPECT_EQ(pixelOf(*view().imageA, 0, 0), (Rgb{2, 2, 2}));
}

/// Changes the folder while the popup is open.
class BusyFolder final : public host::UserInterface {
 public:
  BusyFolder(LONG choice, std::function<void()> work) : choice_(choice), work_(std::move(work)) {
    host::setUserInterface(this);
  }
  void message(const String&) override {}
  bool question(const String&) override { return false; }
  LONG popup(const BaseContainer&, LONG, LONG) override {
    work_();
    return choice_;
  }

 private:
  LONG choice_;
  std::function<void()> work_;
};

TEST_F(HistoryPopupTest, AChosenPictureThatIsGoneOrDamagedIsReported) {
  openEnabled(16, 12);
  const std::string file = (historyFolder() + "a.tif").GetString().GetUTF8();
  const std::function<void()> works[] = {
      [&] { std::filesystem::remove(file); },
      [&] { std::filesystem::resize_file(file, 100); },
      [&] { std::filesystem::resize_file(file, 0); },
      [&] { folder.write("home/plugins/Lumenara/history/a.tif", "no picture"); },
      [&] { std::filesystem::remove_all(historyFolder().GetString().GetUTF8()); },
  };
  for (const auto& work : works) {
    addHistoryFile("a.tif", 1);
    fillBitmap(*view().imageA, 2, 2, {7, 7, 7});
    console.clear();
    {
      const BusyFolder busy(900000, work);
      view().SelectImagePopup(0, 0, TRUE);
    }
    host::setUserInterface(&ui);
    EXPECT_EQ(view().imageA->GetBw(), 0);
    EXPECT_EQ(console, (Names{"Lumenara Error: Invalid Image"}));
  }
}

// Found by its name, not by its index in the changed list.
TEST_F(HistoryPopupTest, TheChoiceIsThePictureThatWasListed) {
  openEnabled(16, 12);
  addHistoryFile("a.tif", 1, {1, 1, 1});
  addHistoryFile("b.tif", 2, {2, 2, 2});
  {
    const BusyFolder busy(900001, [&] { GeFKill(historyFolder() + "a.tif"); });
    view().SelectImagePopup(0, 0, FALSE);
  }
  host::setUserInterface(&ui);
  EXPECT_TRUE(isFilled(*view().imageB, {2, 2, 2}));
}

TEST_F(HistoryPopupTest, LoadImageTakesAnyPicture) {
  openEnabled(16, 12);
  const Filename file = folder / "picture.png";
  AutoAlloc<BaseBitmap> picture;
  fillBitmap(*picture, 9, 9, {90, 80, 70});
  ASSERT_EQ(picture->Save(file, FILTER_PNG), IMAGERESULT_OK);
  ui.choices = {901000, 901000, 901000};
  ui.files = {file, Filename(), folder.write("broken.png", "no picture")};
  view().SelectImagePopup(0, 0, FALSE);
  EXPECT_TRUE(isFilled(*view().imageB, {90, 80, 70}));
  ASSERT_EQ(ui.fileRequests.size(), 1u);
  EXPECT_EQ(ui.fileRequests[0].title, String("Load Image"));
  EXPECT_EQ(ui.fileRequests[0].type, FILESELECTTYPE_IMAGES);
  EXPECT_EQ(ui.fileRequests[0].mode, FILESELECT_LOAD);
  view().SelectImagePopup(0, 0, FALSE); // cancelled
  EXPECT_TRUE(isFilled(*view().imageB, {90, 80, 70}));
  EXPECT_TRUE(console.empty());
  view().SelectImagePopup(0, 0, FALSE);
  EXPECT_EQ(view().imageB->GetBw(), 0);
  EXPECT_EQ(console, (Names{"Lumenara Error: Invalid Image"}));
}

// From the thousandth picture on, two IDs collide with the popup's own entries.
TEST_F(HistoryPopupTest, TheNumberingStandsWhateverTheNumberOfPictures) {
  openEnabled(16, 12);
  for (LONG i = 0; i < 1003; ++i)
    touch(historyFolder() + Filename(String("p") + view().StrPad(i, 4) + ".tif"));
  ui.choices = {900999, 901000, 901001};
  ui.files = {Filename()};
  view().SelectImagePopup(0, 0, TRUE);
  const BaseContainer& popup = ui.popups[0].entries;
  EXPECT_EQ(popup.GetString(900999), String("p0999"));
  EXPECT_EQ(popup.GetString(901000), String("Load Image..."));
  EXPECT_EQ(popup.GetString(901002), String("p1002"));
  EXPECT_TRUE(console.empty()); // 900999 has no effect
  view().SelectImagePopup(0, 0, TRUE);
  EXPECT_EQ(ui.fileRequests.size(), 1u);
  view().SelectImagePopup(0, 0, TRUE); // an empty file
  EXPECT_EQ(console, (Names{"Lumenara Error: Invalid Image"}));
}

} // namespace
