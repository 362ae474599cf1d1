// Docks, layout, full screen, dialogs of plug-ins, console, status.
#include <QDockWidget>
#include <QProgressBar>
#include <QToolButton>

#include "area_widget.h"
#include "c4d_events.h"
#include "console.h"
#include "console_widget.h"
#include "editor_view_widget.h"
#include "full_picture.h"
#include "host_renders.h"
#include "main_kit.h"
#include "preferences.h"
#include "scene_edits.h"
#include "status_widget.h"
#include "stored_layout.h"
#include "timeline_widget.h"
#include "window_layout.h"

namespace {

class MainLayout : public StudioTest {
 protected:
  QDockWidget& dock(const char* name) { return *window().findChild<QDockWidget*>(QLatin1String(name)); }
  QDockWidget* viewer() { return window().findChild<QDockWidget*>("dialog-1021442-0"); }
  /// Starts Studio again; returns its console lines about the layout.
  std::vector<std::string> linesOfAStart() {
    std::vector<std::string> said;
    const std::uint64_t listener = host::addConsoleListener([&](const String& line) {
      if (line.FindFirst("window layout", nullptr)) said.push_back(line.GetUTF8());
    });
    startStudio();
    host::removeConsoleListener(listener);
    return said;
  }
  void focus(QWidget& widget) {
    window().activateWindow();
    EXPECT_TRUE(waitFor([&] { return window().isActiveWindow(); }));
    widget.setFocus();
  }
  static QColor meanOf(const QImage& image) {
    return image.scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).pixelColor(0, 0);
  }
};

TEST_F(MainLayout, StandsAsItIsDrawn) {
  startStudio();
  const auto area = [&](const char* name) { return window().dockWidgetArea(&dock(name)); };
  EXPECT_EQ(area("dock-objects"), Qt::LeftDockWidgetArea);
  EXPECT_EQ(area("dock-materials"), Qt::LeftDockWidgetArea);
  EXPECT_EQ(area("dock-attributes"), Qt::RightDockWidgetArea);
  EXPECT_EQ(area("dock-console"), Qt::BottomDockWidgetArea);
  EXPECT_FALSE(dock("dock-console").isVisible());
  EXPECT_GT(dock("dock-materials").y(), dock("dock-objects").y());
  EXPECT_GT(window().timeline().mapToGlobal(QPoint()).y(), window().viewWidget().mapToGlobal(QPoint()).y());
}

TEST_F(MainLayout, ComesBackAtTheNextStart) {
  startStudio();
  window().addDockWidget(Qt::LeftDockWidgetArea, &dock("dock-attributes"));
  dock("dock-console").show();
  window().resize(1111, 777);
  settle();
  startStudio();
  EXPECT_EQ(window().dockWidgetArea(&dock("dock-attributes")), Qt::LeftDockWidgetArea);
  EXPECT_TRUE(dock("dock-console").isVisible());
  EXPECT_EQ(window().size(), QSize(1111, 777));
  choose("window.reset");
  EXPECT_EQ(window().dockWidgetArea(&dock("dock-attributes")), Qt::RightDockWidgetArea);
  EXPECT_FALSE(dock("dock-console").isVisible());
}

TEST_F(MainLayout, IsStoredSoonAfterAChange) {
  startStudio();
  const int before = studio().program().preferences().writeCount();
  dock("dock-console").show();
  EXPECT_TRUE(waitFor([&] { return studio().program().preferences().writeCount() > before; }));
}

TEST_F(MainLayout, AnUnusableOneIsDroppedWithALine) {
  const struct {
    const char* word; // of the line
    std::function<void(BaseContainer&)> spoil;
  } damages[] = {
      {"damaged",
       [](BaseContainer& layout) {
         std::size_t count = 0;
         const auto* bytes = static_cast<const char*>(layout.GetMemory(3, &count));
         std::string state(bytes, count);
         for (std::size_t i = 8; i < state.size(); i += 3)
           state[i] = static_cast<char>(state[i] ^ 0x5a);
         layout.SetMemory(3, state.data(), state.size());
       }},
      {"damaged", [](BaseContainer& layout) { layout.RemoveData(3); }},
      {"damaged", [](BaseContainer& layout) { layout.SetLong(6, 7); }},
      {"another version", [](BaseContainer& layout) { layout.SetLong(1, 1); }},
      {"another version", [](BaseContainer& layout) { layout.SetString(1, "2"); }},
  };
  for (const auto& damage : damages) {
    startStudio();
    dock("dock-console").show();
    settle();
    stopStudio();
    startHost();
    BaseContainer layout = *host::preferences()->getNamed("window");
    damage.spoil(layout);
    host::preferences()->setNamed("window", layout);
    stopHost();
    const std::vector<std::string> said = linesOfAStart();
    EXPECT_FALSE(dock("dock-console").isVisible());
    EXPECT_EQ(window().dockWidgetArea(&dock("dock-objects")), Qt::LeftDockWidgetArea);
    ASSERT_EQ(said.size(), 1u);
    EXPECT_NE(said[0].find(damage.word), std::string::npos) << said[0];
  }
}

