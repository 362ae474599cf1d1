// The search for commands: scores, rows, the popup.
#include <QLineEdit>
#include <QMenuBar>
#include <QTreeWidget>

#include "command_palette.h"
#include "fuzzy_match.h"
#include "main_kit.h"
#include "theme.h"

namespace {

TEST(FuzzyMatch, LettersInOrderFit) {
  EXPECT_EQ(host::fuzzyScore("", "Frame All"), 0);
  EXPECT_GE(host::fuzzyScore("fal", "Frame All"), 0);
  EXPECT_GE(host::fuzzyScore("ALL frame", "Frame All"), 0) << "words in any order";
  EXPECT_EQ(host::fuzzyScore("lla", "Frame All"), -1);
  EXPECT_EQ(host::fuzzyScore("framex", "Frame All"), -1);
  EXPECT_EQ(host::fuzzyScore("a", ""), -1);
}

TEST(FuzzyMatch, StartsOfWordsAndRunsScoreMore) {
  EXPECT_GT(host::fuzzyScore("fa", "Frame All"), host::fuzzyScore("fa", "Refactor"));
  EXPECT_GT(host::fuzzyScore("save", "Save"), host::fuzzyScore("save", "Scale View Here"));
  EXPECT_GT(host::fuzzyScore("re", "Render"), host::fuzzyScore("re", "Rotate"));
  // The later place is the better one.
  EXPECT_EQ(host::fuzzyScore("all", "Fall All"), host::fuzzyScore("all", "Gone All"));
}

class Palette : public StudioTest {
 protected:
  Palette() {
    startStudio();
    window().show();
  }
  host::CommandPalette* open() {
    choose("help.search");
    return window().findChild<host::CommandPalette*>();
  }
  static QTreeWidget& list(host::CommandPalette& palette) { return *palette.findChild<QTreeWidget*>(); }
  static QLineEdit& search(host::CommandPalette& palette) { return *palette.findChild<QLineEdit*>(); }
  static QStringList texts(host::CommandPalette& palette) {
    QStringList all;
    for (int i = 0; i < list(palette).topLevelItemCount(); ++i)
      all << list(palette).topLevelItem(i)->text(0);
    return all;
  }
  bool gone() {
    settle(); // runs what was chosen, deletes it
    return window().findChild<host::CommandPalette*>() == nullptr;
  }
};

TEST_F(Palette, ListsEveryCommandOfTheMenus) {
  host::CommandPalette* palette = open();
  ASSERT_NE(palette, nullptr);
  const QStringList all = texts(*palette);
  for (const host::Command& command : window().commands().commands()) {
    const QString text = action(command.id.toLatin1())->text().remove(QLatin1Char('&'));
    EXPECT_TRUE(all.contains(text)) << command.id.toStdString();
  }
  EXPECT_TRUE(all.contains("Console")) << "menus that are filled when they open";
  palette->close();
  EXPECT_TRUE(gone());
}

TEST_F(Palette, ShowsPathAndKey) {
  host::CommandPalette* palette = open();
  ASSERT_NE(palette, nullptr);
  QTest::keyClicks(&search(*palette), "ever 5 min");
  ASSERT_GE(list(*palette).topLevelItemCount(), 1);
  EXPECT_EQ(list(*palette).topLevelItem(0)->text(0), "Every 5 Minutes");
  EXPECT_EQ(list(*palette).topLevelItem(0)->text(1), "File > Autosave");
  search(*palette).clear();
  QTest::keyClicks(&search(*palette), "fra all");
  EXPECT_EQ(list(*palette).topLevelItem(0)->text(0), "Frame All");
  EXPECT_EQ(list(*palette).topLevelItem(0)->text(2), "H");
  palette->close();
}

TEST_F(Palette, EnterRunsAfterThePopupHasClosed) {
  host::CommandPalette* palette = open();
  ASSERT_NE(palette, nullptr);
  QTest::keyClicks(&search(*palette), "auto 10 min");
  EXPECT_FALSE(action("file.autosave-10")->isChecked());
  QTest::keyClick(&search(*palette), Qt::Key_Return);
  EXPECT_TRUE(waitFor([&] { return action("file.autosave-10")->isChecked(); }));
  EXPECT_EQ(session().autosave().period(), 600'000);
  EXPECT_TRUE(gone());
}

TEST_F(Palette, ArrowsChooseAndEscapeCloses) {
  host::CommandPalette* palette = open();
  ASSERT_NE(palette, nullptr);
  QTest::keyClick(&search(*palette), Qt::Key_Up);
  EXPECT_EQ(list(*palette).indexOfTopLevelItem(list(*palette).currentItem()), 0);
  QTest::keyClick(&search(*palette), Qt::Key_Down);
  QTest::keyClick(&search(*palette), Qt::Key_Down);
  EXPECT_EQ(list(*palette).indexOfTopLevelItem(list(*palette).currentItem()), 2);
  QTest::keyClicks(&search(*palette), "qqqq");
  EXPECT_EQ(list(*palette).topLevelItemCount(), 0);
  QTest::keyClick(&search(*palette), Qt::Key_Return);
  EXPECT_TRUE(palette->isVisible()) << "nothing to run";
  QTest::keyClick(&search(*palette), Qt::Key_Escape);
  EXPECT_TRUE(gone());
}

TEST_F(Palette, DisabledCommandsAreGreyAndDoNotRun) {
  host::CommandPalette* palette = open();
  ASSERT_NE(palette, nullptr);
  QTest::keyClicks(&search(*palette), "stop rend");
  QTreeWidgetItem* item = list(*palette).topLevelItem(0);
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->text(0), "Stop Rendering");
  EXPECT_EQ(item->foreground(0).color(), host::tokens().disabled);
  QTest::keyClick(&search(*palette), Qt::Key_Return);
  EXPECT_TRUE(palette->isVisible());
  palette->close();
}

} // namespace
