// Arithmetic, and the fields that take it.
#include <cmath>
#include <string>
#include <vector>

#include "arithmetic.h"
#include "number_field.h"
#include "qt_fixture.h"

#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

using host::evaluate;
using host::NumberField;
using host::SliderField;

TEST(DialogArithmetic, Values) {
  const std::vector<std::pair<const char*, double>> cases = {
      {"90/2", 45},   {"1.5*(2+3)", 7.5}, {"-3", -3},        {"- -3", 3},   {"+4", 4},
      {"2^3^2", 512}, {"-2^2", -4},       {"2*-3", -6},      {"2^-1", 0.5}, {" 1 + 2 ", 3},
      {"1e3", 1000},  {".5", 0.5},        {"0,25", 0.25},    {"8/4/2", 1},  {"10-4-3", 3},
      {"((1))", 1},   {"2*pi", 2 * M_PI}, {"1.5e-2*2", .03}, {"7-2*3", 1},  {"(1+2)*(3+4)", 21},
  };
  for (const auto& [text, value] : cases) {
    ASSERT_TRUE(evaluate(text)) << text;
    EXPECT_DOUBLE_EQ(*evaluate(text), value) << text;
  }
}

TEST(DialogArithmetic, OtherTextsHaveNoValue) {
  for (const char* text :
       {"",     " ",    "1+",  "(1",  "1)",    "1 2",    "abc", "1/0", "1/(2-2)", "*3",
        "1..2", "0x10", "inf", "nan", "1e999", "10^400", "--",  "pip", "2pi",     "\xff\xfe"})
    EXPECT_FALSE(evaluate(text)) << text;
}

TEST(DialogArithmetic, DepthAndLengthAreLimited) {
  EXPECT_TRUE(evaluate(std::string(40, '(') + "1" + std::string(40, ')')));
  EXPECT_FALSE(evaluate(std::string(100, '(') + "1" + std::string(100, ')')));
  EXPECT_FALSE(evaluate(std::string(100000, '(')));
  EXPECT_TRUE(evaluate(std::string(4000, '-') + "1"));
  EXPECT_FALSE(evaluate(std::string(5000, '1')));
  std::string powers = "1";
  for (int i = 0; i < 500; ++i)
    powers += "^1";
  EXPECT_FALSE(evaluate(powers));
}

class DialogNumber : public QtFixture {
 public:
  DialogNumber() {
    field.resize(80, 24);
    field.show();
    QObject::connect(&field, &NumberField::valueChanged, [this](double value) { values.push_back(value); });
  }
  void type(const char* text) {
    QTest::mouseClick(&field, Qt::LeftButton);
    QTest::keyClicks(&field, text);
  }
  void drag(int from, int to, Qt::KeyboardModifiers keys = {}) {
    const int step = to > from ? 1 : -1;
    QTest::mousePress(&field, Qt::LeftButton, keys, {from, 12});
    for (int x = from; x != to; x += step)
      move(x + step, keys);
  }
  void move(int x, Qt::KeyboardModifiers keys = {}) {
    QMouseEvent event(QEvent::MouseMove, QPointF(x, 12), field.mapToGlobal(QPointF(x, 12)), Qt::NoButton,
                      Qt::LeftButton, keys);
    QApplication::sendEvent(&field, &event);
  }
  static void wheel(QWidget& widget, int notches, Qt::KeyboardModifiers keys = {}) {
    const QPointF at = widget.rect().center();
    QWheelEvent event(at, widget.mapToGlobal(at), {}, {0, notches * 120}, Qt::NoButton, keys,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&widget, &event);
  }

  NumberField field;
  std::vector<double> values;
};

TEST_F(DialogNumber, EnterTakesArithmetic) {
  field.setValue(10);
  type("90/2");
  EXPECT_EQ(values.size(), 0u); // not before Enter
  QTest::keyClick(&field, Qt::Key_Return);
  EXPECT_EQ(values, std::vector<double>{45});
  EXPECT_EQ(field.text(), "45");
  QTest::keyClick(&field, Qt::Key_Return); // nothing new
  EXPECT_EQ(values.size(), 1u);
}

TEST_F(DialogNumber, EscapeTakesBack) {
  field.setValue(10);
  type("77");
  QTest::keyClick(&field, Qt::Key_Escape);
  EXPECT_TRUE(values.empty());
  EXPECT_EQ(field.text(), "10");
  EXPECT_EQ(field.value(), 10);
}