TEST_F(MainLayout, AMissingLayoutGivesNoLine) {
  EXPECT_TRUE(linesOfAStart().empty());
  EXPECT_TRUE(linesOfAStart().empty());
}

TEST_F(MainLayout, TroubleIsFound) {
  startStudio();
  window().resize(700, 500);
  settle();
  EXPECT_EQ(host::layoutTrouble(window()), QString());
  const QRect place = dock("dock-objects").geometry();
  dock("dock-objects").setGeometry(place.translated(-60, 0));
  EXPECT_TRUE(host::layoutTrouble(window()).contains("out of the window"));
  dock("dock-objects").setGeometry(place.translated(120, 0));
  EXPECT_TRUE(host::layoutTrouble(window()).contains("over another"));
  dock("dock-objects").setGeometry(place);
  EXPECT_EQ(host::layoutTrouble(window()), QString());
  dock("dock-console").setFloating(true);
  dock("dock-console").show();
  dock("dock-console").move(9000, 9000);
  EXPECT_TRUE(host::layoutTrouble(window()).contains("off the screen"));
  dock("dock-console").setFloating(false);
  window().move(-5000, 40);
  EXPECT_TRUE(host::layoutTrouble(window()).contains("off the screen"));
}

// A maximized window shows at its normal size for a moment, which is too small for these docks.
TEST_F(MainLayout, OneOfAMaximizedWindowComesBackWithItsDialogs) {
  linkPlugin = true;
  startStudio();
  ASSERT_TRUE(session().runCommand(1021442));
  dock("dock-objects").hide();
  dock("dock-materials").hide();
  window().resize(660, 500);
  settle();
  window().showMaximized();
  settle();
  window().resizeDocks({viewer()}, {520}, Qt::Horizontal);
  settle();
  const QRect place = viewer()->geometry();
  const int least = viewer()->minimumSizeHint().width();
  ASSERT_GT(place.width(), least);
  EXPECT_TRUE(linesOfAStart().empty());
  ASSERT_TRUE(waitFor([&] { return viewer() && viewer()->geometry() == place; }))
      << viewer()->x() << " " << viewer()->width() << " and not " << place.x() << " " << place.width();
  EXPECT_TRUE(window().isMaximized());
  EXPECT_TRUE(window().updatesEnabled());
}

TEST_F(MainLayout, IsResetAtTheStartWhenAskedFor) {
  linkPlugin = true;
  startStudio();
  ASSERT_TRUE(session().runCommand(1021442));
  settle();
  viewer()->setFloating(true);
  dock("dock-console").show();
  settle();
  resetLayout = true;
  startStudio();
  EXPECT_FALSE(dock("dock-console").isVisible());
  ASSERT_NE(viewer(), nullptr) << "it stays open";
  EXPECT_FALSE(viewer()->isFloating());
  EXPECT_EQ(window().dockWidgetArea(viewer()), Qt::RightDockWidgetArea);
}

TEST_F(MainLayout, FitsASmallScreen) {
  linkPlugin = true;
  startStudio();
  ASSERT_TRUE(session().runCommand(1021442));
  settle();
  window().resize(892, 560); // of 900 x 600, without frame and title
  settle();
  EXPECT_EQ(window().size(), QSize(892, 560));
  EXPECT_EQ(host::layoutTrouble(window()), QString());
  for (const char* name : {"dock-objects", "dock-materials", "dock-attributes"}) {
    EXPECT_GE(dock(name).width(), 150) << name;
    EXPECT_GE(dock(name).height(), 100) << name;
  }
  for (const char* name : {"time-play", "time-frame", "time-ruler", "gadget-1109", "gadget-1118"}) {
    const auto* widget = window().findChild<QWidget*>(QLatin1String(name));
    ASSERT_TRUE(widget && widget->isVisible()) << name;
    EXPECT_TRUE(window().rect().contains(QRect(widget->mapTo(&window(), QPoint()), widget->size()))) << name;
    EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << name;
  }
  EXPECT_FALSE(window().findChild<QWidget*>("time-fps")->isVisible());
  viewer()->close();
  window().resize(1400, 700);
  settle();
  EXPECT_TRUE(window().findChild<QWidget*>("time-fps")->isVisible());
  EXPECT_TRUE(window().findChild<QWidget*>("time-first")->isVisible());
}

