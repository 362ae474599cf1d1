// User areas: input, and a view that shows them.
#include "area_kit.h"

namespace {

using AreaViewTest = AreaTest;

// ---- Input

TEST_F(AreaViewTest, AClickComesInTheWindowsCoordinates) {
  open();
  EXPECT_TRUE(host::pressMouse(area, BFM_INPUT_MOUSELEFT, 10, 20, {QSHIFT, false, true}, true));
  ASSERT_EQ(area.inputs.size(), 1u);
  const BaseContainer& msg = area.inputs[0];
  EXPECT_EQ(msg.GetId(), BFM_INPUT);
  EXPECT_EQ(msg.GetLong(BFM_INPUT_DEVICE), BFM_INPUT_MOUSE);
  EXPECT_EQ(msg.GetLong(BFM_INPUT_CHANNEL), BFM_INPUT_MOUSELEFT);
  EXPECT_EQ(msg.GetLong(BFM_INPUT_QUALIFIER), QSHIFT);
  EXPECT_EQ(msg.GetLong(BFM_INPUT_DOUBLECLICK), 1);
  EXPECT_EQ(msg.GetReal(BFM_INPUT_X), 14);
  EXPECT_EQ(msg.GetReal(BFM_INPUT_Y), 24);
  LONG x = 14, y = 24;
  EXPECT_TRUE(area.Global2Local(&x, &y));
  EXPECT_EQ(x, 10);
  EXPECT_EQ(y, 20);
  EXPECT_TRUE(area.Local2Screen(&x, &y));
  EXPECT_EQ(x, 14) << "without a view the window is at (0, 0)";
  BaseContainer answer;
  EXPECT_TRUE(area.GetInputState(BFM_INPUT_MOUSE, BFM_INPUT_MOUSELEFT, answer));
  EXPECT_EQ(answer.GetReal(BFM_INPUT_X), 14);
  dialog.Enable(AREA, FALSE);
  EXPECT_FALSE(host::pressMouse(area, BFM_INPUT_MOUSELEFT, 10, 20));
  dialog.Close();
  EXPECT_FALSE(area.Global2Local(&x, &y));
  EXPECT_FALSE(area.GetInputState(BFM_INPUT_MOUSE, BFM_INPUT_MOUSELEFT, answer));
}

TEST_F(AreaViewTest, AHoverAsksForTheCursor) {
  open();
  EXPECT_EQ(host::hoverMouse(area, 1, 1), MOUSE_NORMAL);
  area.cursor = MOUSE_MOVE;
  EXPECT_EQ(host::hoverMouse(area, 7, 8), MOUSE_MOVE);
  EXPECT_TRUE(host::inputState().known);
  EXPECT_EQ(host::inputState().mouseX, 11);
  EXPECT_EQ(host::inputState().mouseY, 12);
}

TEST_F(AreaViewTest, ItsMessagesReachTheDialog) {
  open();
  BaseContainer message(BFM_ACTION);
  message.SetLong(BFM_ACTION_ID, AREA);
  EXPECT_EQ(area.SendParentMessage(message), 1);
  EXPECT_EQ(dialog.calls, Calls{"command 1123"});
}

// ---- With a view

struct TestView final : host::DialogView {
  std::vector<std::string> calls;
  host::Place shown{30, 40, 100, 80};
  void gadgetChanged(const host::Gadget& g) override { calls.push_back("gadget " + std::to_string(g.id)); }
  void layoutChanged(const host::Gadget& g) override { calls.push_back("layout " + std::to_string(g.id)); }
  void menuChanged() override { calls.push_back("menu"); }
  void titleChanged() override { calls.push_back("title"); }
  void areaPainted(const host::Gadget& g) override { calls.push_back("painted " + std::to_string(g.id)); }
  bool visibleArea(const host::Gadget&, LONG& l, LONG& t, LONG& r, LONG& b) const override {
    return l = 5, t = 6, r = 105, b = 86, true;
  }
  bool place(const host::Gadget&, host::Place& place) const override { return place = shown, true; }
  bool origin(LONG& x, LONG& y) const override { return x = 1000, y = 500, true; }
};

TEST_F(AreaViewTest, AViewIsNotifiedAndDecidesSizes) {
  TestView view;
  open();
  host::setDialogView(dialog, &view);
  area.LayoutChanged();
  EXPECT_EQ(view.calls, Calls{"layout 1123"});
  runAll();
  EXPECT_EQ(area.calls, Calls{"min 100x80"});
  view.calls.clear();
  host::sizeArea(area, 300, 200);
  EXPECT_EQ(view.calls, Calls{"painted 1123"});
  LONG l = 0, t = 0, r = 0, b = 0;
  EXPECT_TRUE(dialog.GetVisibleArea(SCROLL, &l, &t, &r, &b));
  EXPECT_EQ(r - l, 100);
  EXPECT_FALSE(dialog.GetVisibleArea(AREA, &l, &t, &r, &b)) << "no scroll group";
  EXPECT_TRUE(dialog.GetItemDim(AREA, &l, &t, nullptr, nullptr));
  EXPECT_EQ(l, 30);
  LONG x = 0, y = 0;
  EXPECT_TRUE(area.Local2Screen(&x, &y));
  EXPECT_EQ(x, 1030);
  EXPECT_EQ(y, 540);
  view.calls.clear();
  dialog.SetTitle("New");
  dialog.Enable(AREA, FALSE);
  dialog.Enable(AREA, FALSE);
  dialog.HideElement(AREA, TRUE);
  dialog.MenuFlushAll();
  dialog.MenuAddString(5, "Entry");
  dialog.MenuFinished();
  dialog.MenuInitString(5, TRUE, TRUE);
  EXPECT_EQ(view.calls, (Calls{"title", "gadget 1123", "gadget 1123", "layout 1123", "menu", "menu"}));
  dialog.Close();
  EXPECT_FALSE(dialog.GetItemDim(AREA, &l, &t, nullptr, nullptr)) << "closed";
  view.calls.clear();
  dialog.SetTitle("Newer");
  EXPECT_TRUE(view.calls.empty()) << "a closed window has no view";
}

TEST_F(AreaViewTest, AViewMayAskForTheSizeFirst) {
  LONG w = 0, h = 0;
  dialog.layout = [&] {
    dialog.AddUserArea(AREA, 0, 10, 10);
    dialog.AttachUserArea(area, AREA);
  };
  TestView view;
  ui.dialogScripts.push_back([](GeDialog&) {});
  dialog.Open(DLG_TYPE_ASYNC, 1);
  dialog.Close();
  area.calls.clear();
  host::areaMinSize(area, w, h);
  EXPECT_TRUE(area.calls.empty()) << "closed: nothing is asked";
  host::sizeArea(area, 10, 10);
  EXPECT_TRUE(area.calls.empty());
}

} // namespace
