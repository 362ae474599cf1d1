// The material manager: rows, thumbnails, selection, drags and commands.
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QSignalSpy>

#include "manager_kit.h"
#include "material_manager.h"
#include "material_manager_model.h"

using namespace host;

namespace {

class ManagerMaterialsTest : public ManagerTest {
 public:
  ManagerMaterialsTest() {
    manager = std::make_unique<MaterialManager>(*session);
    manager->resize(280, 240);
    manager->show();
    manager->activateWindow();
    settle();
  }
  ~ManagerMaterialsTest() override { manager.reset(); }

  std::unique_ptr<MaterialManager> manager;

  std::string names() {
    std::string text;
    const MaterialModel& model = manager->model();
    for (int row = 0; row < model.rowCount(); ++row)
      text += model.index(row).data().toString().toStdString() + ' ';
    return text;
  }
  void click(const char* name) {
    const QRect place = manager->list().visualRect(manager->model().indexOf(material(name)));
    QTest::mouseClick(manager->list().viewport(), Qt::LeftButton, {}, place.center());
    settle();
  }
};

TEST_F(ManagerMaterialsTest, RowsFollowTheDocument) {
  QAbstractItemModelTester tester(&manager->model(), QAbstractItemModelTester::FailureReportingMode::Fatal);
  QSignalSpy resets(&manager->model(), &QAbstractItemModel::modelReset);
  EXPECT_EQ(names(), "red blue ");
  manager->createMaterial();
  settle();
  EXPECT_EQ(names(), "red blue Material ");
  edits().apply("Move", [&](BaseDocument& in) { moveMaterial(in, material("Material"), 0); });
  settle();
  EXPECT_EQ(names(), "Material red blue ");
  edits().apply("Rename", [&](BaseDocument& in) { renameNode(in, material("red"), "rust"); });
  edits().apply("Delete", [&](BaseDocument& in) { deleteMaterial(in, material("Material")); });
  settle();
  EXPECT_EQ(names(), "rust blue ");
  while (edits().undo())
    settle();
  settle();
  EXPECT_EQ(names(), "red blue ");
  EXPECT_EQ(resets.count(), 0);
}

TEST_F(ManagerMaterialsTest, AClickSelectsAndASelectionShows) {
  click("blue");
  EXPECT_EQ(selectedMaterial(document()), material("blue"));
  EXPECT_EQ(edits().stepCount(), 0u);
  edits().apply("Select", [&](BaseDocument& in) { selectMaterial(in, material("red")); });
  settle();
  EXPECT_TRUE(manager->list().selectionModel()->isSelected(manager->model().indexOf(material("red"))));
  EXPECT_FALSE(manager->list().selectionModel()->isSelected(manager->model().indexOf(material("blue"))));
}

TEST_F(ManagerMaterialsTest, DragsNameTheMaterial) {
  const std::unique_ptr<QMimeData> data(
      manager->model().mimeData({manager->model().indexOf(material("blue"))}));
  ASSERT_TRUE(data && data->hasFormat(QLatin1String(materialMimeType)));
  EXPECT_EQ(materialOf(data->data(QLatin1String(materialMimeType))), material("blue"));
  EXPECT_EQ(materialOf({}), 0u);
  EXPECT_EQ(materialOf("12"), 0u);
  EXPECT_EQ(materialOf("0 12"), 0u) << "of another program";
  EXPECT_EQ(materialOf(materialData(12) + " 3"), 0u);
}

TEST_F(ManagerMaterialsTest, CommandsAreEdits) {
  click("red");
  select({id("body"), id("arm")});
  const DocumentPtr before = copy();
  manager->assignToSelection();
  settle();
  EXPECT_EQ(manager->model().rows()[0].users, 2);
  select({id("lamp")});
  manager->selectUsers();
  EXPECT_EQ(selected(), (std::vector<std::string>{"body", "arm"}));
  manager->duplicateSelected();
  settle();
  EXPECT_EQ(names(), "red red 2 blue ");
  manager->deleteSelected();
  settle();
  EXPECT_EQ(names(), "red blue ");
  click("red");
  QTest::keyClick(&manager->list(), Qt::Key_Delete);
  settle();
  EXPECT_EQ(names(), "blue ");
  EXPECT_TRUE(objectRows(document())[1].materials.empty()) << "nothing shows what is gone";
  while (edits().undo())
    ;
  expectEqual(before);
}

TEST_F(ManagerMaterialsTest, RenamesInPlace) {
  click("blue");
  QTest::keyClick(&manager->list(), Qt::Key_F2);
  settle();
  auto* editor = manager->list().viewport()->findChild<QLineEdit*>();
  ASSERT_TRUE(editor);
  editor->setText(QStringLiteral("sea"));
  QTest::keyClick(editor, Qt::Key_Return);
  settle();
  EXPECT_EQ(names(), "red sea ");
  EXPECT_EQ(edits().undoName(), String("Rename Material"));
}

TEST_F(ManagerMaterialsTest, ThumbnailsComeAndFollowTheirMaterial) {
  edits().apply("Colour", [&](BaseDocument& in) {
    setAttribute(in, std::vector{material("red")}, AttributeId::materialColor,
                 GeData(Vector(0.8, 0.02, 0.02)));
    setAttribute(in, std::vector{material("blue")}, AttributeId::materialColor,
                 GeData(Vector(0.02, 0.02, 0.8)));
  });
  session->previews().setEnabled(true);
  const auto middle = [&](const char* name) {
    const QVariant picture = manager->model().indexOf(material(name)).data(Qt::DecorationRole);
    return picture.value<QPixmap>().toImage().pixelColor(32, 36);
  };
  settle();
  const auto isRed = [&] { return middle("red").red() > middle("red").blue() + 40; };
  EXPECT_TRUE(waitFor(isRed, 60000));
  EXPECT_TRUE(waitFor([&] { return middle("blue").blue() > middle("blue").red() + 40; }, 60000));
  keepPicture(*manager, QStringLiteral("materials"));
  edits().apply("Colour", [&](BaseDocument& in) {
    setAttribute(in, std::vector{material("red")}, AttributeId::materialColor,
                 GeData(Vector(0.02, 0.8, 0.02)));
  });
  EXPECT_TRUE(waitFor([&] { return middle("red").green() > middle("red").red() + 40; }, 60000));
}

TEST_F(ManagerMaterialsTest, ANewSceneHasNoThumbnailOfTheOldOne) {
  session->previews().setEnabled(true);
  const auto picture = [&] {
    return manager->model().index(0).data(Qt::DecorationRole).value<QPixmap>().toImage();
  };
  const QImage waiting = picture();
  ASSERT_TRUE(waitFor([&] { return picture() != waiting; }, 60000));
  session->previews().setEnabled(false);
  session->hub().replace(scene(), Replacement::opened);
  settle();
  EXPECT_EQ(picture(), waiting);
}

TEST_F(ManagerMaterialsTest, AnEmptyDocumentHasWords) {
  EXPECT_TRUE(manager->list().isVisible());
  session->hub().replace(newDocument(), Replacement::created);
  settle();
  EXPECT_FALSE(manager->list().isVisible());
  keepPicture(*manager, QStringLiteral("materials-empty"));
}

} // namespace