TEST_F(MainLayout, F11LeavesThePictureAlone) {
  startStudio();
  choose("window.picture-only");
  EXPECT_TRUE(window().isFullScreen());
  EXPECT_FALSE(dock("dock-objects").isVisible());
  EXPECT_FALSE(window().timeline().isVisible());
  EXPECT_FALSE(window().status().isVisible());
  EXPECT_TRUE(window().viewWidget().isVisible());
  QTest::keyClick(&window(), Qt::Key_Escape);
  settle();
  EXPECT_FALSE(window().isFullScreen());
  EXPECT_TRUE(dock("dock-objects").isVisible());
  EXPECT_TRUE(window().status().isVisible());
  EXPECT_FALSE(dock("dock-console").isVisible());
}

TEST_F(MainLayout, F11ShowsThePictureOfTheViewerThatHasTheFocus) {
  linkPlugin = true;
  startStudio();
  ASSERT_TRUE(session().runCommand(1021442));
  settle();
  auto* area = viewer()->findChild<host::AreaWidget*>(QStringLiteral("gadget-1123"));
  ASSERT_NE(area, nullptr);
  const auto full = [] {
    for (QWidget* widget : QApplication::topLevelWidgets())
      if (auto* found = qobject_cast<host::FullPicture*>(widget); found && found->isVisible()) return found;
    return static_cast<host::FullPicture*>(nullptr);
  };
  focus(*area);
  choose("window.picture-only");
  ASSERT_NE(full(), nullptr);
  EXPECT_FALSE(window().windowLayout().isPictureOnly());
  EXPECT_TRUE(full()->isFullScreen());
  EXPECT_TRUE(dock("dock-objects").isVisible()) << "behind it nothing changes";
  const QRectF place = full()->pictureRect();
  EXPECT_NEAR(place.width() / place.height(), static_cast<double>(area->width()) / area->height(), 0.01);
  EXPECT_TRUE(full()->width() - place.width() < 1 || full()->height() - place.height() < 1)
      << "as large as fits";
  const QImage shown = full()->grab().toImage().copy(place.toRect());
  const QColor mean = meanOf(shown), wanted = meanOf(area->picture());
  EXPECT_NEAR(mean.red(), wanted.red(), 2);
  EXPECT_NEAR(mean.green(), wanted.green(), 2);
  EXPECT_NEAR(mean.blue(), wanted.blue(), 2);
  EXPECT_GT(mean.lightness(), 5) << "there is a picture";

  QTest::keyClick(full(), Qt::Key_F11);
  settle();
  EXPECT_EQ(full(), nullptr);
  focus(*area);
  choose("window.picture-only");
  ASSERT_NE(full(), nullptr);
  QTest::keyClick(full(), Qt::Key_Escape);
  settle();
  EXPECT_EQ(full(), nullptr);

  focus(*area);
  choose("window.picture-only");
  ASSERT_NE(full(), nullptr);
  viewer()->close();
  settle();
  EXPECT_EQ(full(), nullptr) << "it ends with the viewer";

  focus(window().viewWidget());
  choose("window.picture-only");
  EXPECT_TRUE(window().windowLayout().isPictureOnly()) << "elsewhere it is the editor view's";
  choose("window.picture-only");
}

TEST_F(MainLayout, TheViewerOpensAboveTheAttributes) {
  linkPlugin = true;
  startStudio();
  ASSERT_EQ(viewer(), nullptr);
  ASSERT_TRUE(session().runCommand(1021442));
  settle();
  ASSERT_NE(viewer(), nullptr);
  EXPECT_FALSE(viewer()->isFloating());
  EXPECT_EQ(window().dockWidgetArea(viewer()), Qt::RightDockWidgetArea);
  EXPECT_LT(viewer()->y(), dock("dock-attributes").y());
  EXPECT_EQ(viewer()->windowTitle(), "Lumenara");
}

