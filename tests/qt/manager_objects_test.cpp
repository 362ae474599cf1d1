// The object manager and its model: rows follow the document, edits go into it.
#include <QHeaderView>
#include <QLineEdit>
#include <QMimeData>
#include <QSignalSpy>
#include <QTreeView>
#include <random>

#include "manager_kit.h"
#include "material_manager.h"
#include "object_manager.h"
#include "object_model.h"

using namespace host;

namespace {

class ManagerObjectsTest : public ManagerTest {
 public:
  // The model's rows as text: names, with two blanks a level.
  static std::string text(const ObjectModel& model, const QModelIndex& above = {}, int depth = 0) {
    std::string lines;
    for (int row = 0; row < model.rowCount(above); ++row) {
      const QModelIndex index = model.index(row, 0, above);
      lines += std::string(static_cast<std::size_t>(2 * depth), ' ') + index.data().toString().toStdString() +
               '\n';
      lines += text(model, index, depth + 1);
    }
    return lines;
  }
  std::string wanted() {
    std::string lines;
    for (const ObjectRow& row : objectRows(document()))
      lines += std::string(static_cast<std::size_t>(2 * row.depth), ' ') + row.name.GetUTF8() + '\n';
    return lines;
  }
  // A busy machine makes the manager take its time.
  static void follow(ObjectManager& manager) {
    settle();
    manager.refresh();
  }
  static void click(QTreeView& tree, const QModelIndex& index, Qt::KeyboardModifiers keys = {}) {
    QTest::mouseClick(tree.viewport(), Qt::LeftButton, keys, tree.visualRect(index).center());
    settle();
  }
};

TEST_F(ManagerObjectsTest, RowsAreTheTree) {
  ObjectModel model(*session);
  QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  model.refresh();
  EXPECT_EQ(text(model), "root\n  body\n    arm\nlamp\nspot\ncamera\n");
  EXPECT_EQ(model.shownCount(), 6);
  const QModelIndex arm = model.indexOf(id("arm"));
  EXPECT_EQ(model.identityOf(arm), id("arm"));
  EXPECT_EQ(model.identityOf(arm.parent()), id("body"));
  EXPECT_FALSE(arm.data(Qt::DecorationRole).value<QIcon>().isNull());
  EXPECT_FALSE(model.indexOf(Identity{0}).isValid());
}

TEST_F(ManagerObjectsTest, EditsMoveRowsWithoutAReset) {
  ObjectModel model(*session);
  QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  model.refresh();
  QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
  QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
  QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
  QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
  const QPersistentModelIndex lamp = model.indexOf(id("lamp"));

  edits().apply("Rename", [&](BaseDocument& in) { renameNode(in, id("arm"), "hand"); });
  model.refresh();
  EXPECT_EQ(changed.count(), 1);
  EXPECT_EQ(inserted.count() + removed.count(), 0) << "a name moves no rows";
  EXPECT_EQ(text(model), wanted());

  edits().apply("Move", [&](BaseDocument& in) { moveObjects(in, std::vector{id("hand")}, 0, id("spot")); });
  model.refresh();
  EXPECT_EQ(text(model), "root\n  body\nlamp\nspot\nhand\ncamera\n");
  EXPECT_EQ(inserted.count(), 1);
  EXPECT_EQ(removed.count(), 1);

  edits().apply("Group", [&](BaseDocument& in) { groupObjects(in, std::vector{id("body"), id("camera")}); });
  model.refresh();
  EXPECT_EQ(text(model), wanted());
  edits().apply("Delete", [&](BaseDocument& in) { deleteObjects(in, std::vector{id("root")}); });
  model.refresh();
  EXPECT_EQ(text(model), wanted());
  while (edits().undo())
    model.refresh();
  EXPECT_EQ(text(model), "root\n  body\n    arm\nlamp\nspot\ncamera\n");
  EXPECT_EQ(resets.count(), 0);
  EXPECT_EQ(model.identityOf(lamp), id("lamp")) << "rows that stay keep their places in views";
}

TEST_F(ManagerObjectsTest, RandomTreesAreFollowed) {
  ObjectModel model(*session);
  QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  std::mt19937 random(7);
  for (int round = 0; round < 150; ++round) {
    const std::vector<ObjectRow> rows = objectRows(document());
    const auto any = [&] { return rows[random() % rows.size()].identity; };
    edits().apply("Shuffle", [&](BaseDocument& in) {
      switch (random() % 5) {
      case 0:
        newObject(in, Onull);
        break;
      case 1:
        duplicateObjects(in, std::vector{any()});
        break;
      case 2:
        if (rows.size() > 3) deleteObjects(in, std::vector{any()});
        break;
      case 3:
        moveObjects(in, std::vector{any(), any()}, random() % 2 ? any() : 0, 0);
        break;
      default:
        groupObjects(in, std::vector{any(), any()});
      }
    });
    if (random() % 4 == 0) edits().undo();
    if (objectRows(document()).size() > 60) edits().undo();
    model.refresh();
    ASSERT_EQ(text(model), wanted()) << "round " << round;
  }
}

TEST_F(ManagerObjectsTest, SwitchesShowThatAnAncestorHidesThem) {
  ObjectModel model(*session);
  model.refresh();
  const QModelIndex root = model.indexOf(id("root"), ObjectModel::editorColumn);
  EXPECT_EQ(root.data(Qt::CheckStateRole).toInt(), Qt::Checked);
  const DocumentPtr before = copy();
  EXPECT_TRUE(model.setData(root, Qt::Unchecked, Qt::CheckStateRole));
  model.refresh();
  EXPECT_EQ(root.data(Qt::CheckStateRole).toInt(), Qt::Unchecked);
  const QModelIndex arm = model.indexOf(id("arm"), ObjectModel::editorColumn);
  EXPECT_EQ(arm.data(Qt::CheckStateRole).toInt(), Qt::Checked) << "its own switch";
  EXPECT_TRUE(arm.data(ObjectModel::hiddenRole).toBool());
  EXPECT_FALSE(model.indexOf(id("arm"), ObjectModel::renderColumn).data(ObjectModel::hiddenRole).toBool());
  EXPECT_FALSE(attribute("root", AttributeId::visibleEditor).GetBool());
  EXPECT_EQ(edits().undoName(), String("Hide Objects"));
  edits().undo();
  expectEqual(before);
}

TEST_F(ManagerObjectsTest, ASwitchOfTheSelectionSwitchesAllOfIt) {
  select({id("lamp"), id("spot")});
  ObjectModel model(*session);
  model.refresh();
  model.setData(model.indexOf(id("spot"), ObjectModel::renderColumn), Qt::Unchecked, Qt::CheckStateRole);
  EXPECT_FALSE(attribute("lamp", AttributeId::visibleRender).GetBool());
  EXPECT_FALSE(attribute("spot", AttributeId::visibleRender).GetBool());
  EXPECT_TRUE(attribute("camera", AttributeId::visibleRender).GetBool());
  EXPECT_EQ(edits().stepCount(), 1u);
}

TEST_F(ManagerObjectsTest, DraggedRowsMove) {
  ObjectModel model(*session);
  model.refresh();
  const std::unique_ptr<QMimeData> lights(
      model.mimeData({model.indexOf(id("lamp")), model.indexOf(id("spot"))}));
  ASSERT_TRUE(lights);
  const QModelIndex root = model.indexOf(id("root"));
  EXPECT_TRUE(model.dropMimeData(lights.get(), Qt::MoveAction, -1, -1, root));
  model.refresh();
  EXPECT_EQ(text(model), "root\n  body\n    arm\n  lamp\n  spot\ncamera\n") << "behind what is there";

  const std::unique_ptr<QMimeData> camera(model.mimeData({model.indexOf(id("camera"))}));
  EXPECT_TRUE(model.dropMimeData(camera.get(), Qt::MoveAction, 0, 0, {}));
  model.refresh();
  EXPECT_EQ(text(model), "camera\nroot\n  body\n    arm\n  lamp\n  spot\n");

  const std::unique_ptr<QMimeData> top(model.mimeData({model.indexOf(id("root"))}));
  EXPECT_FALSE(model.canDropMimeData(top.get(), Qt::MoveAction, -1, -1, model.indexOf(id("arm"))))
      << "nothing comes below itself";
  EXPECT_FALSE(model.dropMimeData(top.get(), Qt::MoveAction, 0, 0, model.indexOf(id("body"))));
  EXPECT_EQ(edits().stepCount(), 2u);
}

TEST_F(ManagerObjectsTest, MaterialsAreDroppedOnObjects) {
  ObjectModel model(*session);
  model.refresh();
  QMimeData dragged;
  dragged.setData(QLatin1String(materialMimeType), materialData(material("red")));
  const QModelIndex body = model.indexOf(id("body"));
  EXPECT_FALSE(model.canDropMimeData(&dragged, Qt::CopyAction, 1, 0, {})) << "between objects";
  ASSERT_TRUE(model.canDropMimeData(&dragged, Qt::CopyAction, -1, -1, body));
  EXPECT_TRUE(model.dropMimeData(&dragged, Qt::CopyAction, -1, -1, body));
  model.refresh();
  EXPECT_EQ(model.rowOf(model.indexOf(id("body")))->materials, std::vector{material("red")});
  dragged.setData(QLatin1String(materialMimeType), "1 5");
  EXPECT_FALSE(model.canDropMimeData(&dragged, Qt::CopyAction, -1, -1, body)) << "of another program";
}

TEST_F(ManagerObjectsTest, AClickSelectsAndASelectionShows) {
  ObjectManager manager(*session);
  manager.resize(280, 360);
  manager.show();
  settle();
  QTreeView& tree = manager.tree();
  click(tree, manager.model().indexOf(id("lamp")));
  EXPECT_EQ(selected(), std::vector<std::string>{"lamp"});
  click(tree, manager.model().indexOf(id("camera")), Qt::ShiftModifier);
  EXPECT_EQ(selected(), (std::vector<std::string>{"lamp", "spot", "camera"}));
  click(tree, manager.model().indexOf(id("spot")), Qt::ControlModifier);
  EXPECT_EQ(selected(), (std::vector<std::string>{"lamp", "camera"}));
  EXPECT_EQ(edits().stepCount(), 0u) << "selecting is not a step";

  select({id("arm")});
  follow(manager);
  const QModelIndexList rows = tree.selectionModel()->selectedRows();
  ASSERT_EQ(rows.size(), 1);
  EXPECT_EQ(manager.model().identityOf(rows[0]), id("arm"));
  select({});
  follow(manager);
  EXPECT_FALSE(tree.selectionModel()->hasSelection());
}

TEST_F(ManagerObjectsTest, APressOnTheEyeSwitchesAndSweeps) {
  ObjectManager manager(*session);
  manager.resize(280, 360);
  manager.show();
  settle();
  QTreeView& tree = manager.tree();
  select({id("camera")});
  const auto at = [&](const char* name) {
    return tree.visualRect(manager.model().indexOf(id(name), ObjectModel::editorColumn)).center();
  };
  QTest::mousePress(tree.viewport(), Qt::LeftButton, {}, at("lamp"));
  settle();
  EXPECT_FALSE(attribute("lamp", AttributeId::visibleEditor).GetBool()) << "at once";
  QTest::mouseMove(tree.viewport(), at("spot"));
  QMouseEvent move(QEvent::MouseMove, at("spot"), tree.viewport()->mapToGlobal(at("spot")), Qt::NoButton,
                   Qt::LeftButton, {});
  QApplication::sendEvent(tree.viewport(), &move);
  QTest::mouseRelease(tree.viewport(), Qt::LeftButton, {}, at("spot"));
  settle();
  EXPECT_FALSE(attribute("spot", AttributeId::visibleEditor).GetBool());
  EXPECT_EQ(edits().stepCount(), 1u) << "one sweep, one step";
  EXPECT_EQ(selected(), std::vector<std::string>{"camera"});
  edits().undo();
  EXPECT_TRUE(attribute("lamp", AttributeId::visibleEditor).GetBool());
  EXPECT_TRUE(attribute("spot", AttributeId::visibleEditor).GetBool());
}

TEST_F(ManagerObjectsTest, RenamesInPlace) {
  ObjectManager manager(*session);
  manager.resize(280, 360);
  manager.show();
  manager.activateWindow();
  settle();
  select({id("lamp")});
  follow(manager);
  QTest::keyClick(&manager.tree(), Qt::Key_F2);
  settle();
  auto* editor = manager.tree().viewport()->findChild<QLineEdit*>();
  ASSERT_TRUE(editor);
  editor->setText(QStringLiteral("key light"));
  QTest::keyClick(editor, Qt::Key_Return);
  follow(manager);
  EXPECT_TRUE(document().SearchObject("key light"));
  EXPECT_EQ(manager.model().indexOf(id("key light")).data().toString(), QStringLiteral("key light"));
  edits().undo();
  EXPECT_TRUE(document().SearchObject("lamp"));
}

TEST_F(ManagerObjectsTest, SearchKeepsAncestors) {
  ObjectManager manager(*session);
  manager.show();
  settle();
  manager.search().setText(QStringLiteral("AR"));
  EXPECT_EQ(text(manager.model()), "root\n  body\n    arm\n");
  EXPECT_TRUE(manager.tree().isExpanded(manager.model().indexOf(id("body"))));
  manager.search().setText(QStringLiteral("nothing like it"));
  EXPECT_EQ(manager.model().shownCount(), 0);
  EXPECT_FALSE(manager.tree().isVisible()) << "words instead of an empty list";
  QTest::keyClick(&manager.search(), Qt::Key_Escape);
  EXPECT_EQ(text(manager.model()), wanted());
  EXPECT_TRUE(manager.tree().isVisible());
}

TEST_F(ManagerObjectsTest, FoldingOutlivesEditsAndAReload) {
  ObjectManager manager(*session);
  manager.show();
  settle();
  EXPECT_TRUE(manager.tree().isExpanded(manager.model().indexOf(id("body")))) << "small scenes open unfolded";
  manager.tree().collapse(manager.model().indexOf(id("body")));
  edits().apply("Move", [&](BaseDocument& in) { moveObjects(in, std::vector{id("root")}, 0, id("camera")); });
  follow(manager);
  EXPECT_EQ(text(manager.model()), wanted());
  EXPECT_TRUE(manager.tree().isExpanded(manager.model().indexOf(id("root"))));
  EXPECT_FALSE(manager.tree().isExpanded(manager.model().indexOf(id("body"))));
  session->hub().replace(scene(), Replacement::reloaded);
  follow(manager);
  EXPECT_TRUE(manager.tree().isExpanded(manager.model().indexOf(id("root"))));
  EXPECT_FALSE(manager.tree().isExpanded(manager.model().indexOf(id("body"))));
}

TEST_F(ManagerObjectsTest, CommandsEditTheSelection) {
  ObjectManager manager(*session);
  manager.show();
  settle();
  select({id("lamp")});
  const DocumentPtr before = copy();
  manager.duplicateSelected();
  follow(manager);
  EXPECT_EQ(selected(), std::vector<std::string>{"lamp 2"});
  manager.groupSelected();
  follow(manager);
  EXPECT_EQ(text(manager.model()), "root\n  body\n    arm\nlamp\nGroup\n  lamp 2\nspot\ncamera\n");
  QTest::keyClick(&manager.tree(), Qt::Key_Delete);
  follow(manager);
  EXPECT_EQ(text(manager.model()), "root\n  body\n    arm\nlamp\nspot\ncamera\n");
  EXPECT_EQ(edits().stepCount(), 3u);
  for (int i = 0; i < 3; ++i)
    edits().undo();
  expectEqual(before);
}

TEST_F(ManagerObjectsTest, AnEmptyDocumentHasWords) {
  ObjectManager manager(*session);
  manager.show();
  settle();
  EXPECT_TRUE(manager.tree().isVisible());
  session->hub().replace(newDocument(), Replacement::created);
  follow(manager);
  EXPECT_FALSE(manager.tree().isVisible());
  keepPicture(manager, QStringLiteral("objects-empty"));
}

TEST_F(ManagerObjectsTest, ManyObjectsStayQuick) {
  DocumentPtr large = newDocument();
  for (int i = 0; i < 100000; ++i) {
    ObjectState* object = makeObject(Onull);
    object->name = String("object " + std::to_string(i));
    stateOf(large.get())->children.append(*object);
  }
  session->hub().replace(std::move(large), Replacement::opened);
  ObjectManager manager(*session);
  manager.show();
  settle();
  QSignalSpy resets(&manager.model(), &QAbstractItemModel::modelReset);
  QSignalSpy changed(&manager.model(), &QAbstractItemModel::dataChanged);
  QElapsedTimer timer;
  timer.start();
  constexpr int rounds = 5;
  for (int i = 0; i < rounds; ++i) {
    edits().apply("Rename", [&](BaseDocument& in) {
      renameNode(in, manager.model().rows()[50000].identity, String("name " + std::to_string(i)));
    });
    manager.refresh();
  }
  EXPECT_EQ(changed.count(), rounds) << "one row each";
  EXPECT_EQ(resets.count(), 0);
  // Generous: it is about a change of kind, not about this machine.
  EXPECT_LT(timer.elapsed() / rounds, 1500);
  std::printf("a rename among 100000 objects: %lld ms\n", static_cast<long long>(timer.elapsed() / rounds));
}

TEST_F(ManagerObjectsTest, Looks) {
  ObjectManager manager(*session);
  manager.resize(260, 300);
  manager.show();
  select({id("arm"), id("lamp")});
  edits().apply("Hide", [&](BaseDocument& in) {
    setAttribute(in, std::vector{id("body")}, AttributeId::visibleEditor, GeData::FromBool(FALSE));
  });
  settle();
  EXPECT_LE(manager.tree().header()->length(), manager.tree().viewport()->width()) << "nothing is cut off";
  const QModelIndex eye = manager.model().indexOf(id("arm"), ObjectModel::renderColumn);
  EXPECT_TRUE(manager.tree().viewport()->rect().contains(manager.tree().visualRect(eye)));
  keepPicture(manager, QStringLiteral("objects"));
}

} // namespace
