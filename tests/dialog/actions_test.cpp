// User actions: clicks, numbers, texts, menus, keys, closing.
#include "c4d_file.h"
#include "dialog_kit.h"
#include "popup_entries.h"

namespace {

enum : LONG { BUTTON = 10, CHECK, NUMBER, TEXT, GROUP, INNER, MENU = 50, GREYED };

class ActionsTest : public DialogFixture {
 protected:
  ActionsTest() {
    dialog.layout = [this] {
      dialog.AddButton(BUTTON, 0, 0, 0, "Go");
      dialog.AddCheckbox(CHECK, 0, 0, 0, "On");
      dialog.AddEditNumber(NUMBER, 0);
      dialog.AddEditText(TEXT, 0);
      dialog.GroupBegin(GROUP, 0, 1, 0, "Group", 0);
      dialog.AddButton(INNER, 0, 0, 0, "Inner");
      dialog.GroupEnd();
      dialog.MenuFlushAll();
      dialog.MenuSubBegin("File");
      dialog.MenuAddString(MENU, "Do it");
      dialog.MenuAddSeparator();
      dialog.MenuSubBegin("More");
      dialog.MenuAddString(GREYED, "Not now");
      dialog.MenuSubEnd();
      dialog.MenuSubEnd();
      dialog.MenuFinished();
    };
    dialog.Open(DLG_TYPE_ASYNC, 1);
    dialog.calls.clear();
  }
  const BaseContainer& last() const { return dialog.commands.back(); }
  KitDialog dialog;
};

TEST_F(ActionsTest, AClickCarriesItsCause) {
  EXPECT_TRUE(host::clickGadget(dialog, BUTTON, {QSHIFT | QALT, false, true}));
  EXPECT_EQ(dialog.calls, Calls{"command 10"});
  EXPECT_EQ(last().GetId(), BFM_ACTION);
  EXPECT_EQ(last().GetLong(BFM_ACTION_ID), BUTTON);
  EXPECT_EQ(last().GetLong(BFM_INPUT_DEVICE), BFM_INPUT_MOUSE);
  EXPECT_EQ(last().GetLong(BFM_INPUT_CHANNEL), BFM_INPUT_MOUSELEFT);
  EXPECT_EQ(last().GetLong(BFM_INPUT_VALUE), 1);
  EXPECT_EQ(last().GetLong(BFM_INPUT_QUALIFIER), QSHIFT | QALT);
  host::clickGadget(dialog, BUTTON, {0, false, false});
  EXPECT_EQ(last().GetLong(BFM_INPUT_DEVICE), BFM_INPUT_KEYBOARD);
  EXPECT_EQ(last().GetLong(BFM_INPUT_CHANNEL), ' ');
  EXPECT_FALSE(host::clickGadget(dialog, NUMBER)) << "a field is not clicked";
}

TEST_F(ActionsTest, ACheckBoxTogglesBeforeItsCommand) {
  LONG seen = -1;
  dialog.command = [&] { dialog.GetLong(CHECK, seen); };
  EXPECT_TRUE(host::clickGadget(dialog, CHECK));
  EXPECT_EQ(seen, 1);
  EXPECT_EQ(last().GetLong(BFM_ACTION_VALUE), 1);
  host::clickGadget(dialog, CHECK);
  EXPECT_EQ(seen, 0);
}

TEST_F(ActionsTest, ANumberIsTypedOrDragged) {
  dialog.SetLong(NUMBER, 1, 0, 30);
  EXPECT_TRUE(host::enterNumber(dialog, NUMBER, 12.6));
  EXPECT_EQ(last().GetType(BFM_ACTION_VALUE), DA_LONG);
  EXPECT_EQ(last().GetLong(BFM_ACTION_VALUE), 13) << "the nearest whole number";
  EXPECT_EQ(last().GetLong(BFM_ACTION_INDRAG, -1), 0);
  host::enterNumber(dialog, NUMBER, 99, {0, true, true});
  EXPECT_EQ(last().GetLong(BFM_ACTION_VALUE), 30);
  EXPECT_EQ(last().GetLong(BFM_ACTION_INDRAG), 1);
  dialog.SetReal(NUMBER, 1);
  host::enterNumber(dialog, NUMBER, 0.25);
  EXPECT_EQ(last().GetType(BFM_ACTION_VALUE), DA_REAL);
  EXPECT_EQ(last().GetReal(BFM_ACTION_VALUE), 0.25);
  EXPECT_FALSE(host::enterNumber(dialog, BUTTON, 1));
}

TEST_F(ActionsTest, ATextIsTyped) {
  EXPECT_TRUE(host::enterText(dialog, TEXT, "shot"));
  String text;
  dialog.GetString(TEXT, text);
  EXPECT_EQ(text, "shot");
  EXPECT_EQ(last().GetType(BFM_ACTION_VALUE), DA_NIL);
  EXPECT_FALSE(host::enterText(dialog, NUMBER, "1"));
}

TEST_F(ActionsTest, DisabledAndHiddenGadgetsDoNothing) {
  dialog.Enable(BUTTON, FALSE);
  dialog.HideElement(CHECK, TRUE);
  dialog.Enable(GROUP, FALSE);
  EXPECT_FALSE(host::clickGadget(dialog, BUTTON));
  EXPECT_FALSE(host::clickGadget(dialog, CHECK));
  EXPECT_FALSE(host::clickGadget(dialog, INNER)) << "its group is disabled";
  EXPECT_FALSE(host::clickGadget(dialog, 999));
  EXPECT_TRUE(dialog.calls.empty());
  EXPECT_TRUE(dialog.SetBool(CHECK, TRUE)) << "setters still work";
  dialog.Enable(GROUP, TRUE);
  EXPECT_TRUE(host::clickGadget(dialog, INNER));
  dialog.Close();
  EXPECT_FALSE(host::clickGadget(dialog, INNER)) << "closed";
  EXPECT_FALSE(host::chooseMenu(dialog, MENU));
  EXPECT_FALSE(host::pressKey(dialog, '+', "+"));
}

TEST_F(ActionsTest, MenusHaveEntriesAndStates) {
  const auto& menus = host::dialogModel(dialog).menus;
  ASSERT_EQ(menus.size(), 1u);
  EXPECT_EQ(menus[0].text, "File");
  ASSERT_EQ(menus[0].children.size(), 3u);
  EXPECT_EQ(menus[0].children[0].id, MENU);
  EXPECT_FALSE(menus[0].children[1].text.Content()) << "a separator";
  EXPECT_EQ(menus[0].children[2].text, "More");
  EXPECT_EQ(menus[0].children[2].children[0].text, "Not now");
  EXPECT_TRUE(dialog.MenuInitString(GREYED, FALSE, TRUE));
  EXPECT_TRUE(host::findMenuEntry(dialog, GREYED)->checked);
  EXPECT_FALSE(dialog.MenuInitString(999, TRUE, TRUE));
  EXPECT_FALSE(dialog.MenuInitString(0, TRUE, TRUE));
  EXPECT_FALSE(host::chooseMenu(dialog, GREYED));
  EXPECT_FALSE(host::chooseMenu(dialog, 0));
  EXPECT_TRUE(host::chooseMenu(dialog, MENU, {QCTRL, false, true}));
  EXPECT_EQ(dialog.calls, Calls{"command 50"});
  EXPECT_EQ(last().GetLong(BFM_INPUT_QUALIFIER), QCTRL);
}

TEST_F(ActionsTest, MenusAreBuiltBetweenFlushAndFinish) {
  EXPECT_FALSE(dialog.MenuAddString(60, "Late"));
  EXPECT_FALSE(dialog.MenuSubBegin("Late"));
  EXPECT_FALSE(dialog.MenuFinished());
  EXPECT_TRUE(dialog.MenuFlushAll());
  EXPECT_FALSE(dialog.MenuSubEnd());
  EXPECT_FALSE(dialog.MenuAddString(0, "No ID"));
  EXPECT_TRUE(dialog.MenuAddString(60, "New"));
  EXPECT_TRUE(dialog.MenuFinished());
  EXPECT_EQ(host::findMenuEntry(dialog, MENU), nullptr);
  EXPECT_NE(host::findMenuEntry(dialog, 60), nullptr);
}

TEST_F(ActionsTest, KeysGoToMessage) {
  EXPECT_TRUE(host::pressKey(dialog, '+', "+"));
  EXPECT_FALSE(host::pressKey(dialog, 'X', "x"));
  EXPECT_EQ(dialog.calls, (Calls{"key +", "key x"}));
}

TEST_F(ActionsTest, TheWindowControlSaysCloseAndAsks) {
  dialog.refuses = true;
  EXPECT_FALSE(host::closeByUser(dialog));
  EXPECT_TRUE(dialog.IsOpen());
  EXPECT_EQ(dialog.takeCalls(), (Calls{"close", "ask"}));
  dialog.refuses = false;
  EXPECT_TRUE(host::closeByUser(dialog));
  EXPECT_EQ(dialog.takeCalls(), (Calls{"close", "ask", "destroy"}));
  EXPECT_TRUE(host::closeByUser(dialog)) << "it is closed";
  EXPECT_TRUE(dialog.calls.empty());
}

TEST_F(ActionsTest, AnExceptionOfACommandStaysInTheDialog) {
  dialog.command = [] { throw std::runtime_error("no such camera"); };
  EXPECT_TRUE(host::clickGadget(dialog, BUTTON));
  ASSERT_FALSE(console.empty());
  EXPECT_NE(console.back().find("no such camera"), std::string::npos);
}

TEST_F(ActionsTest, ACommandMayDestroyItsDialog) {
  auto* gone = new KitDialog;
  gone->layout = [gone] { gone->AddButton(BUTTON, 0, 0, 0, "Go"); };
  gone->Open(DLG_TYPE_ASYNC, 2);
  const std::function<void()> end = [gone] { delete gone; };
  gone->command = [&end] { end(); };
  EXPECT_TRUE(host::clickGadget(*gone, BUTTON));
  EXPECT_EQ(host::openDialogs(), std::vector<GeDialog*>{&dialog});
}

// ---- Modal dialogs

class ModalTest : public DialogFixture {
 protected:
  ModalTest() {
    dialog.layout = [this] {
      dialog.AddCheckbox(CHECK, 0, 0, 0, "On");
      dialog.AddDlgGroup(DLG_OK | DLG_CANCEL);
    };
  }
  Bool open(const std::function<void(GeDialog&)>& script) {
    ui.dialogScripts.push_back(script);
    return dialog.Open();
  }
  KitModal dialog;
};

TEST_F(ModalTest, OkGivesTrue) {
  EXPECT_TRUE(open([&](GeDialog& shown) {
    EXPECT_TRUE(shown.IsOpen());
    EXPECT_FALSE(dialog.GetResult());
    EXPECT_TRUE(host::clickGadget(shown, IDC_OK));
    EXPECT_FALSE(shown.IsOpen());
    EXPECT_TRUE(dialog.GetResult());
  }));
  EXPECT_TRUE(dialog.GetResult());
  EXPECT_EQ(dialog.calls, (Calls{"layout", "values", "command 1", "close", "ask", "destroy"}));
  ASSERT_EQ(ui.openedDialogs.size(), 1u);
  EXPECT_EQ(ui.openedDialogs[0].placement.type, DLG_TYPE_MODAL);
}

TEST_F(ModalTest, CancelAndTheWindowControlGiveFalse) {
  EXPECT_FALSE(open([](GeDialog& shown) { host::clickGadget(shown, IDC_CANCEL); }));
  EXPECT_EQ(dialog.takeCalls(), (Calls{"layout", "values", "command 2", "close", "ask", "destroy"}));
  EXPECT_FALSE(open([](GeDialog& shown) { host::closeByUser(shown); }));
  EXPECT_EQ(dialog.takeCalls(), (Calls{"layout", "values", "close", "ask", "destroy"}));
  EXPECT_TRUE(open([](GeDialog& shown) { host::clickGadget(shown, IDC_OK); }));
  EXPECT_FALSE(open([](GeDialog&) {})) << "the result is the last opening's";
}

TEST_F(ModalTest, AskCloseCanRefuseEveryWay) {
  EXPECT_TRUE(open([&](GeDialog& shown) {
    dialog.refuses = true;
    host::clickGadget(shown, IDC_OK);
    EXPECT_TRUE(shown.IsOpen());
    EXPECT_FALSE(dialog.GetResult());
    host::clickGadget(shown, IDC_CANCEL);
    EXPECT_TRUE(shown.IsOpen());
    EXPECT_FALSE(host::closeByUser(shown));
    dialog.refuses = false;
    host::clickGadget(shown, IDC_OK);
  }));
}

TEST_F(ModalTest, ACommandMayCloseWithItsOwnResult) {
  dialog.command = [&] { dialog.Close(FALSE); };
  EXPECT_FALSE(open([](GeDialog& shown) { host::clickGadget(shown, IDC_OK); }));
  EXPECT_EQ(dialog.calls, (Calls{"layout", "values", "command 1", "destroy"}));
  EXPECT_FALSE(dialog.Close(TRUE)) << "it is closed";
  EXPECT_FALSE(dialog.GetResult());
}

TEST_F(ModalTest, CheckBoxesDoNotCloseIt) {
  EXPECT_FALSE(open([&](GeDialog& shown) {
    host::clickGadget(shown, CHECK);
    EXPECT_TRUE(shown.IsOpen());
  }));
}

TEST_F(ModalTest, WithoutADisplayItIsCancelled) {
  ui.hasDisplay = false;
  EXPECT_FALSE(dialog.Open());
  EXPECT_FALSE(dialog.IsOpen());
}

TEST_F(ModalTest, AnAsyncDialogStaysOpenAtItsOk) {
  KitDialog other;
  other.layout = [&] { other.AddDlgGroup(DLG_OK); };
  other.Open(DLG_TYPE_ASYNC, 1);
  EXPECT_TRUE(host::clickGadget(other, IDC_OK));
  EXPECT_TRUE(other.IsOpen());
}

TEST_F(ModalTest, OthersWaitItsOwnTimerAndPaintingGoOn) {
  KitDialog other;
  KitArea area;
  other.layout = [&] {
    other.AddUserArea(100, 0);
    other.AttachUserArea(area, 100);
  };
  other.Open(DLG_TYPE_ASYNC, 1);
  other.SetTimer(50);
  area.SetTimer(50);
  runAll();
  other.calls.clear();
  area.calls.clear();
  dialog.values = [&] { dialog.SetTimer(50); };
  open([&](GeDialog&) {
    EventAdd();
    SpecialEventAdd(77);
    area.Redraw();
    advance(100);
    EXPECT_TRUE(other.calls.empty());
    EXPECT_EQ(area.calls, (Calls{"draw 0 0 119 89", "timer", "timer"}));
    EXPECT_EQ(dialog.calls, (Calls{"layout", "values", "timer", "timer"}));
  });
  runAll();
  EXPECT_EQ(other.calls, (Calls{"core 604", "core 77", "timer"})) << "a late timer runs once";
}

TEST_F(ModalTest, WithinAnotherTheInnerOnesTimerRuns) {
  KitModal inner;
  inner.values = [&] { inner.SetTimer(10); };
  dialog.values = [&] { dialog.SetTimer(10); };
  open([&](GeDialog&) {
    ui.dialogScripts.push_back([&](GeDialog&) {
      dialog.calls.clear();
      advance(30);
      EXPECT_TRUE(dialog.calls.empty());
      EXPECT_EQ(inner.calls.size(), 2u + 3u);
    });
    inner.Open();
    advance(10);
    EXPECT_FALSE(dialog.calls.empty());
  });
}

TEST_F(ModalTest, AMessageBoxHoldsTheDialogsTimersToo) {
  dialog.values = [&] { dialog.SetTimer(10); };
  open([&](GeDialog&) {
    ui.whileBoxIsOpen = [&] {
      dialog.calls.clear();
      advance(50);
      EXPECT_TRUE(dialog.calls.empty());
    };
    MessageDialog("Wait");
  });
}

// ---- Timers

TEST_F(ModalTest, ATimerStandsStillWhileItsDialogIsClosed) {
  KitDialog other;
  other.SetTimer(100);
  advance(500);
  EXPECT_TRUE(other.calls.empty());
  other.Open(DLG_TYPE_ASYNC, 1);
  other.calls.clear();
  advance(90);
  EXPECT_TRUE(other.calls.empty());
  other.SetTimer(100); // starts anew
  advance(90);
  EXPECT_TRUE(other.calls.empty());
  advance(10);
  EXPECT_EQ(other.takeCalls(), Calls{"timer"});
  advance(200);
  EXPECT_EQ(other.takeCalls(), (Calls{"timer", "timer"}));
  other.Close();
  other.calls.clear();
  advance(500);
  EXPECT_TRUE(other.calls.empty());
  other.Open(DLG_TYPE_ASYNC, 1);
  other.calls.clear();
  advance(100);
  EXPECT_EQ(other.takeCalls(), Calls{"timer"});
  other.SetTimer(0);
  advance(500);
  EXPECT_TRUE(other.calls.empty());
}

// ---- Popups

TEST(PopupEntries, ReadsMarksAtTheEndOnly) {
  BaseContainer menu;
  menu.SetString(1, "Plain");
  menu.SetString(2, "Checked&c&");
  menu.SetString(3, "Greyed&d&");
  menu.SetString(4, "Both&c&&d&");
  menu.SetString(5, "A&c&B");
  menu.SetString(0, "");
  menu.SetString(6, "");
  menu.SetLong(7, 12);
  menu.SetString(8, "&c&");
  menu.SetString(9, "&x&");
  const auto entries = host::popupEntries(menu);
  ASSERT_EQ(entries.size(), 9u);
  EXPECT_EQ(entries[0].text, "Plain");
  EXPECT_TRUE(entries[0].enabled);
  EXPECT_FALSE(entries[0].checked);
  EXPECT_EQ(entries[1].text, "Checked");
  EXPECT_TRUE(entries[1].checked);
  EXPECT_EQ(entries[2].text, "Greyed");
  EXPECT_FALSE(entries[2].enabled);
  EXPECT_EQ(entries[3].text, "Both");
  EXPECT_TRUE(entries[3].checked && !entries[3].enabled);
  EXPECT_EQ(entries[4].text, "A&c&B");
  EXPECT_EQ(entries[5].id, 0);
  EXPECT_EQ(entries[6].id, 0) << "an empty text is a separator";
  EXPECT_EQ(entries[7].id, 0) << "a mark alone has no text";
  EXPECT_EQ(entries[8].text, "&x&");
  EXPECT_TRUE(host::canChoose(entries, 2));
  EXPECT_FALSE(host::canChoose(entries, 3));
  EXPECT_FALSE(host::canChoose(entries, 0));
  EXPECT_FALSE(host::canChoose(entries, 7));
}

TEST_F(ActionsTest, APopupReturnsTheChoice) {
  BaseContainer menu;
  menu.SetString(900000, "Default Camera&c&");
  menu.SetString(900001, "(No Cameras)&d&");
  ui.choices = {900000, 900001, 5, 0};
  EXPECT_EQ(ShowPopupMenu(&dialog, 3, 4, menu), 900000);
  EXPECT_EQ(ShowPopupMenu(&dialog, 0x7fffffff, 0x7fffffff, menu), 0) << "it cannot be chosen";
  EXPECT_EQ(ShowPopupMenu(nullptr, 3, 4, menu), 0) << "it is not there";
  EXPECT_EQ(ShowPopupMenu(nullptr, 3, 4, menu), 0);
  ASSERT_EQ(ui.popups.size(), 4u);
  EXPECT_EQ(ui.popups[0].x, 3);
  EXPECT_EQ(ui.popups[0].y, 4);
  EXPECT_EQ(ui.popups[1].x, 0x7fffffff);
  EXPECT_EQ(ui.popups[0].entries, menu);
}

// ---- Input state

TEST_F(ActionsTest, TheInputStateComesFromTheWindow) {
  BaseContainer answer;
  EXPECT_FALSE(GetInputState(BFM_INPUT_MOUSE, BFM_INPUT_MOUSELEFT, answer)) << "nobody knows";
  host::setInputState({true, 300, 200, true, false, false, QCTRL, {'A'}});
  EXPECT_TRUE(GetInputState(BFM_INPUT_MOUSE, BFM_INPUT_MOUSELEFT, answer));
  EXPECT_EQ(answer.GetLong(BFM_INPUT_VALUE), 1);
  EXPECT_EQ(answer.GetReal(BFM_INPUT_X), 300);
  EXPECT_EQ(answer.GetReal(BFM_INPUT_Y), 200);
  EXPECT_EQ(answer.GetLong(BFM_INPUT_QUALIFIER), QCTRL);
  GetInputState(BFM_INPUT_MOUSE, BFM_INPUT_MOUSERIGHT, answer);
  EXPECT_EQ(answer.GetLong(BFM_INPUT_VALUE), 0);
  GetInputState(BFM_INPUT_KEYBOARD, 'A', answer);
  EXPECT_EQ(answer.GetLong(BFM_INPUT_VALUE), 1);
  GetInputState(BFM_INPUT_KEYBOARD, 'B', answer);
  EXPECT_EQ(answer.GetLong(BFM_INPUT_VALUE), 0);
  EXPECT_FALSE(GetInputState(12345, 1, answer));
}

} // namespace
