#include "dialog_host.h"

#include "dialog_window.h"

namespace host {

namespace {

// A window must be reachable: at least its title lies on a screen.
QPoint onScreen(const QPoint& at, const QSize& size) {
  const QRect window(at, size);
  for (const QScreen* screen : QGuiApplication::screens())
    if (screen->availableGeometry().adjusted(0, 0, -24, -24).intersects(QRect(at, QSize(size.width(), 24))))
      return at;
  const QScreen* screen = QGuiApplication::primaryScreen();
  if (!screen) return at;
  QRect moved = window;
  moved.moveCenter(screen->availableGeometry().center());
  return moved.topLeft();
}

} // namespace

DialogHost::~DialogHost() = default;

QWidget* FreeDialogHost::place(DialogWindow& window, const DialogPlacement& placement,
                               const QByteArray& /*state*/) {
  window.setParent(parent_, Qt::Window);
  window.ensurePolished();
  QSize size = window.sizeHint().expandedTo(window.minimumSizeHint());
  if (placement.width > 0) size.setWidth(placement.width);
  if (placement.height > 0) size.setHeight(placement.height);
  window.resize(size);
  if (placement.x != -1 || placement.y != -1) {
    window.move(onScreen({placement.x, placement.y}, window.size()));
  } else if (parent_) {
    QRect place(QPoint(0, 0), window.size());
    place.moveCenter(parent_->window()->frameGeometry().center());
    window.move(onScreen(place.topLeft(), window.size()));
  }
  window.show();
  return &window;
}

void FreeDialogHost::remove(DialogWindow& window) {
  window.hide();
}

QByteArray FreeDialogHost::stateOf(const DialogWindow& /*window*/) const {
  return {};
}

DialogDock::DialogDock(DialogWindow& window, QWidget* parent)
    : QDockWidget(window.windowTitle(), parent), window_(window) {
  setObjectName(window.objectName());
  setWidget(&window);
  connect(&window, &QWidget::windowTitleChanged, this, &QWidget::setWindowTitle);
}

void DialogDock::closeEvent(QCloseEvent* event) {
  event->ignore();
  if (widget() == &window_) window_.closeByUser();
}

} // namespace host
