#include "panel_docks.h"

#include <QAction>
#include <QDockWidget>
#include <QMainWindow>
#include <QScreen>
#include <QTimer>

#include <algorithm>

namespace host {

namespace {

QList<QDockWidget*> docksOf(const QMainWindow& window) {
  return window.findChildren<QDockWidget*>(Qt::FindDirectChildrenOnly);
}

constexpr int roomForPicture = 640; // pixels, list included
// Properties of the window: its width before its first panel, and with it.
constexpr const char* narrowWidth = "widthWithoutPanels";
constexpr const char* wideWidth = "widthWithPanels";

bool hasPanels(const QMainWindow& window) {
  const QList<QDockWidget*> docks = docksOf(window);
  return std::any_of(docks.begin(), docks.end(),
                     [](const QDockWidget* dock) { return !dock->isHidden() && !dock->isFloating(); });
}

// A panel that opens makes the window wider, as far as the screen reaches, rather than the picture small.
void makeRoom(QMainWindow& window, int before) {
  if (!window.isVisible() || window.isMaximized() || window.isFullScreen() || !hasPanels(window)) return;
  const QRect screen = window.screen()->availableGeometry(), frame = window.frameGeometry();
  const int room = screen.width() - frame.width();
  const int more = std::min(roomForPicture - window.centralWidget()->width(), room);
  if (more <= 0) return;
  if (window.property(narrowWidth).toInt() == 0) window.setProperty(narrowWidth, before);
  window.resize(window.width() + more, window.height());
  window.setProperty(wideWidth, window.width());
  const int over = frame.right() + more - screen.right();
  if (over > 0) window.move(std::max(screen.left(), frame.left() - over), frame.top());
}

void takeRoomBack(QMainWindow& window) {
  const int narrow = window.property(narrowWidth).toInt();
  if (narrow == 0 || hasPanels(window)) return;
  window.setProperty(narrowWidth, 0);
  // The user's own size stays.
  if (window.width() == window.property(wideWidth).toInt()) window.resize(narrow, window.height());
}

// The panels' own heights count: below them they would be squeezed.
void fit(QMainWindow& window, QDockWidget& panel) {
  int height = panel.sizeHint().height();
  QDockWidget* last = nullptr;
  for (QDockWidget* dock : docksOf(window)) {
    if (dock == &panel || dock->isHidden() || dock->isFloating()) continue;
    if (window.dockWidgetArea(dock) != window.dockWidgetArea(&panel)) continue;
    height += dock->sizeHint().height();
    last = dock;
  }
  if (panel.isFloating() || !last) return;
  if (height > window.centralWidget()->height() && !window.tabifiedDockWidgets(&panel).contains(last))
    window.tabifyDockWidget(last, &panel);
  panel.raise();
}

} // namespace

QAction* dockPanel(QMainWindow& window, QWidget* panel, const char* name, const QString& title) {
  auto* dock = new QDockWidget(title, &window);
  dock->setObjectName(QStringLiteral("panel-") + QLatin1String(name));
  dock->setWidget(panel);
  window.addDockWidget(Qt::RightDockWidgetArea, dock);
  dock->hide();
  QAction* toggle = dock->toggleViewAction();
  toggle->setObjectName(QStringLiteral("show-") + QLatin1String(name));
  QObject::connect(toggle, &QAction::triggered, dock, [&window, dock](bool on) {
    if (on) fit(window, *dock);
    // The window lays itself out later.
    QTimer::singleShot(0, &window, [&window, on, before = window.width()] {
      on ? makeRoom(window, before) : takeRoomBack(window);
    });
  });
  return toggle;
}

void showPanel(QMainWindow& window, QWidget& panel) {
  for (QDockWidget* dock : docksOf(window)) {
    if (dock->widget() != &panel) continue;
    dock->show();
    fit(window, *dock);
    QTimer::singleShot(0, &window, [&window, before = window.width()] { makeRoom(window, before); });
  }
}

} // namespace host
