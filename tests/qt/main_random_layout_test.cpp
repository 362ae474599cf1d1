// Layouts of every shape are stored, and come back in a window that is new.
#include <QDockWidget>
#include <QLabel>
#include <QMainWindow>
#include <QMenuBar>
#include <QRegularExpression>
#include <fstream>
#include <random>

#include "console.h"
#include "main_kit.h"
#include "preferences.h"
#include "stored_layout.h"

namespace {

int numberOf(std::mt19937& random, int least, int most) {
  return std::uniform_int_distribution(least, most)(random);
}

// One user action on a window's docks.
void changeLayout(QMainWindow& window, std::mt19937& random) {
  static constexpr Qt::DockWidgetArea areas[] = {Qt::LeftDockWidgetArea, Qt::RightDockWidgetArea,
                                                 Qt::TopDockWidgetArea, Qt::BottomDockWidgetArea};
  const auto number = [&](int least, int most) { return numberOf(random, least, most); };
  const auto docks = window.findChildren<QDockWidget*>(QString(), Qt::FindDirectChildrenOnly);
  QDockWidget* one = docks[number(0, static_cast<int>(docks.size()) - 1)];
  QDockWidget* other = docks[number(0, static_cast<int>(docks.size()) - 1)];
  const bool pair = one != other && !one->isFloating() && !other->isFloating();
  const Qt::Orientation way = number(0, 1) ? Qt::Horizontal : Qt::Vertical;
  switch (number(0, 8)) {
  case 0:
    return window.addDockWidget(areas[number(0, 3)], one);
  case 1:
    if (pair) window.splitDockWidget(one, other, way);
    return;
  case 2:
    if (pair) window.tabifyDockWidget(one, other);
    return;
  case 3:
    one->setFloating(!one->isFloating());
    if (one->isFloating())
      one->setGeometry(number(0, 500), number(0, 400), number(100, 600), number(100, 400));
    return;
  case 4:
    return one->setVisible(number(0, 2) != 0);
  case 5:
    return window.isMaximized() ? window.showNormal() : window.showMaximized();
  case 6:
    return window.resize(number(200, 780), number(200, 580));
  default:
    return window.resizeDocks({one}, {number(1, 1600)}, way);
  }
}

// The places of all docks.
QStringList shapeOf(QMainWindow& window) {
  QStringList lines{QStringLiteral("window %1 x %2").arg(window.width()).arg(window.height())};
  for (QDockWidget* dock : window.findChildren<QDockWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
    QString line = QStringLiteral("%1 area %2 floating %3 hidden %4 tabs %5")
                       .arg(dock->objectName())
                       .arg(window.dockWidgetArea(dock))
                       .arg(dock->isFloating())
                       .arg(dock->isHidden())
                       .arg(window.tabifiedDockWidgets(dock).size());
    const QRect place = dock->geometry();
    if (!dock->isHidden() && !dock->isFloating() && window.rect().intersects(place))
      line += QStringLiteral(" at %1 %2 %3 %4")
                  .arg(place.x())
                  .arg(place.y())
                  .arg(place.width())
                  .arg(place.height());
    lines << line;
  }
  lines.sort();
  return lines;
}

// Without places and sizes.
QStringList arrangementOf(QStringList shape) {
  shape.removeLast(); // the window
  return shape.replaceInStrings(QRegularExpression(QStringLiteral(" at .*")), QString());
}

// A window like Studio's: the docks' contents have the minimum sizes of the managers.
class PlainWindow : public QMainWindow {
 public:
  PlainWindow() {
    setDockNestingEnabled(true);
    setAnimated(false);
    menuBar()->addMenu("File");
    auto* centre = new QWidget;
    centre->setMinimumSize(160, 120);
    setCentralWidget(centre);
    const QSize least[] = {{150, 110}, {100, 110}, {140, 90}, {90, 70}, {392, 96}};
    for (int i = 0; i < 5; ++i) {
      auto* dock = new QDockWidget(QString::number(i), this);
      dock->setObjectName(QStringLiteral("dock-%1").arg(i));
      auto* content = new QWidget;
      content->setMinimumSize(least[i]);
      dock->setWidget(content);
      addDockWidget(i < 2 ? Qt::LeftDockWidgetArea : Qt::RightDockWidgetArea, dock);
    }
    resize(760, 560);
  }
};

class RandomLayout : public StudioTest {
 protected:
  /// The next start of the program, after a kill in the middle of a write.
  void startAnew() {
    stopHost();
    if (++starts_ % 2 == 0)
      std::ofstream((home() + ".preferences.k1l2.tmp").GetString().GetUTF8()) << "{\"format\": \"Lum";
    startHost();
  }
  int starts_ = 0;
};

TEST_F(RandomLayout, AThousandComeBack) {
  startHost();
  std::mt19937 random(12);
  auto window = std::make_unique<PlainWindow>();
  window->show();
  int exact = 0;
  for (int round = 0; round < 1000 && !HasFailure(); ++round) {
    for (int i = numberOf(random, 1, 6); i > 0; --i)
      changeLayout(*window, random);
    QCoreApplication::processEvents();
    host::writeLayout(host::mainLayout, {window->saveGeometry(),
                                         window->saveState(host::StoredLayout::version), window->size()});
    const QStringList wanted = shapeOf(*window);
    if (round % 20 == 0) startAnew();
    QString trouble;
    const auto stored = host::readLayout(host::mainLayout, trouble);
    ASSERT_TRUE(stored) << round << ": " << trouble.toStdString();
    window = std::make_unique<PlainWindow>();
    EXPECT_TRUE(window->restoreGeometry(stored->geometry));
    if (window->isMaximized()) window->show(); // as the program: it needs its size first
    QCoreApplication::processEvents();
    EXPECT_TRUE(window->restoreState(stored->state, host::StoredLayout::version));
    window->show();
    QCoreApplication::processEvents();
    EXPECT_EQ(host::layoutTrouble(*window).toStdString(), "") << round;
    const QStringList shape = shapeOf(*window);
    EXPECT_EQ(arrangementOf(shape).join('\n').toStdString(), arrangementOf(wanted).join('\n').toStdString())
        << round;
    exact += shape == wanted;
  }
  // A maximized window that was resized has the screen's size again; Qt shares out the room anew then.
  EXPECT_GE(exact, 950);
}

TEST_F(RandomLayout, AStripIsTrouble) {
  PlainWindow window;
  auto* dock = window.findChild<QDockWidget*>(QStringLiteral("dock-3"));
  dock->widget()->setMinimumSize(0, 0);
  window.show();
  QCoreApplication::processEvents();
  EXPECT_EQ(host::layoutTrouble(window).toStdString(), "");
  window.resizeDocks({dock}, {1}, Qt::Vertical);
  QCoreApplication::processEvents();
  EXPECT_TRUE(host::layoutTrouble(window).contains("\"3\" would be a strip")) << dock->height();
}

// The same through the whole program: a start after each.
TEST_F(RandomLayout, TheProgramStartsWithEach) {
  linkPlugin = true;
  std::mt19937 random(7);
  startStudio();
  ASSERT_TRUE(session().runCommand(1021442));
  std::vector<std::string> said;
  const std::uint64_t listener = host::addConsoleListener([&](const String& line) {
    if (line.FindFirst("window layout", nullptr)) said.push_back(line.GetUTF8());
  });
  for (int round = 0; round < 12; ++round) {
    for (int i = numberOf(random, 1, 6); i > 0; --i)
      changeLayout(window(), random);
    settle();
    startStudio();
    EXPECT_NE(window().findChild<QDockWidget*>("dialog-1021442-0"), nullptr) << round;
    EXPECT_EQ(host::layoutTrouble(window()).toStdString(), "")
        << round << shapeOf(window()).join('\n').toStdString();
  }
  host::removeConsoleListener(listener);
  EXPECT_TRUE(said.empty()) << said.front();
}

} // namespace
