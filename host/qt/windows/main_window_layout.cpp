// The main window's layout: kept, brought back, the docks of plug-ins' dialogs in it, full screen.
#include "area_widget.h"
#include "c4d_events.h"
#include "dialog_window.h"
#include "full_picture.h"
#include "main_window.h"
#include "timeline_widget.h"

namespace host {

namespace {

constexpr int dockVersion = 1; // of stateOf

} // namespace

void MainWindow::resetLayout() {
  waiting_.reset();
  setUpdatesEnabled(true);
  if (pictureOnly_) setPictureOnly(false);
  const struct {
    QDockWidget* dock;
    Qt::DockWidgetArea area;
  } places[] = {{objectsDock_, Qt::LeftDockWidgetArea},
                {materialsDock_, Qt::LeftDockWidgetArea},
                {attributesDock_, Qt::RightDockWidgetArea},
                {consoleDock_, Qt::BottomDockWidgetArea}};
  for (const auto& [dock, area] : places) {
    dock->setFloating(false);
    addDockWidget(area, dock);
    dock->setVisible(dock != consoleDock_);
  }
  splitDockWidget(objectsDock_, materialsDock_, Qt::Vertical);
  if (toolBar_) {
    addToolBar(Qt::TopToolBarArea, toolBar_);
    toolBar_->show();
  }
  resizeDocks({objectsDock_, attributesDock_}, {270, 380}, Qt::Horizontal);
  resizeDocks({objectsDock_, materialsDock_}, {500, 260}, Qt::Vertical);
  for (DialogDock* dock : findChildren<DialogDock*>()) {
    const auto* window = qobject_cast<DialogWindow*>(dock->widget());
    if (window && window->dialog() && options_.dockedDialogs.count(dock->property("plugin").toInt()))
      dockAboveAttributes(*dock);
  }
}

// Qt keeps the state of a window that will be maximized aside, with the docks of that moment; a dock that is
// added meanwhile is lost, or ends the program. Such a window gets its state when it has its size.
void MainWindow::restoreLayout() {
  layoutReady_ = true;
  QString trouble;
  std::optional<StoredLayout> layout = readLayout(trouble);
  if (!layout) {
    if (!trouble.isEmpty()) dropLayout(trouble);
    return;
  }
  if (!restoreGeometry(layout->geometry)) return dropLayout(tr("its place cannot be read"));
  waiting_ = std::move(layout);
  if (!(windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen))) return applyLayout();
  setUpdatesEnabled(false);
  applySoon_.start(400);
}

// Once, with every dock there that was open.
void MainWindow::applyLayout() {
  applySoon_.stop();
  if (!waiting_) return;
  const QByteArray state = std::exchange(waiting_, {})->state;
  setUpdatesEnabled(true);
  const bool read = restoreState(state, StoredLayout::version);
  const QString trouble = read ? layoutTrouble(*this) : tr("its docks cannot be read");
  if (!trouble.isEmpty()) dropLayout(trouble);
}

void MainWindow::dropLayout(const QString& trouble) {
  GePrint(String(tr("The window layout of the last time is not used: %1. The default layout is shown.")
                     .arg(trouble)
                     .toStdString()));
  if (!isReachable(frameGeometry())) placeOnScreen();
  resetLayout();
}

void MainWindow::placeOnScreen() {
  const QScreen* screen = QGuiApplication::primaryScreen();
  const QRect room = screen ? screen->availableGeometry() : QRect(0, 0, 1600, 1000);
  QRect place(QPoint(0, 0), QSize(1440, 900).boundedTo(room.size() - QSize(8, 40)));
  place.moveCenter(room.center());
  setGeometry(place);
}

void MainWindow::storeLayout() {
  storeSoon_.stop();
  if (!layoutReady_ || waiting_ || pictureOnly_ || down_) return;
  writeLayout({saveGeometry(), saveState(StoredLayout::version), size()});
}

void MainWindow::layoutChanged() {
  if (waiting_ && isVisible() && size() == waiting_->size) applySoon_.start(0);
  if (layoutReady_ && !pictureOnly_ && !down_) storeSoon_.start();
}

void MainWindow::setPictureOnly(bool on) {
  if (on == pictureOnly_) return;
  applyLayout();
  if (on) {
    storeLayout();
    beforePictureOnly_ = saveState(StoredLayout::version);
    wasMaximized_ = isMaximized();
    pictureOnly_ = true;
    for (QDockWidget* dock : findChildren<QDockWidget*>(QString(), Qt::FindDirectChildrenOnly))
      if (!dock->isFloating()) dock->hide();
    toolBar_->hide();
    showFullScreen();
  } else {
    wasMaximized_ ? showMaximized() : showNormal();
    restoreState(beforePictureOnly_, StoredLayout::version);
    pictureOnly_ = false;
  }
  menuBar()->setVisible(!on);
  statusBar()->setVisible(!on);
  timeline_->setVisible(!on);
  commands_->refreshSoon();
}