TEST_F(MainLayout, OpenDialogsComeBack) {
  linkPlugin = true;
  startStudio();
  ASSERT_TRUE(session().runCommand(1021442));
  settle();
  startStudio();
  ASSERT_NE(viewer(), nullptr);
  EXPECT_TRUE(viewer()->isVisible());
  EXPECT_FALSE(viewer()->isFloating());
  viewer()->close();
  settle();
  EXPECT_EQ(viewer(), nullptr);
  startStudio();
  EXPECT_EQ(viewer(), nullptr);
}

TEST_F(MainLayout, AFloatingDialogStaysFloating) {
  linkPlugin = true;
  startStudio();
  ASSERT_TRUE(session().runCommand(1021442));
  settle();
  viewer()->setFloating(true);
  settle();
  viewer()->close();
  settle();
  ASSERT_EQ(viewer(), nullptr);
  ASSERT_TRUE(session().runCommand(1021442));
  settle();
  ASSERT_NE(viewer(), nullptr);
  EXPECT_TRUE(viewer()->isFloating());
  choose("window.reset");
  EXPECT_FALSE(viewer()->isFloating());
}

TEST_F(MainLayout, ConsoleShowsLinesWithTheirKind) {
  startStudio();
  GePrint("a plain line");
  GePrint("<b>Something failed & broke</b>");
  settle();
  const QString text = window().console().text();
  EXPECT_TRUE(text.contains("a plain line"));
  EXPECT_TRUE(text.contains("<b>Something failed & broke</b>"));
  EXPECT_EQ(host::kindOfLine("a plain line"), host::LineKind::plain);
  EXPECT_EQ(host::kindOfLine("Lumenara Error: Failed to load component"), host::LineKind::error);
  EXPECT_EQ(host::kindOfLine("The picture could not be read."), host::LineKind::error);
  EXPECT_EQ(host::kindOfLine("2 pictures are missing"), host::LineKind::warning);
  EXPECT_EQ(host::kindOfLine("mirrors and terrors"), host::LineKind::plain);
  window().console().clear();
  EXPECT_TRUE(window().console().text().isEmpty());
}

TEST_F(MainLayout, ConsoleIsBounded) {
  startStudio();
  for (int i = 0; i < host::ConsoleWidget::mostLines + 50; ++i)
    GePrint(String("line ") + LongToString(i));
  const QString text = window().console().text();
  EXPECT_EQ(text.count('\n') + 1, host::ConsoleWidget::mostLines);
  EXPECT_FALSE(text.contains("line 0\n"));
  EXPECT_TRUE(text.endsWith("line 5049"));
}

TEST_F(MainLayout, StatusShowsOnlyLongWork) {
  startStudio();
  StatusSetText("Lumenara Rendering...");
  StatusSetBar(10);
  settle();
  EXPECT_EQ(window().status().shown().source, host::BusyState::Source::none);
  StatusClear();
  settle();
  StatusSetText("Lumenara Rendering...");
  StatusSetBar(40);
  ASSERT_TRUE(
      waitFor([&] { return window().status().shown().source == host::BusyState::Source::plugin; }, 3000));
  EXPECT_EQ(window().status().shown().text, "Lumenara Rendering...");
  EXPECT_DOUBLE_EQ(window().status().shown().progress, 0.4);
  auto* bar = window().findChild<QProgressBar*>("status-bar");
  EXPECT_TRUE(bar->isVisible());
  EXPECT_EQ(bar->value(), 400);
  StatusClear();
  settle();
  EXPECT_FALSE(bar->isVisible());
}

TEST_F(MainLayout, StopButtonAsksThePlugin) {
  startStudio();
  int stops = 0;
  window().status().setStopPlugins([&] { ++stops; });
  StatusSetText("Working");
  StatusSetBar(5);
  ASSERT_TRUE(waitFor([&] { return window().status().shown().canStop; }, 3000));
  window().findChild<QToolButton*>("status-stop")->click();
  EXPECT_EQ(stops, 1);
  StatusClear();
  settle();
}

TEST_F(MainLayout, DurationsAndCountsReadWell) {
  EXPECT_EQ(host::durationText(900), "1 s");
  EXPECT_EQ(host::durationText(12000), "12 s");
  EXPECT_EQ(host::durationText(200000), "3 min 20 s");
  EXPECT_EQ(host::durationText(3900000), "1 h 5 min");
  EXPECT_EQ(host::countText(999), "999");
  EXPECT_EQ(host::countText(15234), "15.2 k");
  EXPECT_EQ(host::countText(999960), "1.00 M");
  EXPECT_EQ(host::countText(1040000), "1.04 M");
}

} // namespace
