// User areas in widgets: pixels, sizes, the mouse, and areas that follow what a scroll group shows.
#include <QImage>
#include <QScrollBar>

#include "area_widget.h"
#include "dialog_window.h"
#include "gadget_actions.h"
#include "gadget_dialog.h"
#include "gadget_widgets.h"
#include "live_link.h"
#include "plugin_renders.h"
#include "qt_fixture.h"
#include "quick_repaint.h"

namespace {

constexpr LONG idScroll = 10, idArea = 11;

class DialogArea : public QtFixture {
 public:
  DialogArea() {
    startDesktop();
    dialog.layout = [this] {
      if (scrolls)
        dialog.ScrollGroupBegin(idScroll, BFH_SCALEFIT | BFV_SCALEFIT, SCROLLGROUP_VERT | SCROLLGROUP_HORIZ);
      dialog.AddUserArea(idArea, flags);
      dialog.AttachUserArea(area, idArea);
      if (scrolls) dialog.GroupEnd();
    };
  }
  ~DialogArea() override { dialog.Close(); }

  void open(LONG width = 0, LONG height = 0) {
    ASSERT_TRUE(dialog.Open(DLG_TYPE_ASYNC, 78, -1, -1, width, height));
    settle();
  }
  host::DialogWindow& window() { return *desktop->windowOf(dialog); }
  QWidget& widget() { return *window().gadgetWidget(idArea); }
  host::ScrollGroup& scroll() { return dynamic_cast<host::ScrollGroup&>(*window().gadgetWidget(idScroll)); }
  void resize(int width, int height) {
    window().resize(width, height);
    settle();
  }
  QSize visible() {
    LONG left = 0, top = 0, right = 0, bottom = 0;
    EXPECT_TRUE(dialog.GetVisibleArea(idScroll, &left, &top, &right, &bottom));
    return {right - left, bottom - top};
  }
  void expectPicture() {
    const QImage picture = widget().grab().toImage();
    const int right = picture.width() - 1, bottom = picture.height() - 1;
    ASSERT_EQ(picture.size(), widget().size());
    for (const QPoint& corner : {QPoint(0, 0), QPoint(right, 0), QPoint(0, bottom), QPoint(right, bottom)})
      EXPECT_EQ(picture.pixelColor(corner), QColor(0, 255, 0)) << corner.x() << ", " << corner.y();
    EXPECT_EQ(picture.pixelColor(right / 2, bottom / 2), QColor(255, 0, 0));
    EXPECT_EQ(picture.pixelColor(1, 0), QColor(255, 0, 0));
  }

