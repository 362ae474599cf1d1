// A dialog with every kind of gadget, driven through its widgets.
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QStandardItemModel>

#include "area_widget.h"
#include "color_field.h"
#include "color_picker.h"
#include "color_plane.h"
#include "dialog_window.h"
#include "gadget.h"
#include "gadget_actions.h"
#include "gadget_dialog.h"
#include "gadget_widgets.h"
#include "number_field.h"
#include "qt_fixture.h"
#include "theme.h"

namespace {

using Calls = std::vector<std::string>;
using host::NumberField;
using host::SliderField;

constexpr LONG idButton = 1001, idText = 1002, idEdit = 1003, idNumber = 1004, idArrows = 1005,
               idPercent = 1006, idSlider = 1007, idCheck = 1008, idCombo = 1009, idColor = 1010,
               idArea = 1011, idScroll = 1012, idMeter = 1013, idGroup = 1014;
constexpr LONG menuOne = 2001, menuTwo = 2002, menuDeep = 2003;
constexpr LONG pluginId = 77;

class DialogWidgets : public QtFixture {
 public:
  DialogWidgets() {
    startDesktop();
    dialog.layout = [this] { everyGadget(); };
    dialog.values = [this] {
      dialog.SetString(idEdit, "words");
      dialog.SetLong(idNumber, 5, 0, 100);
      dialog.SetReal(idArrows, 1.5, 0, 10, 0.5);
      dialog.SetPercent(idPercent, 0.25);
      dialog.SetReal(idSlider, 0, -1, 1, 0.01);
      dialog.SetMeter(idMeter, 2);
      dialog.SetLong(idCombo, 20);
      dialog.SetColorField(idColor, Vector(1, 0.5, 0));
    };
  }
  ~DialogWidgets() override { dialog.Close(); }

  void everyGadget() {
    dialog.SetTitle("Everything");
    dialog.GroupBegin(idGroup, BFH_SCALEFIT | BFV_SCALEFIT, 2, 0, "Group", 0);
    dialog.GroupBorder(BORDER_GROUP_IN);
    dialog.GroupBorderSpace(6, 5, 4, 3);
    dialog.GroupSpace(8, 4);
    dialog.AddStaticText(idText, BFH_LEFT, 0, 0, "A & B", BORDER_NONE);
    dialog.AddButton(idButton, BFH_LEFT, 0, 0, "&Press");
    dialog.AddEditText(idEdit, BFH_SCALEFIT, 120);
    dialog.AddEditNumber(idNumber, BFH_LEFT);
    dialog.AddEditNumberArrows(idArrows, BFH_LEFT);
    dialog.AddEditNumberArrows(idPercent, BFH_LEFT);
    dialog.AddEditSlider(idSlider, BFH_SCALEFIT);
    dialog.AddEditNumber(idMeter, BFH_LEFT);
    dialog.AddCheckbox(idCheck, BFH_LEFT, 0, 0, "Check");
    dialog.AddComboBox(idCombo, BFH_LEFT);
    dialog.AddChild(idCombo, 10, "Ten");
    dialog.AddChild(idCombo, -1, "");
    dialog.AddChild(idCombo, -1, "Heading");
    dialog.AddChild(idCombo, 20, "Twenty");
    dialog.AddColorField(idColor, BFH_LEFT);
    dialog.AddSeparatorH();
    dialog.ScrollGroupBegin(idScroll, BFH_SCALEFIT | BFV_SCALEFIT, SCROLLGROUP_VERT | SCROLLGROUP_HORIZ);
    dialog.AddUserArea(idArea, BFH_CENTER | BFV_CENTER);
    dialog.AttachUserArea(area, idArea);
    dialog.GroupEnd();
    dialog.GroupEnd();
    dialog.MenuFlushAll();
    dialog.MenuSubBegin("First");
    dialog.MenuAddString(menuOne, "One");
    dialog.MenuAddSeparator();
    dialog.MenuAddString(menuTwo, "Two");
    dialog.MenuSubBegin("More");
    dialog.MenuAddString(menuDeep, "Deep");
    dialog.MenuSubEnd();
    dialog.MenuSubEnd();
    dialog.MenuFinished();
    dialog.MenuInitString(menuTwo, FALSE, TRUE);
  }