TEST_F(DialogNumber, NonsenseIsMarkedAndTakenBack) {
  field.setValue(10);
  type("7+");
  EXPECT_TRUE(field.property("complaint").toBool());
  QTest::keyClick(&field, Qt::Key_Return);
  EXPECT_TRUE(values.empty());
  EXPECT_EQ(field.text(), "10");
  EXPECT_FALSE(field.property("complaint").toBool());
}

TEST_F(DialogNumber, LeavingCommits) {
  QLineEdit other;
  other.show();
  type("3");
  QFocusEvent leave(QEvent::FocusOut, Qt::TabFocusReason);
  QApplication::sendEvent(&field, &leave);
  EXPECT_EQ(values, std::vector<double>{3});
}

TEST_F(DialogNumber, UnitIsShownAndMayBeTyped) {
  field.setSuffix(" %");
  field.setValue(12.5);
  EXPECT_EQ(field.text(), "12.5 %");
  type("50%");
  QTest::keyClick(&field, Qt::Key_Return);
  EXPECT_EQ(field.value(), 50);
  EXPECT_EQ(field.text(), "50 %");
}

TEST_F(DialogNumber, RangeCuts) {
  field.setRange(0, 100);
  field.setValue(150);
  EXPECT_EQ(field.value(), 100);
  type("-5");
  QTest::keyClick(&field, Qt::Key_Return);
  EXPECT_EQ(values, std::vector<double>{0});
  field.setRange(20, 30);
  EXPECT_EQ(field.value(), 20);
  EXPECT_EQ(values.size(), 1u); // only the user's changes are signalled
}

TEST_F(DialogNumber, ArrowKeysStep) {
  field.setStep(1);
  field.setValue(10);
  QTest::keyClick(&field, Qt::Key_Up);
  QTest::keyClick(&field, Qt::Key_Up, Qt::ShiftModifier);
  QTest::keyClick(&field, Qt::Key_Down, Qt::ControlModifier);
  EXPECT_EQ(values, (std::vector<double>{11, 21, 20.9}));
}

TEST_F(DialogNumber, WholeNumbersStepByOneAtLeast) {
  field.setDecimals(0);
  field.setStep(1);
  field.setValue(3);
  QTest::keyClick(&field, Qt::Key_Up, Qt::ControlModifier);
  EXPECT_EQ(values, std::vector<double>{4});
  type("2.6");
  QTest::keyClick(&field, Qt::Key_Return);
  EXPECT_EQ(field.value(), 3);
}

TEST_F(DialogNumber, TenthsStayTenths) {
  field.setStep(0.1);
  field.setValue(0);
  for (int i = 0; i < 3; ++i)
    QTest::keyClick(&field, Qt::Key_Up);
  EXPECT_EQ(field.value(), 0.3);
}

TEST_F(DialogNumber, WheelSteps) {
  field.setValue(5);
  wheel(field, 2);
  wheel(field, -1, Qt::ShiftModifier);
  EXPECT_EQ(values, (std::vector<double>{7, -3}));
}

TEST_F(DialogNumber, WheelScrollsThePanelUnlessTheFieldHasTheFocus) {
  QScrollArea area;
  auto* inside = new QWidget;
  auto* layout = new QVBoxLayout(inside);
  auto* other = new QLineEdit;
  auto* number = new NumberField;
  layout->addWidget(other);
  layout->addWidget(number);
  inside->setMinimumHeight(900);
  area.setWidget(inside);
  area.setWidgetResizable(true);
  area.resize(200, 200);
  area.show();
  area.activateWindow();
  other->setFocus();
  ASSERT_TRUE(waitFor([&] { return other->hasFocus(); }));
  ASSERT_GT(area.verticalScrollBar()->maximum(), 0);
  wheel(*number, 1);
  EXPECT_EQ(number->value(), 0);
  number->setFocus();
  ASSERT_TRUE(waitFor([&] { return number->hasFocus(); }));
  wheel(*number, 1);
  EXPECT_EQ(number->value(), 1);
}

TEST_F(DialogNumber, DragStepsEveryTwoPixels) {
  QSignalSpy started(&field, &NumberField::dragStarted), finished(&field, &NumberField::dragFinished);
  field.setValue(0);
  drag(20, 30);
  EXPECT_TRUE(field.isDragging());
  EXPECT_EQ(field.value(), 5);
  EXPECT_EQ(started.count(), 1);
  QTest::mouseRelease(&field, Qt::LeftButton, {}, {30, 12});
  ASSERT_EQ(finished.count(), 1);
  EXPECT_FALSE(finished[0][0].toBool());
  EXPECT_FALSE(field.isDragging());
  drag(20, 10, Qt::ShiftModifier);
  EXPECT_EQ(field.value(), -45);
  QTest::mouseRelease(&field, Qt::LeftButton, {}, {10, 12});
}

