#include "panel_docks.h"

#include <QAction>
#include <QDockWidget>
#include <QMainWindow>

namespace host {

namespace {

QList<QDockWidget*> docksOf(const QMainWindow& window) {
  return window.findChildren<QDockWidget*>(Qt::FindDirectChildrenOnly);
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
  });
  return toggle;
}

void showPanel(QMainWindow& window, QWidget& panel) {
  for (QDockWidget* dock : docksOf(window)) {
    if (dock->widget() != &panel) continue;
    dock->show();
    fit(window, *dock);
  }
}

} // namespace host