  void open() {
    ASSERT_TRUE(dialog.Open(DLG_TYPE_ASYNC, pluginId));
    settle();
    dialog.takeCalls();
  }
  host::DialogWindow& window() { return *desktop->windowOf(dialog); }
  template <class Widget = QWidget>
  Widget* widget(LONG id) {
    return qobject_cast<Widget*>(window().gadgetWidget(id));
  }
  LONG number(LONG id) {
    LONG value = -99;
    dialog.GetLong(id, value);
    return value;
  }
  Real real(LONG id) {
    Real value = -99;
    dialog.GetReal(id, value);
    return value;
  }

  TestDialog dialog;
  TestArea area;
};

TEST_F(DialogWidgets, ShowTheModel) {
  open();
  EXPECT_EQ(window().windowTitle(), "Everything");
  EXPECT_EQ(window().objectName(), "dialog-77-0");
  EXPECT_TRUE(window().isVisible());
  EXPECT_EQ(widget<QLabel>(idText)->text(), "A & B");
  EXPECT_EQ(widget<QPushButton>(idButton)->text(), "&Press");
  EXPECT_EQ(widget<QLineEdit>(idEdit)->text(), "words");
  EXPECT_EQ(widget<NumberField>(idNumber)->text(), "5");
  EXPECT_EQ(widget<NumberField>(idArrows)->text(), "1.5");
  EXPECT_EQ(widget<NumberField>(idPercent)->text(), "25 %");
  EXPECT_EQ(widget<NumberField>(idMeter)->text(), "2 m");
  EXPECT_EQ(widget<SliderField>(idSlider)->value(), 0);
  EXPECT_FALSE(widget<QCheckBox>(idCheck)->isChecked());
  EXPECT_EQ(widget<QComboBox>(idCombo)->currentText(), "Twenty");
  EXPECT_EQ(widget<host::ColorField>(idColor)->color(), QColor::fromRgbF(1, 0.5f, 0));
  EXPECT_EQ(widget<QGroupBox>(idGroup)->title(), "Group");
  EXPECT_EQ(area.calls, (Calls{"init", "sized 60x40", "values"}));
}

TEST_F(DialogWidgets, ButtonCarriesTheClick) {
  open();
  QTest::mouseClick(widget(idButton), Qt::LeftButton, Qt::NoModifier);
  EXPECT_EQ(dialog.takeCalls(), Calls{"command 1001"});
  EXPECT_EQ(dialog.lastMessage.GetLong(BFM_INPUT_DEVICE), BFM_INPUT_MOUSE);
  EXPECT_EQ(dialog.lastMessage.GetLong(BFM_INPUT_CHANNEL), BFM_INPUT_MOUSELEFT);
  QTest::keyClick(widget(idButton), Qt::Key_Space);
  EXPECT_EQ(dialog.takeCalls(), Calls{"command 1001"});
  EXPECT_EQ(dialog.lastMessage.GetLong(BFM_INPUT_DEVICE), BFM_INPUT_KEYBOARD);
}

TEST_F(DialogWidgets, TextIsTakenWhenItIsDone) {
  open();
  auto* edit = widget<QLineEdit>(idEdit);
  edit->selectAll();
  QTest::keyClicks(edit, "new");
  EXPECT_TRUE(dialog.calls.empty());
  QTest::keyClick(edit, Qt::Key_Return);
  EXPECT_EQ(dialog.takeCalls(), Calls{"command 1003"});
  String text;
  dialog.GetString(idEdit, text);
  EXPECT_EQ(text, String("new"));
}

TEST_F(DialogWidgets, MenuCommitsTheTypedText) {
  open();
  auto* edit = widget<QLineEdit>(idEdit);
  window().activateWindow();
  edit->setFocus();
  ASSERT_TRUE(waitFor([&] { return edit->hasFocus(); }));
  edit->selectAll();
  QTest::keyClicks(edit, "typed");
  emit window().menuBar()->actions().first()->menu()->aboutToShow();
  String text;
  dialog.GetString(idEdit, text);
  EXPECT_EQ(text, String("typed"));
}

TEST_F(DialogWidgets, NumbersAreTypedAndCut) {
  open();
  auto* field = widget<NumberField>(idNumber);
  QTest::mouseClick(field, Qt::LeftButton);
  QTest::keyClicks(field, "300/2");
  QTest::keyClick(field, Qt::Key_Return);
  EXPECT_EQ(number(idNumber), 100);
  EXPECT_EQ(dialog.takeCalls(), Calls{"command 1004"});
  EXPECT_EQ(dialog.lastMessage.GetLong(BFM_ACTION_VALUE), 100);
  QTest::mouseClick(widget(idPercent), Qt::LeftButton);
  QTest::keyClicks(widget(idPercent), "50");
  QTest::keyClick(widget(idPercent), Qt::Key_Return);
  EXPECT_DOUBLE_EQ(real(idPercent), 0.5);
  QTest::keyClick(widget(idArrows), Qt::Key_Up);
  EXPECT_DOUBLE_EQ(real(idArrows), 2);
}

TEST_F(DialogWidgets, SettersDoNotCallCommand) {
  open();
  dialog.SetLong(idNumber, 42, 0, 50);
  EXPECT_EQ(widget<NumberField>(idNumber)->text(), "42");
  EXPECT_EQ(widget<NumberField>(idNumber)->maximum(), 50);
  dialog.SetReal(idSlider, 0.5, -1, 1, 0.01);
  EXPECT_EQ(widget<SliderField>(idSlider)->slider().value(), 150);
  dialog.SetBool(idCheck, TRUE);
  EXPECT_TRUE(widget<QCheckBox>(idCheck)->isChecked());
  dialog.SetLong(idCombo, 10);
  EXPECT_EQ(widget<QComboBox>(idCombo)->currentText(), "Ten");
  dialog.SetLong(idCombo, 555); // no such entry
  EXPECT_EQ(widget<QComboBox>(idCombo)->currentIndex(), -1);
  EXPECT_EQ(number(idCombo), 555);
  dialog.SetString(idEdit, "set");
  EXPECT_EQ(widget<QLineEdit>(idEdit)->text(), "set");
  dialog.SetString(idText, "label");
  EXPECT_EQ(widget<QLabel>(idText)->text(), "label");
  EXPECT_TRUE(dialog.calls.empty());
}

TEST_F(DialogWidgets, SliderDragsAndEnds) {
  open();
  std::vector<LONG> inDrag;
  dialog.command = [&](LONG) { inDrag.push_back(dialog.lastMessage.GetLong(BFM_ACTION_INDRAG)); };
  QSlider& slider = widget<SliderField>(idSlider)->slider();
  slider.setSliderDown(true);
  slider.setValue(150);
  EXPECT_DOUBLE_EQ(real(idSlider), 0.5);
  slider.setValue(200);
  slider.setSliderDown(false);
  EXPECT_DOUBLE_EQ(real(idSlider), 1);
  EXPECT_EQ(inDrag, (std::vector<LONG>{1, 1, 0}));
}

TEST_F(DialogWidgets, CheckBoxToggles) {
  open();
  QTest::mouseClick(widget(idCheck), Qt::LeftButton, {}, QPoint(8, 12));
  EXPECT_EQ(number(idCheck), 1);
  EXPECT_TRUE(widget<QCheckBox>(idCheck)->isChecked());
  QTest::keyClick(widget(idCheck), Qt::Key_Space);
  EXPECT_EQ(number(idCheck), 0);
  EXPECT_EQ(dialog.takeCalls(), (Calls{"command 1008", "command 1008"}));
}

TEST_F(DialogWidgets, CheckBoxCanBeSetBackByItsCommand) {
  open();
  dialog.command = [&](LONG) { dialog.SetBool(idCheck, FALSE); };
  QTest::mouseClick(widget(idCheck), Qt::LeftButton, {}, QPoint(8, 12));
  EXPECT_FALSE(widget<QCheckBox>(idCheck)->isChecked());
}

TEST_F(DialogWidgets, ComboBoxSkipsDisabledEntries) {
  open();
  auto* combo = widget<QComboBox>(idCombo);
  ASSERT_EQ(combo->count(), 4);
  auto* model = qobject_cast<QStandardItemModel*>(combo->model());
  EXPECT_FALSE(model->item(1)->isEnabled());
  EXPECT_FALSE(model->item(2)->isEnabled());
  QTest::keyClick(combo, Qt::Key_Up);
  EXPECT_EQ(number(idCombo), 10);
  EXPECT_EQ(dialog.takeCalls(), Calls{"command 1009"});
  QTest::keyClick(combo, Qt::Key_Down);
  EXPECT_EQ(number(idCombo), 20);
}

TEST_F(DialogWidgets, ColorIsChosen) {
  open();
  QTest::mouseClick(&widget<host::ColorField>(idColor)->button(), Qt::LeftButton);
  auto* picker = window().findChild<host::ColorPicker*>(QStringLiteral("colorPicker"));
  ASSERT_TRUE(picker);
  EXPECT_FALSE(host::mainLoop().inModal());
  auto* code = picker->findChild<QLineEdit*>();
  for (QLineEdit* line : picker->findChildren<QLineEdit*>())
    if (line->accessibleName() == "Colour as #rrggbb") code = line;
  code->setFocus();
  code->selectAll();
  QTest::keyClicks(code, "#00ff00");
  QTest::keyClick(code, Qt::Key_Return);
  Vector color;
  Real brightness = 0;
  dialog.GetColorField(idColor, color, brightness);
  EXPECT_EQ(color, Vector(0, 1, 0));
  EXPECT_EQ(dialog.takeCalls(), Calls{"command 1010"});
  auto* plane = picker->findChild<host::SaturationPlane*>();
  QTest::mousePress(plane, Qt::LeftButton, {}, QPoint(0, 0));
  QTest::mouseMove(plane, QPoint(9, 9));
  EXPECT_EQ(dialog.takeCalls(), Calls()) << "while it is dragged";
  QTest::mouseRelease(plane, Qt::LeftButton, {}, QPoint(0, 0));
  EXPECT_EQ(dialog.takeCalls(), Calls{"command 1010"});
}

TEST_F(DialogWidgets, EnabledAndHiddenFollow) {
  open();
  const int width = widget(idCombo)->x();
  dialog.Enable(idButton, FALSE);
  EXPECT_FALSE(widget(idButton)->isEnabled());
  QTest::mouseClick(widget(idButton), Qt::LeftButton);
  EXPECT_TRUE(dialog.calls.empty());
  dialog.HideElement(idCheck, TRUE);
  settle();
  EXPECT_FALSE(widget(idCheck)->isVisible());
  dialog.HideElement(idCheck, FALSE);
  settle();
  EXPECT_TRUE(widget(idCheck)->isVisible());
  EXPECT_EQ(widget(idCombo)->x(), width);
}

TEST_F(DialogWidgets, MenusCallAndShowTheirMarks) {
  open();
  ASSERT_NE(window().menuBar(), nullptr);
  ASSERT_EQ(window().menuBar()->actions().size(), 1);
  EXPECT_EQ(window().menuBar()->actions().first()->menu()->actions().size(), 4); // with the separator
  QAction* one = window().menuAction(menuOne);
  QAction* two = window().menuAction(menuTwo);
  EXPECT_FALSE(two->isEnabled());
  EXPECT_TRUE(two->isChecked());
  EXPECT_FALSE(one->isChecked());
  one->trigger();
  EXPECT_EQ(dialog.takeCalls(), Calls{"command 2001"});
  EXPECT_EQ(dialog.lastMessage.GetLong(BFM_INPUT_DEVICE), BFM_INPUT_MOUSE);
  dialog.MenuInitString(menuOne, TRUE, TRUE);
  EXPECT_TRUE(one->isChecked());
  EXPECT_EQ(window().menuAction(menuOne), one); // not built anew
  one->trigger();                               // stays checked: the dialog decides
  EXPECT_TRUE(one->isChecked());
  window().menuAction(menuDeep)->trigger();
  EXPECT_EQ(dialog.calls.back(), "command 2003");
}

TEST_F(DialogWidgets, MenuMayBeBuiltAnewByItsOwnEntry) {
  open();
  dialog.command = [&](LONG) {
    dialog.MenuFlushAll();
    dialog.MenuSubBegin("Other");
    dialog.MenuAddString(3001, "New");
    dialog.MenuSubEnd();
    dialog.MenuFinished();
  };
  window().menuAction(menuOne)->trigger();
  dialog.command = {};
  settle();
  EXPECT_EQ(window().menuAction(menuOne), nullptr);
  ASSERT_NE(window().menuAction(3001), nullptr);
  window().menuAction(3001)->trigger();
  EXPECT_EQ(dialog.calls.back(), "command 3001");
}

TEST_F(DialogWidgets, KeysThatNobodyTookReachTheDialog) {
  open();
  QTest::keyClick(widget(idArea), '+');
  QTest::keyClick(&window(), '-');
  QTest::keyClick(widget(idButton), 'x');
  EXPECT_EQ(dialog.takeCalls(), (Calls{"key +", "key -", "key x"}));
  QTest::keyClick(widget(idEdit), '+'); // taken by the field
  EXPECT_TRUE(dialog.calls.empty());
}

TEST_F(DialogWidgets, CloseButtonAsks) {
  open();
  dialog.refuses = true;
  window().close();
  EXPECT_TRUE(dialog.IsOpen());
  EXPECT_TRUE(window().isVisible());
  dialog.refuses = false;
  const QPointer<host::DialogWindow> there = &window();
  window().close();
  EXPECT_FALSE(dialog.IsOpen());
  EXPECT_EQ(dialog.takeCalls(), (Calls{"ask", "ask", "destroy"}));
  settle();
  EXPECT_TRUE(there.isNull());
}

TEST_F(DialogWidgets, EnterPressesTheButtonWithTheFocus) {
  open();
  QTest::keyClick(widget(idButton), Qt::Key_Return);
  EXPECT_EQ(dialog.takeCalls(), Calls{"command 1001"});
  EXPECT_NE(dialog.lastMessage.GetLong(BFM_INPUT_DEVICE), BFM_INPUT_MOUSE);
}

TEST_F(DialogWidgets, CtrlWClosesIt) {
  open();
  dialog.refuses = true;
  QTest::keyClick(widget(idCheck), Qt::Key_W, Qt::ControlModifier);
  EXPECT_TRUE(dialog.IsOpen()) << "it may refuse";
  dialog.refuses = false;
  QTest::keyClick(widget(idCheck), Qt::Key_W, Qt::ControlModifier);
  EXPECT_FALSE(dialog.IsOpen());
  EXPECT_EQ(dialog.takeCalls(), (Calls{"key w", "ask", "key w", "ask", "destroy"}))
      << "its own use of the key comes first";
}

TEST_F(DialogWidgets, MenusOpenByF10AndAreUsedByTheKeyboard) {
  open();
  window().activateWindow();
  widget(idCheck)->setFocus();
  QTest::keyClick(widget(idCheck), Qt::Key_F10, Qt::ShiftModifier);
  EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
  whenPopup([](QWidget& menu) {
    QTest::keyClick(&menu, Qt::Key_Down);
    QTest::keyClick(&menu, Qt::Key_Return);
  });
  QTest::keyClick(widget(idCheck), Qt::Key_F10);
  EXPECT_TRUE(waitFor([&] { return !dialog.calls.empty(); }));
  EXPECT_EQ(dialog.takeCalls(), Calls{"command 2001"});
}

TEST_F(DialogWidgets, AFocusThatAMenuGivesGoesToTheFirstGadget) {
  open();
  window().activateWindow();
  ASSERT_TRUE(waitFor([&] { return window().isActiveWindow(); }));
  window().setFocus(Qt::MouseFocusReason);
  EXPECT_TRUE(window().hasFocus());
  window().clearFocus();
  window().setFocus(Qt::ShortcutFocusReason);
  EXPECT_TRUE(widget(idButton)->hasFocus());
}

TEST_F(DialogWidgets, CommandMayCloseItsDialog) {
  open();
  dialog.command = [&](LONG) { dialog.Close(); };
  const QPointer<host::DialogWindow> there = &window();
  QTest::mouseClick(widget(idButton), Qt::LeftButton);
  EXPECT_FALSE(dialog.IsOpen());
  settle();
  EXPECT_TRUE(there.isNull());
  dialog.command = {};
  open(); // and it opens again
  QTest::mouseClick(widget(idCheck), Qt::LeftButton, {}, QPoint(8, 12));
  EXPECT_EQ(number(idCheck), 1);
}

TEST_F(DialogWidgets, DialogMayBeDestroyedWhileOpen) {
  auto other = std::make_unique<TestDialog>();
  other->layout = [&] { other->AddButton(1, 0, 0, 0, "Go"); };
  ASSERT_TRUE(other->Open(DLG_TYPE_ASYNC, 78));
  const QPointer<host::DialogWindow> there = desktop->windowOf(*other);
  settle();
  other.reset();
  settle();
  EXPECT_TRUE(there.isNull());
}

TEST_F(DialogWidgets, TextsWithMarksAndMnemonics) {
  TestDialog other;
  other.layout = [&] {
    other.AddButton(1, 0, 0, 0, "Save & Close");
    other.AddCheckbox(2, 0, 0, 0, "&Loud");
  };
  ASSERT_TRUE(other.Open(DLG_TYPE_ASYNC, 78));
  host::DialogWindow& shown = *desktop->windowOf(other);
  EXPECT_EQ(qobject_cast<QPushButton*>(shown.gadgetWidget(1))->text(), "Save && Close");
  EXPECT_EQ(qobject_cast<QCheckBox*>(shown.gadgetWidget(2))->text(), "&Loud");
  EXPECT_FALSE(qobject_cast<QCheckBox*>(shown.gadgetWidget(2))->shortcut().isEmpty());
}

TEST_F(DialogWidgets, TabGoesFromGadgetToGadget) {
  open();
  window().activateWindow();
  std::vector<LONG> order;
  for (QWidget* at = widget(idButton); order.size() < 6; at = at->nextInFocusChain())
    for (const LONG id : {idButton, idEdit, idNumber, idArrows, idPercent, idMeter, idCheck})
      if (at == widget(id)) order.push_back(id);
  EXPECT_EQ(order, (std::vector<LONG>{idButton, idEdit, idNumber, idArrows, idPercent, idMeter}));
}

TEST_F(DialogWidgets, PlacesAreThoseOfTheWidgets) {
  open();
  LONG x = 0, y = 0, width = 0, height = 0;
  ASSERT_TRUE(dialog.GetItemDim(idButton, &x, &y, &width, &height));
  QWidget* button = widget(idButton);
  EXPECT_EQ(QSize(width, height), button->size());
  ASSERT_TRUE(dialog.Local2Screen(&x, &y));
  EXPECT_EQ(QPoint(x, y), button->mapToGlobal(QPoint(0, 0)));
}

TEST_F(DialogWidgets, WindowIsNeverSmallerThanItsGadgets) {
  open();
  window().resize(10, 10);
  settle();
  EXPECT_GE(window().width(), widget(idEdit)->minimumWidth() + widget(idNumber)->minimumWidth());
  for (const LONG id : {idButton, idCheck, idEdit, idCombo})
    EXPECT_GE(widget(id)->height(), 24) << id;
}

} // namespace
