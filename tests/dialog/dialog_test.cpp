// Dialogs: core messages, opening and closing.
#include "c4d_dialog.h"

#include "c4d_events.h"
#include "c4d_file.h"
#include "dialog_state.h"
#include "host_fixture.h"

namespace {

class TestDialog : public GeDialog {
 public:
  std::vector<std::string> calls;
  std::vector<LONG> heard;
  std::vector<bool> meant;
  Filename folder;
  bool refuses = false, layoutWorks = true;

  Bool CreateLayout() override { return calls.push_back("layout"), layoutWorks; }
  Bool InitValues() override { return calls.push_back("values"), TRUE; }
  Bool CoreMessage(LONG id, const BaseContainer& msg) override {
    heard.push_back(id);
    meant.push_back(CheckCoreMessage(msg) != FALSE);
    folder = GeGetPluginPath();
    return TRUE;
  }
  Bool AskClose() override { return calls.push_back("ask"), refuses; }
  void DestroyWindow() override { calls.push_back("destroy"); }
};

class DialogTest : public HostFixture {
 protected:
  DialogTest() { startHost(); }
};

TEST_F(DialogTest, GetsCoreMessagesFromItsConstructionOn) {
  TestDialog dialog;
  SpecialEventAdd(1021447);
  EventAdd();
  runAll();
  EXPECT_EQ(dialog.heard, (std::vector<LONG>{1021447, EVMSG_CHANGE}));
  EXPECT_EQ(dialog.meant, (std::vector<bool>{false, false})) << "closed";
  dialog.Open(DLG_TYPE_ASYNC, 1);
  EventAdd();
  runAll();
  EXPECT_TRUE(dialog.meant.back());
  {
    TestDialog gone;
    SpecialEventAdd(1);
  }
  runAll();
  EXPECT_EQ(dialog.heard.size(), 4u);
}

TEST_F(DialogTest, OpensThroughTheUserInterface) {
  TestDialog dialog;
  EXPECT_FALSE(dialog.IsOpen());
  EXPECT_TRUE(dialog.Open(DLG_TYPE_ASYNC, 1021442, -1, -1, 400, 300));
  EXPECT_TRUE(dialog.IsOpen());
  EXPECT_TRUE(dialog.Open(DLG_TYPE_ASYNC, 1021442)) << "it is open already";
  EXPECT_EQ(dialog.calls, (std::vector<std::string>{"layout", "values"}));
  ASSERT_EQ(ui.openedDialogs.size(), 1u);
  EXPECT_EQ(ui.openedDialogs[0].dialog, &dialog);
  EXPECT_EQ(ui.openedDialogs[0].placement.pluginId, 1021442);
  EXPECT_EQ(ui.openedDialogs[0].placement.width, 400);
  EXPECT_EQ(ui.openedDialogs[0].placement.height, 300);
  EXPECT_EQ(ui.openedDialogs[0].placement.x, -1);
  EXPECT_EQ(host::openDialogs(), std::vector<GeDialog*>{&dialog});
  EXPECT_TRUE(dialog.Close());
  EXPECT_FALSE(dialog.Close());
  EXPECT_FALSE(dialog.IsOpen());
  EXPECT_EQ(ui.closedDialogs, std::vector<GeDialog*>{&dialog});
  EXPECT_EQ(dialog.calls.back(), "destroy");
  EXPECT_TRUE(host::openDialogs().empty());
}

TEST_F(DialogTest, StaysClosedWithoutADisplayOrALayout) {
  TestDialog dialog;
  ui.hasDisplay = false;
  EXPECT_FALSE(dialog.Open(DLG_TYPE_ASYNC, 1));
  EXPECT_FALSE(dialog.IsOpen());
  ui.hasDisplay = true;
  dialog.layoutWorks = false;
  EXPECT_FALSE(dialog.Open(DLG_TYPE_ASYNC, 1));
  EXPECT_EQ(ui.openedDialogs.size(), 1u);
  stopHost();
  TestDialog alone;
  EXPECT_FALSE(alone.Open(DLG_TYPE_ASYNC, 1)) << "nobody shows it";
}

TEST_F(DialogTest, TheUserClosesUnlessItRefuses) {
  TestDialog dialog;
  dialog.Open(DLG_TYPE_ASYNC, 1);
  dialog.refuses = true;
  EXPECT_FALSE(host::requestClose(dialog));
  EXPECT_TRUE(dialog.IsOpen());
  dialog.refuses = false;
  EXPECT_TRUE(host::requestClose(dialog));
  EXPECT_FALSE(dialog.IsOpen());
  EXPECT_TRUE(host::requestClose(dialog)) << "it is closed";
}

TEST_F(DialogTest, AModalOneHoldsBackCoreMessages) {
  TestDialog other, dialog;
  bool openMeanwhile = false;
  ui.whileDialogIsOpen = [&](GeDialog& shown) {
    openMeanwhile = shown.IsOpen() != FALSE;
    EventAdd();
    runAll();
    EXPECT_TRUE(other.heard.empty());
  };
  EXPECT_TRUE(dialog.Open(DLG_TYPE_MODAL, 1));
  EXPECT_TRUE(openMeanwhile);
  EXPECT_FALSE(dialog.IsOpen());
  EXPECT_EQ(dialog.calls.back(), "destroy");
  runAll();
  EXPECT_EQ(other.heard.size(), 1u);
}

TEST_F(DialogTest, ComesBackWhereItWas) {
  TestDialog dialog;
  EXPECT_FALSE(dialog.RestoreLayout(1021442, 0, nullptr));
  ui.remembered = {{DLG_TYPE_ASYNC, 1021442, 0, 50, 60, 700, 500}};
  EXPECT_FALSE(dialog.RestoreLayout(1021442, 1, nullptr));
  EXPECT_TRUE(dialog.RestoreLayout(1021442, 0, nullptr));
  EXPECT_TRUE(dialog.IsOpen());
  EXPECT_EQ(ui.openedDialogs[0].placement.x, 50);
  EXPECT_EQ(ui.openedDialogs[0].placement.height, 500);
}

TEST_F(DialogTest, TheProgramsEndClosesThem) {
  TestDialog first, second;
  first.Open(DLG_TYPE_ASYNC, 1);
  second.Open(DLG_TYPE_ASYNC, 2);
  stopHost();
  EXPECT_EQ(ui.closedDialogs, (std::vector<GeDialog*>{&second, &first}));
  EXPECT_FALSE(first.IsOpen());
}

TEST_F(DialogTest, KnowsItsPluginsFolder) {
  host::PluginUnit unit;
  unit.folder = "/plugins/one";
  std::unique_ptr<TestDialog> dialog;
  {
    const host::PluginScope scope(&unit);
    dialog = std::make_unique<TestDialog>();
  }
  EventAdd();
  runAll();
  EXPECT_EQ(dialog->folder, Filename("/plugins/one"));
}

} // namespace
