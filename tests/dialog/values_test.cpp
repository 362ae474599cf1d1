// Gadgets' values: setters, getters and their ranges.
#include <cmath>

#include "dialog_kit.h"

namespace {

enum : LONG {
  NUMBER = 10,
  ARROWS,
  EDITSLIDER,
  SLIDER,
  CHECK,
  COMBO,
  TEXT,
  LABEL,
  BUTTON,
  COLOR,
  GROUP,
  SCROLL
};

class ValuesTest : public DialogFixture {
 protected:
  ValuesTest() {
    dialog.layout = [this] {
      dialog.AddEditNumber(NUMBER, 0);
      dialog.AddEditNumberArrows(ARROWS, 0);
      dialog.AddEditSlider(EDITSLIDER, 0);
      dialog.AddSlider(SLIDER, 0);
      dialog.AddCheckbox(CHECK, 0, 0, 0, "Check");
      dialog.AddComboBox(COMBO, 0);
      dialog.AddChild(COMBO, 3, "Three");
      dialog.AddChild(COMBO, -1, "");
      dialog.AddChild(COMBO, 7, "Seven");
      dialog.AddEditText(TEXT, 0);
      dialog.AddStaticText(LABEL, 0, 0, 0, "Label", BORDER_NONE);
      dialog.AddButton(BUTTON, 0, 0, 0, "Button");
      dialog.AddColorField(COLOR, 0);
      dialog.GroupBegin(GROUP, 0, 2, 0, "Group", 0);
      dialog.GroupEnd();
      dialog.ScrollGroupBegin(SCROLL, 0, SCROLLGROUP_VERT);
      dialog.GroupEnd();
    };
    dialog.Open(DLG_TYPE_ASYNC, 1);
    dialog.calls.clear();
  }
  LONG number(LONG id) const {
    LONG value = -99;
    EXPECT_TRUE(dialog.GetLong(id, value));
    return value;
  }
  Real real(LONG id) const {
    Real value = -99;
    EXPECT_TRUE(dialog.GetReal(id, value));
    return value;
  }
  KitDialog dialog;
};

TEST_F(ValuesTest, ANumberStaysWithinItsBounds) {
  EXPECT_TRUE(dialog.SetLong(NUMBER, 5001, 0, 5000));
  EXPECT_EQ(number(NUMBER), 5000);
  EXPECT_TRUE(dialog.SetLong(NUMBER, -1, 0, 5000));
  EXPECT_EQ(number(NUMBER), 0);
  EXPECT_TRUE(dialog.SetLong(NUMBER, 17, 0, 5000, 5));
  EXPECT_EQ(number(NUMBER), 17) << "the step is the widget's";
  const host::Gadget* gadget = host::findGadget(dialog, NUMBER);
  EXPECT_EQ(gadget->spec.kind, host::NumberKind::integer);
  EXPECT_EQ(gadget->spec.step, 5);
  EXPECT_TRUE(dialog.calls.empty()) << "a setter calls nothing";
}

TEST_F(ValuesTest, SettingWithoutBoundsLiftsThem) {
  dialog.SetLong(ARROWS, 1, 0, 9999);
  EXPECT_TRUE(host::enterNumber(dialog, ARROWS, 20000));
  EXPECT_EQ(number(ARROWS), 9999);
  dialog.SetLong(ARROWS, 123456);
  EXPECT_EQ(number(ARROWS), 123456);
  EXPECT_TRUE(host::enterNumber(dialog, ARROWS, -20000));
  EXPECT_EQ(number(ARROWS), -20000);
  dialog.SetLong(ARROWS, MAXLONGl);
  EXPECT_EQ(number(ARROWS), MAXLONGl);
  dialog.SetLong(ARROWS, MINLONGl);
  EXPECT_EQ(number(ARROWS), MINLONGl);
}

TEST_F(ValuesTest, EveryKindOfNumberFieldHoldsNumbers) {
  for (const LONG id : {NUMBER, ARROWS, EDITSLIDER, SLIDER}) {
    EXPECT_TRUE(dialog.SetReal(id, 2.75, 0.01, 10, 0.01));
    EXPECT_EQ(real(id), 2.75);
    EXPECT_EQ(number(id), 2) << "without its fraction";
    EXPECT_TRUE(dialog.SetReal(id, -2.75));
    EXPECT_EQ(number(id), -2);
    EXPECT_TRUE(dialog.SetMeter(id, 100.5, -100, 100, 0.1));
    EXPECT_EQ(real(id), 100);
  }
}

TEST_F(ValuesTest, APercentFieldHoldsTheFraction) {
  EXPECT_TRUE(dialog.SetPercent(EDITSLIDER, 0.1, 1, 20));
  EXPECT_EQ(real(EDITSLIDER), 0.1);
  EXPECT_EQ(host::findGadget(dialog, EDITSLIDER)->shownNumber(), 10);
  EXPECT_TRUE(host::enterNumber(dialog, EDITSLIDER, 25));
  EXPECT_EQ(real(EDITSLIDER), 0.2);
  EXPECT_EQ(dialog.commands.back().GetReal(BFM_ACTION_VALUE), 0.2);
  dialog.SetPercent(EDITSLIDER, -2, -100, 100);
  EXPECT_EQ(real(EDITSLIDER), -1);
  dialog.SetPercent(EDITSLIDER, 0.37);
  EXPECT_EQ(real(EDITSLIDER), 0.37) << "what lies within is kept to the last bit";
  dialog.SetPercent(EDITSLIDER, 1.5);
  EXPECT_EQ(real(EDITSLIDER), 1);
}

TEST_F(ValuesTest, InvalidNumbersAreReplaced) {
  EXPECT_TRUE(dialog.SetReal(NUMBER, std::nan("")));
  EXPECT_EQ(real(NUMBER), 0);
  dialog.SetReal(NUMBER, std::nan(""), 2, 5);
  EXPECT_EQ(real(NUMBER), 2);
  dialog.SetReal(NUMBER, INFINITY);
  EXPECT_EQ(real(NUMBER), MAXREALr);
  EXPECT_EQ(number(NUMBER), MAXLONGl);
  EXPECT_FALSE(host::enterNumber(dialog, NUMBER, std::nan("")));
}

TEST_F(ValuesTest, CheckBoxesAreOnOrOff) {
  EXPECT_TRUE(dialog.SetLong(CHECK, 7));
  EXPECT_EQ(number(CHECK), 1);
  Bool on = FALSE;
  EXPECT_TRUE(dialog.GetBool(CHECK, on));
  EXPECT_TRUE(on);
  EXPECT_TRUE(dialog.SetBool(CHECK, FALSE));
  EXPECT_EQ(number(CHECK), 0);
  EXPECT_FALSE(dialog.SetReal(CHECK, 1));
  EXPECT_FALSE(dialog.SetBool(NUMBER, TRUE));
  EXPECT_FALSE(dialog.GetBool(NUMBER, on));
}

TEST_F(ValuesTest, AComboBoxKeepsAValueThatHasNoEntry) {
  EXPECT_TRUE(dialog.SetLong(COMBO, 7));
  EXPECT_EQ(number(COMBO), 7);
  EXPECT_TRUE(dialog.SetLong(COMBO, 0));
  EXPECT_EQ(number(COMBO), 0);
  ASSERT_EQ(host::findGadget(dialog, COMBO)->entries.size(), 3u);
  EXPECT_EQ(host::findGadget(dialog, COMBO)->entries[1].value, -1);
  EXPECT_TRUE(host::chooseEntry(dialog, COMBO, 3));
  EXPECT_EQ(number(COMBO), 3);
  EXPECT_FALSE(host::chooseEntry(dialog, COMBO, -1));
  EXPECT_FALSE(host::chooseEntry(dialog, COMBO, 0)) << "no entry";
  EXPECT_EQ(dialog.calls, Calls{"command " + std::to_string(COMBO)});
  EXPECT_FALSE(dialog.AddChild(NUMBER, 1, "x"));
}

TEST_F(ValuesTest, TextsAreLabelsAndFields) {
  for (const LONG id : {CHECK, TEXT, LABEL, BUTTON, GROUP}) {
    EXPECT_TRUE(dialog.SetString(id, "Grüße")) << id;
    String text;
    EXPECT_TRUE(dialog.GetString(id, text));
    EXPECT_EQ(text, "Grüße");
  }
  EXPECT_FALSE(dialog.SetString(NUMBER, "x"));
  EXPECT_FALSE(dialog.SetString(COMBO, "x"));
  EXPECT_TRUE(dialog.SetFilename(TEXT, Filename("/a/b.tif")));
  Filename name;
  EXPECT_TRUE(dialog.GetFilename(TEXT, name));
  EXPECT_EQ(name, Filename("/a/b.tif"));
  EXPECT_FALSE(dialog.SetFilename(LABEL, Filename("x")));
}

TEST_F(ValuesTest, AColourFieldHoldsAColourAndItsBrightness) {
  Vector color;
  Real brightness = 0;
  EXPECT_TRUE(dialog.SetColorField(COLOR, Vector(1.5, 0.25, -1)));
  EXPECT_TRUE(dialog.GetColorField(COLOR, color, brightness));
  EXPECT_EQ(color, Vector(1, 0.25, 0));
  EXPECT_EQ(brightness, 1);
  dialog.SetColorField(COLOR, Vector(1, 1, 1), 3, 2);
  dialog.GetColorField(COLOR, color, brightness);
  EXPECT_EQ(brightness, 2);
  EXPECT_TRUE(host::enterColor(dialog, COLOR, Vector(0, 1, 0), 1.5));
  dialog.GetColorField(COLOR, color, brightness);
  EXPECT_EQ(brightness, 1.5);
  dialog.SetColorField(COLOR, Vector(1, 1, 1));
  EXPECT_TRUE(host::enterColor(dialog, COLOR, Vector(0, 1, 0), 1.5));
  dialog.GetColorField(COLOR, color, brightness);
  EXPECT_EQ(brightness, 1) << "no brightness above 1";
  EXPECT_FALSE(dialog.SetColorField(NUMBER, Vector()));
}

TEST_F(ValuesTest, CallsForMissingGadgetsFail) {
  LONG value = 5;
  EXPECT_FALSE(dialog.SetLong(999, 1));
  EXPECT_FALSE(dialog.GetLong(999, value));
  EXPECT_FALSE(dialog.SetLong(0, 1)) << "0 is a gadget without an ID";
  EXPECT_FALSE(dialog.GetLong(TEXT, value));
  EXPECT_FALSE(dialog.Enable(999, TRUE));
  EXPECT_FALSE(dialog.HideElement(999, TRUE));
  EXPECT_FALSE(dialog.LayoutChanged(999));
  EXPECT_EQ(value, 5);
}

TEST_F(ValuesTest, LayoutCallsWorkInCreateLayoutOnly) {
  EXPECT_FALSE(dialog.AddButton(99, 0, 0, 0, "Late"));
  EXPECT_FALSE(dialog.GroupBegin(99, 0, 1, 1, "Late", 0));
  EXPECT_FALSE(dialog.GroupEnd());
  EXPECT_FALSE(dialog.AddDlgGroup(DLG_OK));
  EXPECT_EQ(host::findGadget(dialog, 99), nullptr);
}

} // namespace