TEST_F(DialogNumber, EscapeTakesADragBack) {
  QSignalSpy finished(&field, &NumberField::dragFinished);
  field.setValue(2);
  drag(20, 40);
  EXPECT_EQ(field.value(), 12);
  QTest::keyClick(&field, Qt::Key_Escape);
  EXPECT_EQ(field.value(), 2);
  EXPECT_EQ(values.back(), 2);
  ASSERT_EQ(finished.count(), 1);
  EXPECT_TRUE(finished[0][0].toBool());
}

TEST_F(DialogNumber, SmallMovementIsAClick) {
  field.setValue(2);
  QTest::mousePress(&field, Qt::LeftButton, {}, {20, 12});
  move(22);
  QTest::mouseRelease(&field, Qt::LeftButton, {}, {22, 12});
  EXPECT_TRUE(values.empty());
  EXPECT_EQ(field.selectedText(), "2"); // ready to be typed over
}

TEST_F(DialogNumber, TypingIsNotDisturbed) {
  field.setValue(1);
  type("4");
  field.setValue(9); // from elsewhere
  EXPECT_EQ(field.text(), "4");
  QTest::keyClick(&field, Qt::Key_Escape);
  EXPECT_EQ(field.text(), "9");
}

TEST_F(DialogNumber, MixedEndsWithAValue) {
  field.setValue(5);
  field.setMixed();
  EXPECT_EQ(field.text(), QString::fromUtf8("\xe2\x80\x94"));
  type("5");
  QTest::keyClick(&field, Qt::Key_Return);
  EXPECT_EQ(values, std::vector<double>{5}); // the same number, but now for all
  EXPECT_FALSE(field.isMixed());
}

TEST_F(DialogNumber, DisabledDoesNothing) {
  field.setValue(5);
  field.setEnabled(false);
  wheel(field, 1);
  QTest::mouseClick(&field, Qt::LeftButton);
  EXPECT_EQ(field.value(), 5);
}

TEST_F(DialogNumber, TextForms) {
  field.setDecimals(3);
  EXPECT_EQ(field.textOf(1.5), "1.5");
  EXPECT_EQ(field.textOf(-0.0001), "0");
  EXPECT_EQ(field.textOf(100), "100");
  EXPECT_EQ(field.textOf(1.0 / 3), "0.333");
  EXPECT_EQ(field.textOf(1e20), "1e+20");
}

TEST_F(DialogNumber, ArrowButtonsStep) {
  field.setArrows(true);
  field.setValue(1);
  const QList<QToolButton*> buttons = field.findChildren<QToolButton*>();
  ASSERT_EQ(buttons.size(), 2);
  QTest::mouseClick(buttons[0], Qt::LeftButton);
  QTest::mouseClick(buttons[0], Qt::LeftButton);
  QTest::mouseClick(buttons[1], Qt::LeftButton);
  EXPECT_EQ(values, (std::vector<double>{2, 3, 2}));
}

TEST_F(DialogNumber, SliderAndFieldAgree) {
  SliderField both;
  both.setRange(-1, 1);
  both.setStep(0.01);
  std::vector<double> told;
  QObject::connect(&both, &SliderField::valueChanged, [&](double value) { told.push_back(value); });
  both.setValue(0.5);
  EXPECT_TRUE(told.empty());
  EXPECT_EQ(both.slider().value(), 150);
  EXPECT_EQ(both.slider().maximum(), 200);
  both.slider().setValue(50);
  EXPECT_EQ(told, std::vector<double>{-0.5});
  EXPECT_EQ(both.field().text(), "-0.5");
  both.setRange(-1, 0);
  EXPECT_EQ(both.slider().value(), 50);
}

TEST_F(DialogNumber, SliderOfAWideRangeCoversItsOwn) {
  SliderField both;
  both.setRange(0, 1e30);
  both.setSliderRange(0, 10);
  both.setStep(1);
  both.setValue(1e20);
  EXPECT_EQ(both.value(), 1e20);
  EXPECT_EQ(both.slider().value(), both.slider().maximum());
}

} // namespace
