#include "kept_window.h"

#include "c4d_events.h"
#include "stored_layout.h"

namespace host {

KeptWindow::KeptWindow(QMainWindow& window, const char* name)
    : QObject(&window), window_(window), name_(name) {
  soon_.setSingleShot(true);
  soon_.setInterval(1000);
  connect(&soon_, &QTimer::timeout, this, &KeptWindow::store);
  for (const QDockWidget* panel : window.findChildren<QDockWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
    connect(panel, &QDockWidget::visibilityChanged, &soon_, qOverload<>(&QTimer::start));
    connect(panel, &QDockWidget::dockLocationChanged, &soon_, qOverload<>(&QTimer::start));
  }
  window.installEventFilter(this);
}

bool KeptWindow::restore() {
  QString trouble;
  const std::optional<StoredLayout> layout = readLayout(name_, trouble);
  if (!layout && trouble.isEmpty()) return false;
  const QByteArray place = window_.saveGeometry(), panels = window_.saveState(StoredLayout::version);
  if (layout && window_.restoreGeometry(layout->geometry) &&
      window_.restoreState(layout->state, StoredLayout::version))
    trouble = layoutTrouble(window_);
  else if (layout)
    trouble = tr("its place cannot be read");
  if (trouble.isEmpty()) return true;
  GePrint(String(tr("The last place of the window %1 is not used: %2.")
                     .arg(window_.windowTitle(), trouble)
                     .toStdString()));
  window_.restoreGeometry(place);
  window_.restoreState(panels, StoredLayout::version);
  return false;
}

void KeptWindow::end() {
  store();
  window_.removeEventFilter(this);
  soon_.disconnect(this);
}

// The full screen is not a place.
void KeptWindow::store() {
  soon_.stop();
  if (window_.isFullScreen()) return;
  writeLayout(name_, {window_.saveGeometry(), window_.saveState(StoredLayout::version), window_.size(),
                      window_.isVisible()});
}

bool KeptWindow::eventFilter(QObject* watched, QEvent* event) {
  const QEvent::Type type = event->type();
  if (type == QEvent::Move || type == QEvent::Resize || type == QEvent::Show || type == QEvent::Hide)
    soon_.start();
  return QObject::eventFilter(watched, event);
}

} // namespace host
