// Isolate, Render Here First, and panels that become tabs.
#include <QLabel>

#include "film.h"
#include "frame_buffer.h"
#include "frame_steering.h"
#include "manager_kit.h"
#include "picture_canvas.h"
#include "render_steering.h"

using namespace host;

namespace {

class FrameSteeringTest : public ManagerTest {
 public:
  FrameSteeringTest() {
    frame = std::make_unique<FrameBuffer>(*session);
    frame->resize(900, 640);
    frame->show();
    frame->activateWindow();
    auto film = std::make_shared<Film>(40, 30);
    const SharedBitmap bitmap = makeBitmap(40, 30);
    setFilm(*bitmap, film);
    session->pictures().open(bitmap, "film");
    settle();
    frame->canvas().setFocus();
  }
  ~FrameSteeringTest() override { frame.reset(); }

  QAction* action(const char* name) { return frame->findChild<QAction*>(QLatin1String(name)); }
  QString said() { return frame->findChild<QLabel*>("renderProgress")->text(); }
  void point(int x, int y) {
    const QRectF place = frame->canvas().pictureRect();
    const double size = frame->canvas().zoom();
    QTest::mouseMove(&frame->canvas(),
                     (place.topLeft() + QPointF((x + 0.5) * size, (y + 0.5) * size)).toPoint());
    settle();
  }
  void pointBeside() {
    QTest::mouseMove(&frame->canvas(), {2, 2});
    settle();
    ASSERT_EQ(frame->canvas().hoveredPixel(), QPoint(-1, -1));
  }
  void press(Qt::Key key) {
    QTest::keyClick(&frame->canvas(), key);
    settle();
  }

  std::unique_ptr<FrameBuffer> frame;
};

TEST_F(FrameSteeringTest, IsolateHoldsTheSelectionOfItsMoment) {
  int changes = 0;
  const Subscription heard = session->hub().changed.add([&] { ++changes; });
  press(Qt::Key_I);
  EXPECT_TRUE(render::isolatedObjects().empty()) << "nothing is selected";
  EXPECT_FALSE(action("isolate")->isChecked());
  EXPECT_TRUE(said().startsWith("Select the objects"));
  select({id("body"), id("arm")});
  changes = 0;
  press(Qt::Key_I);
  EXPECT_EQ(render::isolatedObjects(), std::vector{id("body")}) << "the arm lies below it";
  EXPECT_TRUE(action("isolate")->isChecked());
  EXPECT_EQ(changes, 1) << "the viewer renders again";
  EXPECT_FALSE(edits().isDirty()) << "no change of the document";
  select({id("lamp")});
  EXPECT_EQ(render::isolatedObjects(), std::vector{id("body")});
  press(Qt::Key_I);
  EXPECT_TRUE(render::isolatedObjects().empty());
  EXPECT_FALSE(action("isolate")->isChecked());
}

TEST_F(FrameSteeringTest, AnotherSceneShowsEverything) {
  select({id("body")});
  press(Qt::Key_I);
  frame->steering().setStart(render::PicturePlace{0.5f, 0.5f});
  session->hub().replace(scene(), Replacement::opened);
  settle();
  EXPECT_TRUE(render::isolatedObjects().empty());
  EXPECT_FALSE(render::renderStart());
  EXPECT_FALSE(action("isolate")->isChecked());
  EXPECT_FALSE(action("render-here")->isChecked());
}

TEST_F(FrameSteeringTest, RendersBeginAtThePointer) {
  pointBeside(); // a new window opens below the pointer of the test before
  press(Qt::Key_O);
  EXPECT_FALSE(render::renderStart());
  EXPECT_TRUE(said().startsWith("Point at the place"));
  const QImage plain = frame->canvas().grab().toImage();
  point(9, 5);
  press(Qt::Key_O);
  ASSERT_TRUE(render::renderStart());
  EXPECT_EQ(*render::renderStart(), (render::PicturePlace{9.5f / 40, 5.5f / 30}));
  EXPECT_TRUE(action("render-here")->isChecked());
  EXPECT_NE(frame->canvas().grab().toImage(), plain) << "the mark";
  keepPicture(*frame, QStringLiteral("frame-render-here"));
  pointBeside();
  press(Qt::Key_O);
  EXPECT_FALSE(render::renderStart());
  EXPECT_EQ(frame->canvas().grab().toImage(), plain);
}

TEST_F(FrameSteeringTest, PanelsThatDoNotFitBecomeTabs) {
  class Panel : public QWidget {
   public:
    QSize sizeHint() const override { return {200, 400}; }
  };
  auto *first = new Panel, *second = new Panel;
  QAction* one = frame->addPanel(first, "one", "One");
  QAction* two = frame->addPanel(second, "two", "Two");
  one->trigger();
  two->trigger();
  settle();
  const auto* dock = frame->findChild<QDockWidget*>("panel-one");
  ASSERT_EQ(frame->tabifiedDockWidgets(const_cast<QDockWidget*>(dock)).size(), 1);
  EXPECT_TRUE(second->isVisible()) << "the new one is in front";
  EXPECT_GE(second->height(), 300) << "not squeezed";
  keepPicture(*frame, QStringLiteral("frame-panel-tabs"));
}

TEST_F(FrameSteeringTest, PanelsThatFitStandBelowEachOther) {
  frame->resize(900, 700);
  settle();
  class Panel : public QWidget {
   public:
    QSize sizeHint() const override { return {200, 150}; }
  };
  auto *first = new Panel, *second = new Panel;
  frame->addPanel(first, "one", "One")->trigger();
  frame->addPanel(second, "two", "Two")->trigger();
  settle();
  EXPECT_TRUE(first->isVisible() && second->isVisible());
  EXPECT_TRUE(frame->tabifiedDockWidgets(frame->findChild<QDockWidget*>("panel-one")).isEmpty());
}

} // namespace
