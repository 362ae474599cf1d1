// The table of lights: rows follow the scene, edits in cells reach it, and the selection is the scene's.
#include "light_table.h"

#include <QComboBox>
#include <QLabel>
#include <QSortFilterProxyModel>
#include <QTreeView>

#include "color_picker.h"
#include "color_plane.h"
#include "manager_kit.h"
#include "number_field.h"

using namespace host;

namespace {

class LightTableTest : public ManagerTest {
 public:
  LightTableTest() {
    table = std::make_unique<LightTable>(*session, nullptr);
    table->show();
    table->activateWindow();
    settle();
  }
  ~LightTableTest() override { table.reset(); }

  QModelIndex cell(const char* light, LightColumn column) {
    const int row = table->model().rowOf(id(light));
    if (row < 0) throw std::runtime_error("no such light");
    const auto* sorted = dynamic_cast<QSortFilterProxyModel*>(table->view().model());
    return sorted->mapFromSource(table->model().index(row, static_cast<int>(column)));
  }
  QString text(const char* light, LightColumn column) { return cell(light, column).data().toString(); }
  void doubleClick(const QModelIndex& index) {
    const QPoint at = table->view().visualRect(index).center();
    QTest::mouseClick(table->view().viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(table->view().viewport(), Qt::LeftButton, {}, at);
    settle();
  }
  template <class Editor>
  Editor& editor() {
    auto* found = table->view().viewport()->findChild<Editor*>();
    if (!found) throw std::runtime_error("no editor");
    return *found;
  }
  void typeNumber(const QModelIndex& index, const char* typed) {
    doubleClick(index);
    auto& number = editor<NumberField>();
    number.setFocus();
    number.selectAll();
    QTest::keyClicks(&number, QLatin1String(typed));
    QTest::keyClick(&number, Qt::Key_Return);
    settle();
  }
  std::unique_ptr<LightTable> table;
};

TEST_F(LightTableTest, ShowsEveryLightWithItsUnits) {
  EXPECT_EQ(table->view().model()->rowCount(), 2);
  edits().apply("Set", [&](BaseDocument& in) {
    setAttribute(in, std::array{id("lamp")}, AttributeId::lightIntensity, GeData(Real(12.5)));
    setAttribute(in, std::array{id("spot")}, AttributeId::lightTemperature, GeData(Real(3200)));
  });
  settle();
  EXPECT_EQ(text("lamp", LightColumn::name), "lamp");
  EXPECT_EQ(text("lamp", LightColumn::intensity), QLocale().toString(12.5) + " cd");
  EXPECT_EQ(text("spot", LightColumn::temperature), QLocale().toString(3200) + " K");
  EXPECT_EQ(text("spot", LightColumn::kind), "Spot");
  EXPECT_EQ(text("lamp", LightColumn::height), "") << "a point has no height";
}

TEST_F(LightTableTest, ANumberIsOneStepForAllSelectedLights) {
  select({id("lamp"), id("spot")});
  settle();
  const std::size_t before = edits().stepCount();
  typeNumber(cell("lamp", LightColumn::intensity), "40");
  for (const char* light : {"lamp", "spot"})
    EXPECT_EQ(attributeValue(document(), id(light), AttributeId::lightIntensity).GetReal(), 40) << light;
  EXPECT_EQ(edits().stepCount(), before + 1);
  select({id("spot")});
  settle();
  typeNumber(cell("lamp", LightColumn::intensity), "3");
  EXPECT_EQ(attributeValue(document(), id("lamp"), AttributeId::lightIntensity).GetReal(), 3);
  EXPECT_EQ(attributeValue(document(), id("spot"), AttributeId::lightIntensity).GetReal(), 40)
      << "the click has selected the lamp alone";
}

TEST_F(LightTableTest, NamesKindsAndSwitches) {
  table->model().setData(table->model().index(table->model().rowOf(id("lamp")), 0), "Key", Qt::EditRole);
  settle();
  EXPECT_EQ(document().SearchObject("Key")->GetIdentity(), table->model().rows()[0].identity);
  const Identity key = document().SearchObject("Key")->GetIdentity();
  EXPECT_FALSE(table->model().setData(table->model().index(0, 0), "  ", Qt::EditRole)) << "an empty name";
  const QModelIndex kind = table->view().model()->index(0, static_cast<int>(LightColumn::kind));
  doubleClick(kind);
  auto& combo = editor<QComboBox>();
  combo.setCurrentIndex(3);
  emit combo.activated(3);
  settle();
  EXPECT_EQ(attributeValue(document(), key, AttributeId::lightKind).GetLong(), 3);
  EXPECT_NE(table->view().model()->index(0, static_cast<int>(LightColumn::height)).data().toString(), "");
  const QModelIndex mute = table->view().model()->index(0, static_cast<int>(LightColumn::mute));
  QStyleOptionViewItem option;
  option.rect = table->view().visualRect(mute);
  option.features = QStyleOptionViewItem::HasCheckIndicator;
  option.widget = &table->view();
  const QRect box =
      table->view().style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, &table->view());
  QTest::mouseClick(table->view().viewport(), Qt::LeftButton, {}, box.center());
  settle();
  EXPECT_NE(attributeValue(document(), key, AttributeId::lightMuted).GetBool(), FALSE);
  EXPECT_TRUE(table->model().rows()[0].silent);
  EXPECT_EQ(table->findChild<QLabel*>("lightState")->text(), "2 lights, 1 of them off");
}

TEST_F(LightTableTest, ColoursArePickedLive) {
  const std::size_t before = edits().stepCount();
  doubleClick(cell("spot", LightColumn::color));
  auto* picker = table->findChild<ColorPicker*>(QStringLiteral("colorPicker"));
  ASSERT_TRUE(picker);
  EXPECT_EQ(picker->windowTitle(), "spot");
  auto* plane = picker->findChild<SaturationPlane*>();
  QTest::mousePress(plane, Qt::LeftButton, {}, QPoint(plane->width() - 1, 0));
  settle();
  EXPECT_EQ(attributeValue(document(), id("spot"), AttributeId::lightColor).GetVector(), Vector(1, 0, 0));
  QTest::mouseMove(plane, QPoint(plane->width() - 1, plane->height() / 2));
  QTest::mouseRelease(plane, Qt::LeftButton, {}, QPoint(plane->width() - 1, plane->height() / 2));
  settle();
  EXPECT_EQ(edits().stepCount(), before + 1);
  edits().undo();
  settle();
  EXPECT_EQ(picker->color(), Vector(1, 1, 1)) << "it follows the scene";
}

TEST_F(LightTableTest, TheSelectionIsTheScenes) {
  select({id("lamp")});
  settle();
  EXPECT_TRUE(table->view().selectionModel()->isSelected(cell("lamp", LightColumn::name)));
  QTest::mouseClick(table->view().viewport(), Qt::LeftButton, {},
                    table->view().visualRect(cell("spot", LightColumn::name)).center());
  EXPECT_EQ(selectedObjects(document()), Identities{id("spot")});
  QTest::mouseClick(table->view().viewport(), Qt::LeftButton, Qt::ControlModifier,
                    table->view().visualRect(cell("lamp", LightColumn::name)).center());
  EXPECT_EQ(selectedObjects(document()).size(), 2u);
}

TEST_F(LightTableTest, SortsByValueAndForgetsGoneLights) {
  edits().apply("Set", [&](BaseDocument& in) {
    setAttribute(in, std::array{id("lamp")}, AttributeId::lightIntensity, GeData(Real(100)));
    setAttribute(in, std::array{id("spot")}, AttributeId::lightIntensity, GeData(Real(20)));
  });
  settle();
  table->view().sortByColumn(static_cast<int>(LightColumn::intensity), Qt::AscendingOrder);
  EXPECT_LT(cell("spot", LightColumn::name).row(), cell("lamp", LightColumn::name).row()) << "20 before 100";
  edits().apply("Delete", [&](BaseDocument& in) { deleteObjects(in, std::array{id("lamp"), id("spot")}); });
  settle();
  EXPECT_EQ(table->view().model()->rowCount(), 0);
  EXPECT_NE(table->findChild<QLabel*>("lightState")->text(), "");
}

} // namespace
