// User areas: the order of their calls, painting, sizes, timers.
#include "area_kit.h"

namespace {

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

TEST_F(AreaTest, PaintAreaPaintsAPendingRedraw) {
  open();
  host::paintArea(area);
  EXPECT_TRUE(area.calls.empty());
  area.Redraw();
  host::paintArea(area);
  EXPECT_EQ(area.takeCalls(), Calls{"draw 0 0 119 89"});
  advance(100);
  EXPECT_TRUE(area.calls.empty());
}

TEST_F(AreaTest, ANewSizeIsPaintedAtOnceAndReportedLater) {
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

TEST_F(AreaTest, TheFirstLayoutIsNotReported) {
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

} // namespace