AreaWidget* MainWindow::focusedPicture() const {
  const QWidget* focus = QApplication::focusWidget();
  for (const DialogDock* dock : findChildren<DialogDock*>()) {
    if (!focus || !dock->isAncestorOf(focus)) continue;
    for (const QScrollArea* group : dock->findChildren<QScrollArea*>())
      for (AreaWidget* area : group->findChildren<AreaWidget*>())
        if (area->area() && area->isVisible()) return area;
  }
  return nullptr;
}

void MainWindow::togglePicture() {
  AreaWidget* area = pictureOnly_ ? nullptr : focusedPicture();
  if (area)
    new FullPicture(*area, this);
  else
    setPictureOnly(!pictureOnly_);
}

// --- docks of dialogs ---

void MainWindow::dockAboveAttributes(QDockWidget& dock) {
  dock.setFloating(false);
  addDockWidget(Qt::RightDockWidgetArea, &dock);
  if (!attributesDock_->isFloating() && dockWidgetArea(attributesDock_) == Qt::RightDockWidgetArea) {
    const bool shown = !attributesDock_->isHidden();
    splitDockWidget(&dock, attributesDock_, Qt::Vertical);
    attributesDock_->setVisible(shown);
    resizeDocks({&dock, attributesDock_}, {460, 320}, Qt::Vertical);
  }
  resizeDocks({&dock}, {460}, Qt::Horizontal);
}

void MainWindow::placeDialog(DialogDock& dock, const DialogPlacement& placement, const QByteArray& state) {
  const bool docked = options_.dockedDialogs.count(placement.pluginId) > 0;
  QDataStream stream(state);
  qint32 version = 0, area = 0;
  bool floating = false;
  stream >> version >> floating >> area;
  const bool known = stream.status() == QDataStream::Ok && version == dockVersion;
  if (known && !floating && area == Qt::RightDockWidgetArea) return dockAboveAttributes(dock);
  if (known && !floating &&
      (area == Qt::LeftDockWidgetArea || area == Qt::BottomDockWidgetArea || area == Qt::TopDockWidgetArea)) {
    addDockWidget(static_cast<Qt::DockWidgetArea>(area), &dock);
    return;
  }
  if (!known && docked && placement.x < 0) return dockAboveAttributes(dock);

  addDockWidget(Qt::RightDockWidgetArea, &dock);
  dock.setFloating(true);
  QRect place(QPoint(placement.x, placement.y),
              dock.sizeHint().expandedTo({placement.width, placement.height}));
  place.setSize(place.size().boundedTo(screen()->availableSize()));
  if (placement.x < 0 || !isReachable(place)) place.moveCenter(geometry().center());
  dock.resize(place.size());
  dock.move(place.topLeft());
}

QWidget* MainWindow::place(DialogWindow& window, const DialogPlacement& placement, const QByteArray& state) {
  if (down_) return nullptr;
  auto* dock = new DialogDock(window, this);
  dock->setProperty("plugin", placement.pluginId);
  placeDialog(*dock, placement, state);
  for (auto signal : {&QDockWidget::topLevelChanged})
    connect(dock, signal, this, &MainWindow::layoutChanged);
  dock->show();
  dock->raise();
  layoutChanged();
  return dock;
}

DialogDock* MainWindow::dockOf(const DialogWindow& window) const {
  for (DialogDock* dock : findChildren<DialogDock*>())
    if (dock->widget() == &window) return dock;
  return nullptr;
}

void MainWindow::remove(DialogWindow& window) {
  DialogDock* dock = dockOf(window);
  if (!dock) return;
  dock->hide();
  window.setParent(nullptr);
  removeDockWidget(dock);
  dock->deleteLater();
  layoutChanged();
}

QByteArray MainWindow::stateOf(const DialogWindow& window) const {
  QByteArray state;
  const DialogDock* dock = dockOf(window);
  if (!dock) return state;
  QDataStream stream(&state, QIODevice::WriteOnly);
  stream << qint32(dockVersion) << dock->isFloating()
         << qint32(dockWidgetArea(const_cast<DialogDock*>(dock)));
  return state;
}

} // namespace host
