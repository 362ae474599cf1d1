// The managers together: the attributes show what was clicked last.
#include <QListView>
#include <QTreeView>

#include "attribute_manager.h"
#include "editor_view_widget.h"
#include "main_kit.h"
#include "scene_edits.h"
#include "scene_queries.h"

namespace {

using host::AttributeId;

class MainManagers : public StudioTest {
 protected:
  MainManagers() {
    startStudio();
    openScene(smallScene());
  }
  template <class View>
  View& view(const char* name) {
    return *window().findChild<View*>(QLatin1String(name));
  }
  host::AttributeManager& attributes() { return *window().findChild<host::AttributeManager*>(); }
  bool showsMaterial() { return attributes().field(AttributeId::materialRoughness) != nullptr; }
  void click(QAbstractItemView& list, const QModelIndex& index) {
    list.scrollTo(index);
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualRect(index).center());
    settle();
  }
};

TEST_F(MainManagers, AClickOnASelectedNodeShowsItsAttributes) {
  auto& materials = view<QListView>("materialList");
  auto& objects = view<QTreeView>("objectTree");
  const QModelIndex material = materials.model()->index(0, 0), object = objects.model()->index(0, 0);
  click(materials, material);
  EXPECT_TRUE(showsMaterial());
  click(objects, object);
  EXPECT_FALSE(showsMaterial());
  click(materials, material);
  EXPECT_TRUE(showsMaterial()) << "the material that was selected before";
  EXPECT_EQ(attributes().nodes(), std::vector{host::selectedMaterial(document())});
  click(objects, object);
  EXPECT_FALSE(showsMaterial()) << "the object that was selected before";
  EXPECT_EQ(attributes().nodes(), host::selectedObjects(document()));
  EXPECT_EQ(session().edits().stepCount(), 0u) << "looking is not an edit";
}

TEST_F(MainManagers, AClickInTheViewShowsTheObjectAgain) {
  host::EditorViewWidget& editor = window().viewWidget();
  choose("edit.select-all");
  choose("view.frame-selected");
  choose("edit.select-none");
  QPoint at;
  for (int x = 20; x < editor.width() && at.isNull(); x += 8)
    for (int y = 20; y < editor.height() && at.isNull(); y += 8) {
      QTest::mouseClick(&editor, Qt::LeftButton, {}, {x, y});
      if (!host::selectedObjects(document()).empty()) at = {x, y};
    }
  ASSERT_FALSE(at.isNull()) << "nothing to click at";
  settle();
  click(view<QListView>("materialList"), view<QListView>("materialList").model()->index(0, 0));
  ASSERT_TRUE(showsMaterial());
  QTest::mouseClick(&editor, Qt::LeftButton, {}, at);
  settle();
  EXPECT_FALSE(showsMaterial());
  EXPECT_EQ(attributes().nodes(), host::selectedObjects(document()));
}

} // namespace
