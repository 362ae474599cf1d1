// The browser of the library of materials.
#include "library_window.h"

#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QPushButton>

#include "library_model.h"
#include "manager_kit.h"
#include "material_manager.h"
#include "object_model.h"

using namespace host;

namespace {

class LibraryWindowTest : public ManagerTest {
 public:
  LibraryWindowTest() {
    window = std::make_unique<LibraryWindow>(*session, nullptr);
    window->show();
    window->activateWindow();
    session->materialLibrary().finish();
    settle();
  }
  ~LibraryWindowTest() override { window.reset(); }

  QAbstractItemModel& rows() { return *window->list().model(); }
  QModelIndex row(const QString& name) {
    for (int i = 0; i < rows().rowCount(); ++i)
      if (rows().index(i, 0).data().toString() == name) return rows().index(i, 0);
    throw std::runtime_error("no row " + name.toStdString());
  }
  void doubleClick(const QString& name) {
    const QModelIndex index = row(name);
    window->list().scrollTo(index);
    const QPoint at = window->list().visualRect(index).center();
    QTest::mouseClick(window->list().viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(window->list().viewport(), Qt::LeftButton, {}, at);
    settle();
  }
  std::unique_ptr<LibraryWindow> window;
};

TEST_F(LibraryWindowTest, SearchesAndShowsGroups) {
  EXPECT_GE(rows().rowCount(), 30);
  const int all = rows().rowCount();
  auto* search = window->findChild<QLineEdit*>("librarySearch");
  QTest::keyClicks(search, "car paint");
  EXPECT_EQ(rows().rowCount(), 2);
  search->clear();
  auto* groups = window->findChild<QComboBox*>("libraryGroups");
  groups->setCurrentText("Glass");
  emit groups->activated(groups->currentIndex());
  EXPECT_LT(rows().rowCount(), 10);
  EXPECT_GT(rows().rowCount(), 2);
  QTest::keyClicks(search, "no such thing");
  EXPECT_EQ(rows().rowCount(), 0);
  EXPECT_NE(window->findChild<QLabel*>("libraryState")->text(), "");
  search->clear();
  groups->setCurrentIndex(0);
  emit groups->activated(0);
  EXPECT_EQ(rows().rowCount(), all);
}

TEST_F(LibraryWindowTest, ADoubleClickTakesItOntoTheSelection) {
  select({id("body")});
  doubleClick("Chrome");
  const Identity chrome = material("Chrome");
  for (const ObjectRow& object : objectRows(document()))
    if (object.name == String("body")) {
      EXPECT_EQ(object.materials, std::vector{chrome});
    }
  EXPECT_EQ(edits().stepCount(), 1u);
  edits().undo();
  settle();
  EXPECT_EQ(document().SearchMaterial("Chrome"), nullptr);
}

TEST_F(LibraryWindowTest, ADragOntoAnObjectBringsIt) {
  ObjectModel objects(*session);
  objects.refresh();
  const std::unique_ptr<QMimeData> data(rows().mimeData({row("Wax")}));
  ASSERT_TRUE(data);
  EXPECT_TRUE(objects.dropMimeData(data.get(), Qt::CopyAction, -1, -1, objects.indexOf(id("arm"))));
  settle();
  const Identity wax = material("Wax");
  for (const ObjectRow& object : objectRows(document()))
    if (object.name == String("arm")) {
      EXPECT_EQ(object.materials, std::vector{wax});
    }
  EXPECT_EQ(edits().stepCount(), 1u);
}

TEST_F(LibraryWindowTest, KeepsTheSelectedMaterial) {
  auto* keep = window->findChild<QPushButton*>("libraryKeep");
  EXPECT_FALSE(keep->isEnabled());
  edits().apply("Select", [&](BaseDocument& in) { selectMaterial(in, material("red")); });
  settle();
  EXPECT_TRUE(keep->isEnabled());
  keep->click();
  session->materialLibrary().finish();
  settle();
  auto* remove = window->findChild<QPushButton*>("libraryDelete");
  window->list().setCurrentIndex(row("Chrome"));
  EXPECT_FALSE(remove->isEnabled()) << "the program's stay";
  window->list().setCurrentIndex(row("red"));
  EXPECT_TRUE(remove->isEnabled());
  const int before = rows().rowCount();
  whenModal([](QWidget& box) { box.findChild<QPushButton*>("answer-0")->click(); });
  remove->click();
  settle();
  EXPECT_EQ(rows().rowCount(), before - 1);
}

TEST_F(LibraryWindowTest, MaterialsAreCopiedAsText) {
  MaterialManager manager(*session);
  manager.show();
  manager.activateWindow();
  settle();
  edits().apply("Select", [&](BaseDocument& in) { selectMaterial(in, material("blue")); });
  settle();
  QTest::keySequence(&manager.list(), QKeySequence::Copy);
  EXPECT_TRUE(QGuiApplication::clipboard()->text().contains("\"materials\""));
  QTest::keySequence(&manager.list(), QKeySequence::Paste);
  settle();
  EXPECT_TRUE(document().SearchMaterial("blue 2"));
  QGuiApplication::clipboard()->setText("something else");
  bool told = false;
  whenModal([&told](QWidget& box) {
    told = true;
    box.close();
  });
  QTest::keySequence(&manager.list(), QKeySequence::Paste);
  settle();
  EXPECT_TRUE(told);
}

} // namespace