  TestDialog dialog;
  TestArea area;
  bool scrolls = false;
  LONG flags = BFH_SCALEFIT | BFV_SCALEFIT;
};

TEST_F(DialogArea, ShowsTheSurfacePixelByPixel) {
  open(200, 100);
  EXPECT_EQ(widget().size(), QSize(200, 100));
  EXPECT_EQ(area.GetWidth(), 200);
  expectPicture();
}

TEST_F(DialogArea, ResizeIsPaintedAtOnce) {
  open(200, 100);
  window().resize(301, 77); // without any event in between
  expectPicture();
  EXPECT_EQ(area.GetWidth(), 301);
  EXPECT_EQ(area.GetHeight(), 77);
  window().resize(90, 300);
  expectPicture();
}

TEST_F(DialogArea, DensityOfTheScreenIsKept) {
  open(100, 50);
  host::sizeArea(area, 100, 50, 2);
  EXPECT_EQ(host::areaSurface(area).pixelWidth(), 200);
  // The widget's own screen has one pixel a pixel: the next paint goes back to it.
  widget().grab();
  EXPECT_EQ(host::areaSurface(area).pixelWidth(), 100);
}

// After a change through the live link, a plug-in's render is shown before its own timer looks.
TEST_F(DialogArea, LiveChangesArePaintedSooner) {
  open(100, 50);
  host::Session session;
  host::LiveLink link(session);
  host::QuickRepaint quick(link);
  area.draws = 0;
  quick.begin();
  EXPECT_TRUE(waitFor([&] { return !quick.isActive(); })) << "it ends by itself";
  EXPECT_EQ(area.draws, 0) << "no render has begun";
  quick.begin();
  host::countPluginRender();
  EXPECT_TRUE(waitFor([&] { return area.draws >= 3; }));
  EXPECT_TRUE(waitFor([&] { return !quick.isActive(); }));
}

TEST_F(DialogArea, MinimumSizeIsTheWidgets) {
  open();
  EXPECT_EQ(widget().minimumSize(), QSize(60, 40));
  area.minWidth = 320;
  area.minHeight = 240;
  area.LayoutChanged();
  settle();
  EXPECT_EQ(widget().minimumSize(), QSize(320, 240));
  EXPECT_GE(window().width(), 320);
  EXPECT_EQ(area.GetWidth(), 320);
  expectPicture();
}

TEST_F(DialogArea, CenteredAreaKeepsItsSize) {
  scrolls = true;
  flags = BFH_CENTER | BFV_CENTER;
  open(200, 100);
  EXPECT_EQ(widget().size(), QSize(60, 40));
  EXPECT_EQ(widget().pos(), QPoint(70, 30));
}

TEST_F(DialogArea, ScrollGroupShowsItsWholeSizeWhileEverythingFits) {
  scrolls = true;
  flags = BFH_CENTER | BFV_CENTER;
  open(300, 200);
  EXPECT_EQ(visible(), QSize(300, 200));
  EXPECT_FALSE(scroll().verticalScrollBar()->isVisible());
}

TEST_F(DialogArea, ScrollGroupReportsItsVisiblePart) {
  scrolls = true;
  flags = BFH_CENTER | BFV_CENTER;
  area.minWidth = 1000;
  area.minHeight = 800;
  open(300, 200);
  const int bar = scroll().verticalScrollBar()->width();
  EXPECT_EQ(visible(), QSize(300 - bar, 200 - bar));
  scroll().horizontalScrollBar()->setValue(50);
  scroll().verticalScrollBar()->setValue(20);
  LONG left = 0, top = 0, right = 0, bottom = 0;
  dialog.GetVisibleArea(idScroll, &left, &top, &right, &bottom);
  EXPECT_EQ(left, 50);
  EXPECT_EQ(top, 20);
  EXPECT_EQ(right, 50 + 300 - bar);
  EXPECT_EQ(widget().size(), QSize(1000, 800));
}

TEST_F(DialogArea, AreaFollowsTheDialogInBothDirections) {
  scrolls = true;
  flags = BFH_CENTER | BFV_CENTER;
  area.visibleGroup = idScroll;
  open(300, 200);
  EXPECT_EQ(widget().size(), QSize(300, 200));
  for (const QSize& size :
       {QSize(640, 480), QSize(200, 150), QSize(201, 480), QSize(640, 100), QSize(300, 200)}) {
    resize(size.width(), size.height());
    EXPECT_EQ(widget().size(), size);
    EXPECT_EQ(visible(), size);
    EXPECT_FALSE(scroll().verticalScrollBar()->isVisible());
    EXPECT_FALSE(scroll().horizontalScrollBar()->isVisible());
    expectPicture();
  }
}

TEST_F(DialogArea, OneSideAloneChangesTheOtherByAPixel) {
  scrolls = true;
  flags = BFH_CENTER | BFV_CENTER;
  area.visibleGroup = idScroll;
  open(300, 200);
  QSize bitmap = widget().size(); // as a viewer keeps it
  host::countPluginRender();
  for (int round = 0; round < 12; ++round) {
    const QSize shown(round % 2 ? 300 : 340 + round, 200);
    resize(shown.width(), shown.height());
    const auto follows = [&] {
      const QSize now = widget().size();
      return (now.width() == bitmap.width()) == (now.height() == bitmap.height());
    };
    EXPECT_TRUE(waitFor(follows)) << round;
    const QSize now = widget().size();
    EXPECT_EQ(now, visible());
    EXPECT_EQ(QSize(area.GetWidth(), area.GetHeight()), now);
    EXPECT_EQ(now.width(), shown.width());
    EXPECT_TRUE(now.height() == 200 || now.height() == 199) << now.height();
    EXPECT_FALSE(scroll().verticalScrollBar()->isVisible());
    EXPECT_FALSE(scroll().horizontalScrollBar()->isVisible());
    EXPECT_EQ(window().size(), shown) << "the window keeps its size";
    expectPicture();
    host::countPluginRender();
    bitmap = now;
  }
}

TEST_F(DialogArea, WindowDoesNotGrowByItself) {
  scrolls = true;
  flags = BFH_CENTER | BFV_CENTER;
  area.visibleGroup = idScroll;
  open(300, 200);
  for (int i = 0; i < 20; ++i) {
    area.LayoutChanged();
    settle();
  }
  EXPECT_EQ(window().size(), QSize(300, 200));
  area.visibleGroup = 0;
  area.minWidth = 1024;
  area.minHeight = 768;
  area.LayoutChanged();
  settle();
  EXPECT_EQ(window().size(), QSize(300, 200)); // bars instead
  EXPECT_EQ(widget().size(), QSize(1024, 768));
}

TEST_F(DialogArea, OpensWithoutASizeAtAUsableOne) {
  scrolls = true;
  flags = BFH_CENTER | BFV_CENTER;
  area.visibleGroup = idScroll;
  open();
  EXPECT_GE(widget().width(), 120);
  EXPECT_GE(widget().height(), 90);
  EXPECT_EQ(widget().size(), visible());
}

TEST_F(DialogArea, MouseReachesTheArea) {
  open(200, 100);
  QTest::mouseClick(&widget(), Qt::LeftButton, Qt::ShiftModifier, QPoint(30, 20));
  ASSERT_EQ(area.inputs.size(), 1u);
  EXPECT_EQ(area.inputs[0].GetLong(BFM_INPUT_DEVICE), BFM_INPUT_MOUSE);
  EXPECT_EQ(area.inputs[0].GetLong(BFM_INPUT_CHANNEL), BFM_INPUT_MOUSELEFT);
  EXPECT_EQ(area.inputs[0].GetLong(BFM_INPUT_QUALIFIER), QSHIFT);
  QTest::mouseClick(&widget(), Qt::RightButton, {}, QPoint(30, 20));
  ASSERT_EQ(area.inputs.size(), 2u);
  EXPECT_EQ(area.inputs[1].GetLong(BFM_INPUT_CHANNEL), BFM_INPUT_MOUSERIGHT);
}

TEST_F(DialogArea, AreaHearsOfThePointer) {
  open(200, 100);
  QMouseEvent move(QEvent::MouseMove, QPointF(50, 40), widget().mapToGlobal(QPointF(50, 40)), Qt::NoButton,
                   Qt::NoButton, Qt::AltModifier);
  QApplication::sendEvent(&widget(), &move);
  EXPECT_EQ(area.calls.back(), "hover");
  EXPECT_EQ(widget().cursor().shape(), Qt::SizeAllCursor);
  // Queries of the area.
  BaseContainer state;
  ASSERT_TRUE(area.GetInputState(BFM_INPUT_MOUSE, BFM_INPUT_MOUSELEFT, state));
  EXPECT_EQ(state.GetLong(BFM_INPUT_VALUE), 0);
  EXPECT_EQ(state.GetLong(BFM_INPUT_QUALIFIER), QALT);
  EXPECT_EQ(host::inputState().mouseX, widget().mapToGlobal(QPoint(50, 40)).x());
  EXPECT_EQ(host::inputState().mouseY, widget().mapToGlobal(QPoint(50, 40)).y());
}

TEST_F(DialogArea, ButtonsAreKnownWhileTheyAreHeld) {
  open(200, 100);
  QTest::mousePress(&widget(), Qt::LeftButton, {}, QPoint(5, 5));
  EXPECT_TRUE(host::inputState().left);
  QTest::mouseRelease(&widget(), Qt::LeftButton, {}, QPoint(5, 5));
  EXPECT_FALSE(host::inputState().left);
}

TEST_F(DialogArea, TimerRunsWithQtsLoop) {
  open(200, 100);
  area.SetTimer(5);
  EXPECT_TRUE(waitFor([&] { return area.timers >= 3; }));
  area.SetTimer(0);
  const LONG count = area.timers;
  QTest::qWait(30);
  EXPECT_EQ(area.timers, count);
}

TEST_F(DialogArea, RedrawReachesTheScreen) {
  open(200, 100);
  settle();
  area.color = Vector(0, 0, 1);
  EXPECT_EQ(widget().grab().toImage().pixelColor(50, 50), QColor(255, 0, 0)); // not before it is asked to
  area.Redraw();
  EXPECT_TRUE(waitFor([&] { return widget().grab().toImage().pixelColor(50, 50) == QColor(0, 0, 255); }));
}

TEST_F(DialogArea, EmptyGadgetIsTheWindowsGround) {
  dialog.layout = [this] { dialog.AddUserArea(idArea, flags, 50, 50); };
  open(100, 100);
  const QImage picture = widget().grab().toImage();
  EXPECT_EQ(picture.pixel(10, 10), host::windowColor());
}

} // namespace
