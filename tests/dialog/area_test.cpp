// User areas: the order of their calls, painting, sizes, timers, input.
#include <algorithm>

#include "area_state.h"
#include "dialog_kit.h"
#include "plugin_renders.h"

namespace {

enum : LONG { AREA = 1123, OTHER, SCROLL = 1122 };

class AreaTest : public DialogFixture {
 protected:
  AreaTest() {
    dialog.layout = [this] {
      dialog.GroupBegin(0, BFH_SCALEFIT | BFV_SCALEFIT, 1, 0, "", 0);
      dialog.GroupBorderSpace(4, 4, 4, 4);
      dialog.ScrollGroupBegin(SCROLL, BFH_SCALEFIT | BFV_SCALEFIT, SCROLLGROUP_VERT | SCROLLGROUP_HORIZ);
      dialog.AddUserArea(AREA, BFH_SCALEFIT | BFV_SCALEFIT, 100, 80);
      dialog.AttachUserArea(area, AREA);
      dialog.GroupEnd();
      dialog.GroupEnd();
    };
  }
  void open() {
    dialog.Open(DLG_TYPE_ASYNC, 1);
    runAll();
    area.calls.clear();
    dialog.calls.clear();
  }
  std::uint32_t pixel(int x, int y) const { return host::areaSurface(area).at(x, y); }
  KitArea area;
  KitDialog dialog;
};

TEST_F(AreaTest, IsStartedSizedAndPaintedInOrder) {
  area.values = [&] {
    area.SetTimer(100);
    area.Redraw();
    area.LayoutChanged();
  };
  dialog.Open(DLG_TYPE_ASYNC, 1);
  EXPECT_EQ(dialog.calls, (Calls{"layout", "values"}));
  EXPECT_EQ(area.takeCalls(),
            (Calls{"init", "min 100x80", "size 120x90", "values", "min 100x80", "draw 0 0 119 89"}));
  runAll();
  EXPECT_TRUE(area.calls.empty()) << "the first picture stands for that redraw, the size is the same";
  EXPECT_EQ(area.GetId(), AREA);
  EXPECT_EQ(area.GetDialog(), &dialog);
  EXPECT_EQ(area.GetWidth(), 120);
  EXPECT_EQ(area.GetHeight(), 90);
}

TEST_F(AreaTest, AnAreaThatRefusesStaysEmpty) {
  area.works = false;
  dialog.Open(DLG_TYPE_ASYNC, 1);
  runAll();
  EXPECT_EQ(area.calls, Calls{"init"});
  LONG w = 0, h = 0;
  host::areaMinSize(area, w, h);
  EXPECT_EQ(w, 100);
  EXPECT_EQ(h, 80);
  host::sizeArea(area, 50, 40);
  area.SetTimer(10);
  area.Redraw();
  area.LayoutChanged();
  advance(100);
  EXPECT_FALSE(host::pressMouse(area, BFM_INPUT_MOUSELEFT, 1, 1));
  EXPECT_EQ(area.calls, Calls{"init"});
  EXPECT_EQ(pixel(5, 5), host::windowColor());
}

TEST_F(AreaTest, WithoutASizeOfItsOwnItHasTheGadgets) {
  area.tellsSize = false;
  dialog.Open(DLG_TYPE_ASYNC, 1);
  EXPECT_EQ(area.calls, (Calls{"init", "min 100x80", "size 100x80", "values", "draw 0 0 99 79"}));
}

TEST_F(AreaTest, DrawsIntoItsSurface) {
  area.draw = [&] {
    EXPECT_TRUE(area.OffScreenOn());
    area.DrawSetPen(Vector(1, 0, 0));
    area.DrawRectangle(10, 10, 19, 12);
    area.DrawSetPen(Vector(0, 0.5, 1));
    area.DrawLine(0, 20, 5, 20);
  };
  dialog.Open(DLG_TYPE_ASYNC, 1);
  EXPECT_EQ(pixel(10, 10), 0xffff0000u);
  EXPECT_EQ(pixel(19, 12), 0xffff0000u);
  EXPECT_EQ(pixel(20, 12), host::windowColor());
  EXPECT_EQ(pixel(19, 13), host::windowColor());
  EXPECT_EQ(pixel(9, 10), host::windowColor());
  EXPECT_EQ(pixel(5, 20), 0xff0080ffu);
  EXPECT_EQ(pixel(6, 20), host::windowColor());
  area.DrawRectangle(0, 0, 100, 80);
  EXPECT_FALSE(area.OffScreenOn());
  EXPECT_EQ(pixel(0, 0), host::windowColor()) << "drawing counts in DrawMsg only";
}

TEST_F(AreaTest, EveryPictureBeginsOnTheWindowsColour) {
  int step = 0;
  area.draw = [&] {
    area.DrawSetPen(Vector(1, 1, 1));
    area.DrawRectangle(step, 0, step, 0);
    ++step;
  };
  open();
  EXPECT_EQ(pixel(0, 0), 0xffffffffu);
  advance(20);
  area.Redraw();
  runAll();
  EXPECT_EQ(pixel(0, 0), host::windowColor());
  EXPECT_EQ(pixel(1, 0), 0xffffffffu);
  const std::uint32_t dark = host::windowColor();
  host::setWindowColor(0xfff4f4f6);
  advance(20);
  EXPECT_EQ(pixel(0, 0), 0xfff4f4f6u);
  host::setWindowColor(dark);
}

TEST_F(AreaTest, RedrawsAreOneAFrame) {
  open();
  advance(16, 16);
  for (int i = 0; i < 5; ++i)
    area.Redraw();
  EXPECT_TRUE(area.calls.empty()) << "not at once";
  runAll();
  EXPECT_EQ(area.takeCalls(), Calls{"draw 0 0 119 89"});
  area.Redraw();
  area.Redraw();
  advance(15, 1);
  EXPECT_TRUE(area.calls.empty());
  advance(1);
  EXPECT_EQ(area.takeCalls(), Calls{"draw 0 0 119 89"});
  advance(100);
  EXPECT_TRUE(area.calls.empty());
  for (int i = 0; i < 160; ++i) {
    area.Redraw();
    advance(1);
  }
  EXPECT_EQ(area.calls.size(), 11u) << "at once, and then every 16 of 160 ms";
}

TEST_F(AreaTest, ARedrawWhileDrawingIsForTheNextFrame) {
  open();
  int left = 2;
  area.draw = [&] {
    if (left-- > 0) area.Redraw();
  };
  advance(20);
  area.Redraw();
  runAll();
  EXPECT_EQ(area.calls.size(), 1u);
  advance(16, 16);
  EXPECT_EQ(area.calls.size(), 2u);
  advance(100);
  EXPECT_EQ(area.calls.size(), 3u);
}

TEST_F(AreaTest, PaintAreaPaintsWhatWaits) {
  open();
  host::paintArea(area);
  EXPECT_TRUE(area.calls.empty());
  area.Redraw();
  host::paintArea(area);
  EXPECT_EQ(area.takeCalls(), Calls{"draw 0 0 119 89"});
  advance(100);
  EXPECT_TRUE(area.calls.empty());
}

TEST_F(AreaTest, ANewSizeIsPaintedAtOnceAndToldLater) {
  open();
  host::sizeArea(area, 200, 150);
  EXPECT_EQ(area.takeCalls(), (Calls{"size 200x150", "draw 0 0 199 149"}));
  EXPECT_EQ(host::areaSurface(area).pixelWidth(), 200);
  advance(100);
  host::sizeArea(area, 210, 150);
  host::sizeArea(area, 210, 150);
  EXPECT_EQ(area.takeCalls(), (Calls{"size 210x150", "draw 0 0 209 149"}));
  advance(140);
  EXPECT_TRUE(area.calls.empty());
  EXPECT_TRUE(dialog.calls.empty());
  advance(10);
  EXPECT_EQ(area.takeCalls(), Calls{"sized"});
  EXPECT_EQ(dialog.takeCalls(), Calls{"sized"});
  advance(1000);
  EXPECT_TRUE(area.calls.empty());
  host::sizeArea(area, 50, 50);
  host::sizeArea(area, 210, 150);
  area.calls.clear();
  advance(1000);
  EXPECT_TRUE(area.calls.empty()) << "it came back to the size that is known";
  EXPECT_TRUE(dialog.calls.empty());
}

TEST_F(AreaTest, TheFirstLayoutIsNotTold) {
  dialog.Open(DLG_TYPE_ASYNC, 1);
  dialog.calls.clear();
  advance(1000);
  EXPECT_TRUE(dialog.calls.empty());
}

TEST_F(AreaTest, ADisplayOfHighDensityHasMorePixels) {
  open();
  area.draw = [&] {
    area.DrawSetPen(Vector(1, 1, 1));
    area.DrawRectangle(1, 1, 1, 1);
  };
  host::sizeArea(area, 120, 90, 2);
  EXPECT_EQ(area.takeCalls(), Calls{"draw 0 0 119 89"}) << "the same size in logical pixels";
  EXPECT_EQ(host::areaSurface(area).pixelWidth(), 240);
  EXPECT_EQ(host::areaSurface(area).width(), 120);
  EXPECT_EQ(pixel(1, 1), host::windowColor());
  EXPECT_EQ(pixel(2, 2), 0xffffffffu);
  EXPECT_EQ(pixel(3, 3), 0xffffffffu);
  EXPECT_EQ(pixel(4, 4), host::windowColor());
  advance(1000);
  EXPECT_TRUE(dialog.calls.empty());
}

TEST_F(AreaTest, LayoutChangedAsksAtOnceAndSizesSoon) {
  open();
  area.minWidth = 640;
  area.minHeight = 480;
  area.LayoutChanged();
  EXPECT_EQ(area.takeCalls(), Calls{"min 100x80"});
  EXPECT_EQ(area.GetWidth(), 120);
  area.LayoutChanged();
  runAll();
  EXPECT_EQ(area.takeCalls(), (Calls{"min 100x80", "size 640x480", "draw 0 0 639 479"}));
  area.minWidth = 320;
  EXPECT_TRUE(dialog.LayoutChanged(AREA));
  runAll();
  EXPECT_EQ(area.GetWidth(), 320);
  area.minWidth = 330;
  EXPECT_TRUE(dialog.LayoutChanged(SCROLL));
  runAll();
  EXPECT_EQ(area.GetWidth(), 330) << "a group's areas are asked";
}

TEST_F(AreaTest, LayoutChangedWithinTheAnswerIsPassedOver) {
  open();
  area.minSize = [&] { area.LayoutChanged(); };
  area.LayoutChanged();
  runAll();
  EXPECT_EQ(area.takeCalls(), Calls{"min 100x80"});
  area.minSize = nullptr;
  area.sized = [&] { area.LayoutChanged(); };
  area.minWidth = 130;
  area.LayoutChanged();
  EXPECT_LT(runAll(), 10) << "it comes to an end";
  EXPECT_EQ(area.GetWidth(), 130);
}

TEST_F(AreaTest, SizesAreCut) {
  open();
  area.minWidth = 1 << 30;
  area.minHeight = -5;
  LONG w = 0, h = 0;
  area.LayoutChanged();
  host::areaMinSize(area, w, h);
  EXPECT_EQ(w, 32768);
  EXPECT_EQ(h, 0);
  area.calls.clear();
  runAll();
  EXPECT_EQ(area.calls, Calls{"size 32768x0"}) << "nothing to draw";
}

TEST_F(AreaTest, ItsTimerStandsStillWhileTheDialogIsClosed) {
  area.SetTimer(100);
  advance(300);
  EXPECT_TRUE(area.calls.empty());
  open();
  advance(100);
  EXPECT_EQ(area.takeCalls(), Calls{"timer"});
  advance(50);
  area.SetTimer(100);
  advance(90);
  EXPECT_TRUE(area.calls.empty());
  advance(10);
  EXPECT_EQ(area.takeCalls(), Calls{"timer"});
  dialog.Close();
  area.Redraw();
  advance(1000);
  EXPECT_TRUE(area.calls.empty());
  open();
  area.timer = [&] { area.SetTimer(0); };
  advance(1000);
  EXPECT_EQ(area.takeCalls(), Calls{"timer"});
}

TEST_F(AreaTest, AReopenedDialogStartsItAnew) {
  open();
  dialog.Close();
  const host::Gadget* old = host::findGadget(dialog, AREA);
  EXPECT_NE(old, nullptr);
  dialog.Open(DLG_TYPE_ASYNC, 1);
  EXPECT_EQ(area.calls, (Calls{"init", "min 100x80", "size 120x90", "values", "draw 0 0 119 89"}));
  EXPECT_EQ(host::dialogModel(dialog).root.children.size(), 1u);
}

TEST_F(AreaTest, ItOutlivesItsWindowAndItsDialog) {
  auto shortLived = std::make_unique<KitDialog>();
  shortLived->layout = [&] {
    shortLived->AddUserArea(AREA, 0);
    shortLived->AttachUserArea(area, AREA);
  };
  shortLived->Open(DLG_TYPE_ASYNC, 2);
  area.SetTimer(10);
  area.Redraw();
  shortLived.reset();
  area.calls.clear();
  area.Redraw();
  area.LayoutChanged();
  advance(100);
  EXPECT_TRUE(area.calls.empty());
  EXPECT_EQ(area.GetDialog(), nullptr);
  EXPECT_EQ(area.GetId(), 0);
  EXPECT_EQ(area.SendParentMessage(BaseContainer(BFM_ACTION)), 0);
}

TEST_F(AreaTest, TheDialogOutlivesIt) {
  {
    KitArea shortLived;
    dialog.layout = [&] {
      dialog.AddUserArea(AREA, 0);
      EXPECT_TRUE(dialog.AttachUserArea(shortLived, AREA));
      EXPECT_FALSE(dialog.AttachUserArea(shortLived, 999));
    };
    dialog.Open(DLG_TYPE_ASYNC, 1);
    shortLived.SetTimer(10);
    shortLived.Redraw();
    host::sizeArea(shortLived, 30, 30);
  }
  advance(1000);
  EXPECT_EQ(host::findGadget(dialog, AREA)->area, nullptr);
}

TEST_F(AreaTest, ItMayEndWhileItIsCalled) {
  for (const int when : {0, 1, 2}) {
    auto* gone = new KitArea;
    dialog.layout = [&] {
      dialog.AddUserArea(AREA, 0);
      dialog.AttachUserArea(*gone, AREA);
    };
    dialog.Open(DLG_TYPE_ASYNC, 1);
    const std::function<void()> end = [gone] { delete gone; };
    (when == 0 ? gone->sized : when == 1 ? gone->values : gone->timer) = [&end] { end(); };
    gone->SetTimer(10);
    if (when == 0) host::sizeArea(*gone, 77, 66);
    if (when == 1) {
      dialog.Close();
      dialog.Open(DLG_TYPE_ASYNC, 1);
    }
    advance(100);
    EXPECT_EQ(host::findGadget(dialog, AREA)->area, nullptr) << when;
    dialog.Close();
  }
}

TEST_F(AreaTest, AnAreaIsInOneGadget) {
  dialog.layout = [&] {
    dialog.AddUserArea(AREA, 0);
    dialog.AddUserArea(OTHER, 0);
    dialog.AttachUserArea(area, AREA);
    dialog.AttachUserArea(area, OTHER);
  };
  dialog.Open(DLG_TYPE_ASYNC, 1);
  EXPECT_EQ(host::findGadget(dialog, AREA)->area, nullptr);
  EXPECT_EQ(area.GetId(), OTHER);
  KitArea late;
  EXPECT_TRUE(dialog.AttachUserArea(late, AREA));
  EXPECT_TRUE(late.calls.empty());
  runAll();
  EXPECT_EQ(late.calls.front(), "init") << "an area that comes later is started soon";
}

TEST_F(AreaTest, CoreMessagesComeAfterTheDialogs) {
  Calls order;
  dialog.coreMessage = [&] { EXPECT_TRUE(area.calls.empty()); };
  EventAdd();
  runAll();
  EXPECT_EQ(dialog.takeCalls(), Calls{"core 604"});
  EXPECT_TRUE(area.calls.empty()) << "not shown";
  open();
  EventAdd();
  runAll();
  EXPECT_EQ(dialog.takeCalls(), Calls{"core 604"});
  EXPECT_EQ(area.takeCalls(), Calls{"core 604"});
  dialog.coreMessage = [&] { dialog.Close(); };
  EventAdd();
  runAll();
  EXPECT_TRUE(area.calls.empty());
}

// ---- Input

TEST_F(AreaTest, AClickComesInTheWindowsCoordinates) {
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

TEST_F(AreaTest, AHoverAsksForTheCursor) {
  open();
  EXPECT_EQ(host::hoverMouse(area, 1, 1), MOUSE_NORMAL);
  area.cursor = MOUSE_MOVE;
  EXPECT_EQ(host::hoverMouse(area, 7, 8), MOUSE_MOVE);
  EXPECT_TRUE(host::inputState().known);
  EXPECT_EQ(host::inputState().mouseX, 11);
  EXPECT_EQ(host::inputState().mouseY, 12);
}

TEST_F(AreaTest, ItsMessagesReachTheDialog) {
  open();
  BaseContainer message(BFM_ACTION);
  message.SetLong(BFM_ACTION_ID, AREA);
  EXPECT_EQ(area.SendParentMessage(message), 1);
  EXPECT_EQ(dialog.calls, Calls{"command 1123"});
}

// ---- Areas that fill a scroll group

/// As large as what the group shows.
class FilledGroupTest : public AreaTest {
 protected:
  FilledGroupTest() {
    area.minSize = [&] {
      if (fixed) return;
      const host::Place shown = visible();
      area.minWidth = shown.width, area.minHeight = shown.height;
    };
    open();
    resize(400, 300);
    EXPECT_EQ(size(), "400 x 300");
    dialog.calls.clear();
  }
  host::Place visible() {
    LONG left = 0, top = 0, right = 0, bottom = 0;
    dialog.GetVisibleArea(SCROLL, &left, &top, &right, &bottom);
    return {left, top, right - left, bottom - top};
  }
  std::string size() { return std::to_string(area.GetWidth()) + " x " + std::to_string(area.GetHeight()); }
  /// Up to the settled size.
  void resize(LONG width, LONG height) {
    host::setScrollSize(dialog, SCROLL, width, height);
    area.LayoutChanged();
    advance(1000);
  }
  /// As a viewer that keeps its bitmap when one side alone differs.
  void render() {
    host::countPluginRender();
    if (area.GetWidth() == bitmapWidth || area.GetHeight() == bitmapHeight) return;
    bitmapWidth = area.GetWidth(), bitmapHeight = area.GetHeight();
  }
  bool isSquashed() const { return (area.GetWidth() == bitmapWidth) != (area.GetHeight() == bitmapHeight); }
  LONG bitmapWidth = 0, bitmapHeight = 0;
  bool fixed = false;
};

TEST_F(FilledGroupTest, GiveUpAPixelWhenTheOtherSideAloneHasChanged) {
  render();
  resize(500, 300);
  EXPECT_EQ(size(), "500 x 299");
  EXPECT_EQ(visible().height, 299);
  EXPECT_EQ(std::count(dialog.calls.begin(), dialog.calls.end(), "sized"), 1) << "the last size is told";
  render();
  resize(600, 300);
  EXPECT_EQ(size(), "600 x 300") << "and regain it";
  render();
  resize(600, 200);
  EXPECT_EQ(size(), "599 x 200");
  render();
  resize(700, 250);
  EXPECT_EQ(size(), "700 x 250") << "both sides differ";
}

TEST_F(FilledGroupTest, NeverDriftOverManyResizes) {
  std::uint32_t state = 5;
  const auto next = [&state](LONG below) {
    state = state * 1664525u + 1013904223u;
    return static_cast<LONG>(state >> 16) % below;
  };
  LONG width = 400, height = 300;
  for (int round = 0; round < 600; ++round) {
    SCOPED_TRACE(round);
    if (next(2) == 0) render();
    if (next(3) != 0)
      width = 400 + next(4);
    else
      height = 300 + next(4);
    resize(width, height);
    ASSERT_FALSE(isSquashed()) << size() << " for " << bitmapWidth << " x " << bitmapHeight;
    ASSERT_LE(width - area.GetWidth() + height - area.GetHeight(), 1);
    ASSERT_GE(width, area.GetWidth());
    ASSERT_GE(height, area.GetHeight());
  }
}

TEST_F(FilledGroupTest, OfAFixedSizeKeepTheGroupWhole) {
  render();
  fixed = true;
  area.minWidth = 350, area.minHeight = 300;
  resize(350, 300);
  EXPECT_EQ(size(), "350 x 300");
  EXPECT_EQ(visible().height, 300);
  EXPECT_EQ(std::count(dialog.calls.begin(), dialog.calls.end(), "sized"), 1);
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

TEST_F(AreaTest, AViewIsToldAndDecidesSizes) {
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

TEST_F(AreaTest, AViewMayAskForTheSizeFirst) {
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
