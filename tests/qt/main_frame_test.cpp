// The place of the Frame Buffer's window beside the main window, and over sessions.
#include <QDockWidget>

#include "frame_buffer.h"
#include "main_kit.h"
#include "preferences.h"
#include "stored_layout.h"
#include "window_layout.h"

namespace {

class MainFrameBuffer : public StudioTest {
 protected:
  QDockWidget* viewer() { return window().findChild<QDockWidget*>("dialog-1021442-0"); }
};

TEST_F(MainFrameBuffer, TheFrameBufferOpensBesideTheViewer) {
  linkPlugin = true;
  startStudio();
  window().setGeometry(20, 40, 760, 520);
  ASSERT_TRUE(session().runCommand(1021442));
  settle();
  const auto onScreen = [](const QWidget& widget) {
    return QRect(widget.mapToGlobal(QPoint(0, 0)), widget.size());
  };
  viewer()->setFloating(true);
  viewer()->setGeometry(560, 60, 220, 300);
  settle();
  host::FrameBuffer& frame = window().frameBuffer();
  choose("render.viewer");
  const QRect screen = window().screen()->availableGeometry();
  EXPECT_TRUE(frame.isVisible());
  EXPECT_FALSE(onScreen(frame).intersects(onScreen(*viewer())));
  EXPECT_TRUE(screen.contains(onScreen(frame)));
  // Where the user put it, it opens again.
  frame.setGeometry(30, 50, 600, 400);
  settle();
  frame.close();
  choose("render.viewer");
  EXPECT_EQ(frame.geometry(), QRect(30, 50, 600, 400));
}

TEST_F(MainFrameBuffer, TwoWindowsShareAWideScreen) {
  startStudio();
  const QSize wanted(960, 640);
  const host::TwoPlaces full = host::sideBySide(QRect(0, 0, 1920, 1080), wanted);
  EXPECT_EQ(full.first, QRect(8, 102, 1208, 900));
  EXPECT_EQ(full.second, QRect(1232, 102, 680, 900));
  const host::TwoPlaces wide = host::sideBySide(QRect(0, 40, 3840, 1560), wanted);
  EXPECT_EQ(wide.first, QRect(712, 382, 1440, 900));
  EXPECT_EQ(wide.second, QRect(2168, 382, 960, 900));
  EXPECT_FALSE(host::hasRoomBeside(window())) << "of 800 pixels";
}

TEST_F(MainFrameBuffer, TheFrameBufferIsThereAgainIfItWasOpen) {
  startStudio();
  choose("render.viewer");
  host::FrameBuffer& frame = window().frameBuffer();
  frame.setGeometry(60, 70, 620, 430);
  auto* scopes = frame.findChild<QDockWidget*>(QStringLiteral("panel-scopes"));
  ASSERT_NE(scopes, nullptr);
  scopes->show();
  settle();
  window().close(); // as a user ends the program, which closes all windows
  frame.close();
  startStudio();
  ASSERT_TRUE(waitFor([&] { return window().frameBuffer().isVisible(); }));
  EXPECT_EQ(window().frameBuffer().geometry(), QRect(60, 70, 620, 430));
  EXPECT_TRUE(window().frameBuffer().findChild<QDockWidget*>(QStringLiteral("panel-scopes"))->isVisible());
  window().frameBuffer().close();
  settle();
  startStudio();
  settle();
  EXPECT_FALSE(window().frameBuffer().isVisible());
  choose("render.viewer");
  EXPECT_EQ(window().frameBuffer().geometry(), QRect(60, 70, 620, 430));
}

TEST_F(MainFrameBuffer, AKilledStudioKeepsThePlaceOfTheFrameBuffer) {
  startStudio();
  choose("render.viewer");
  window().frameBuffer().setGeometry(60, 70, 620, 430);
  const auto stored = [] {
    QString trouble;
    const auto layout = host::readLayout(host::frameBufferLayout, trouble);
    return layout && layout->size == QSize(620, 430) && layout->open;
  };
  EXPECT_TRUE(waitFor(stored));
}

TEST_F(MainFrameBuffer, ADamagedPlaceOfTheFrameBufferIsNotUsed) {
  startStudio();
  choose("render.viewer");
  window().frameBuffer().setGeometry(60, 70, 620, 430);
  window().frameBuffer().close();
  startStudio();
  BaseContainer layout = *host::preferences()->getNamed(host::frameBufferLayout);
  layout.SetLong(6, 7); // another width
  host::preferences()->setNamed(host::frameBufferLayout, layout);
  startStudio();
  settle();
  EXPECT_FALSE(window().frameBuffer().isVisible());
  choose("render.viewer");
  EXPECT_TRUE(window().frameBuffer().isVisible());
  EXPECT_EQ(window().frameBuffer().size(), window().frameBuffer().sizeHint());
}

TEST_F(MainFrameBuffer, BesideGoesWhereTheRoomIs) {
  const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
  QWidget window;
  window.resize(screen.width(), screen.height());
  const QRect right(screen.right() - 199, screen.top() + 100, 200, 300);
  ASSERT_TRUE(host::placeBeside(window, right));
  EXPECT_EQ(window.geometry().right() + 1, right.left() - 8);
  EXPECT_EQ(window.geometry().left(), screen.left() + 8);
  const QRect left(screen.left(), screen.top() + 100, 200, 300);
  window.resize(500, 300);
  ASSERT_TRUE(host::placeBeside(window, left));
  EXPECT_EQ(window.geometry(), QRect(left.right() + 1 + 8, left.top(), 500, 300));
  // A rectangle that leaves a strip on both sides.
  EXPECT_FALSE(host::placeBeside(window, screen.adjusted(200, 0, -200, 0)));
  EXPECT_EQ(window.geometry(), QRect(left.right() + 1 + 8, left.top(), 500, 300));
}

} // namespace
