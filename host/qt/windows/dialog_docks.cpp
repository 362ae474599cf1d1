#include "dialog_docks.h"

#include "area_widget.h"
#include "command_table.h"
#include "dialog_window.h"
#include "session.h"
#include "window_layout.h"

namespace host {

namespace {

constexpr int stateVersion = 1; // of stateOf
constexpr int settleTime = 60;  // milliseconds from a release until the dialog has done its work

} // namespace

DialogDocks::DialogDocks(QMainWindow& window, WindowLayout& layout, Session& session,
                         const CommandTable& commands, std::set<LONG> atAttributes)
    : QObject(&window), window_(window), layout_(layout), session_(session), commands_(commands),
      atAttributes_(std::move(atAttributes)) {
  used_.setSingleShot(true);
  used_.setInterval(settleTime);
  connect(&used_, &QTimer::timeout, this, &DialogDocks::noticeChange);
  connect(&layout_, &WindowLayout::wasReset, this, &DialogDocks::placeByDefault);
  qApp->installEventFilter(this);
}

DialogDocks::~DialogDocks() = default;

QList<DialogDock*> DialogDocks::docks() const {
  return window_.findChildren<DialogDock*>();
}

AreaWidget* DialogDocks::focusedPicture() const {
  const QWidget* focus = QApplication::focusWidget();
  for (const DialogDock* dock : docks()) {
    if (!focus || !dock->isAncestorOf(focus)) continue;
    for (const QScrollArea* group : dock->findChildren<QScrollArea*>())
      for (AreaWidget* area : group->findChildren<AreaWidget*>())
        if (area->area() && area->isVisible()) return area;
  }
  return nullptr;
}

void DialogDocks::placeByDefault() {
  for (DialogDock* dock : docks()) {
    const auto* window = qobject_cast<DialogWindow*>(dock->widget());
    if (window && window->dialog() && atAttributes_.count(dock->property("plugin").toInt()))
      layout_.dockAboveAttributes(*dock);
  }
}

void DialogDocks::placeDock(DialogDock& dock, const DialogPlacement& placement, const QByteArray& state) {
  QDataStream stream(state);
  qint32 version = 0, area = 0;
  bool floating = false;
  stream >> version >> floating >> area;
  const bool known = stream.status() == QDataStream::Ok && version == stateVersion;
  if (known && !floating && area == Qt::RightDockWidgetArea) return layout_.dockAboveAttributes(dock);
  if (known && !floating &&
      (area == Qt::LeftDockWidgetArea || area == Qt::BottomDockWidgetArea || area == Qt::TopDockWidgetArea))
    return window_.addDockWidget(static_cast<Qt::DockWidgetArea>(area), &dock);
  const bool atAttributes = atAttributes_.count(placement.pluginId) > 0;
  if (!known && atAttributes && placement.x < 0) return layout_.dockAboveAttributes(dock);
  floatDock(dock, placement);
}

void DialogDocks::floatDock(DialogDock& dock, const DialogPlacement& placement) {
  window_.addDockWidget(Qt::RightDockWidgetArea, &dock);
  dock.setFloating(true);
  QRect place(QPoint(placement.x, placement.y),
              dock.sizeHint().expandedTo({placement.width, placement.height}));
  place.setSize(place.size().boundedTo(window_.screen()->availableSize()));
  if (placement.x < 0 || !isReachable(place)) place.moveCenter(window_.geometry().center());
  dock.resize(place.size());
  dock.move(place.topLeft());
}

QWidget* DialogDocks::place(DialogWindow& window, const DialogPlacement& placement, const QByteArray& state) {
  if (down_) return nullptr;
  auto* dock = new DialogDock(window, &window_);
  dock->setProperty("plugin", placement.pluginId);
  placeDock(*dock, placement, state);
  connect(dock, &QDockWidget::topLevelChanged, &layout_, &WindowLayout::changed);
  dock->show();
  dock->raise();
  layout_.changed();
  return dock;
}

DialogDock* DialogDocks::dockOf(const DialogWindow& window) const {
  for (DialogDock* dock : docks())
    if (dock->widget() == &window) return dock;
  return nullptr;
}

void DialogDocks::remove(DialogWindow& window) {
  DialogDock* dock = dockOf(window);
  if (!dock) return;
  dock->hide();
  window.setParent(nullptr);
  window_.removeDockWidget(dock);
  dock->deleteLater();
  layout_.changed();
}

QByteArray DialogDocks::stateOf(const DialogWindow& window) const {
  QByteArray state;
  DialogDock* dock = dockOf(window);
  if (!dock) return state;
  QDataStream stream(&state, QIODevice::WriteOnly);
  stream << qint32(stateVersion) << dock->isFloating() << qint32(window_.dockWidgetArea(dock));
  return state;
}

bool DialogDocks::eventFilter(QObject* watched, QEvent* event) {
  const QEvent::Type type = event->type();
  const bool released = type == QEvent::MouseButtonRelease || type == QEvent::KeyRelease;
  if (released && watched->isWidgetType() && !down_) {
    const auto* widget = static_cast<const QWidget*>(watched);
    const bool popup = widget->window()->windowType() == Qt::Popup;
    for (const DialogDock* dock : docks())
      if (popup || dock->isAncestorOf(widget)) used_.start();
  }
  return QObject::eventFilter(watched, event);
}

void DialogDocks::noticeChange() {
  if (commands_.isBlocked()) return;
  if (QApplication::activePopupWidget() || session_.edits().isContinuous()) return used_.start();
  session_.edits().notice("Change in Dialog");
}

void DialogDocks::shutDown() {
  down_ = true;
  used_.stop();
  qApp->removeEventFilter(this);
}

} // namespace host
