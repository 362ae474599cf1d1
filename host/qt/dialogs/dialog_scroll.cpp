#include "dialog_scroll.h"

namespace host {

namespace {

// Room for a window's frame, its title and a desktop panel, whose sizes the platform does not report.
constexpr int besideWidth = 24, besideHeight = 64;
constexpr int aroundFocus = 24; // visible around the focused widget

} // namespace

DialogScroll::DialogScroll(QWidget* parent) : QScrollArea(parent) {
  setWidgetResizable(true);
  setFrameShape(QFrame::NoFrame);
  setFocusPolicy(Qt::NoFocus);
  connect(qApp, &QApplication::focusChanged, this,
          [this](QWidget* /*before*/, QWidget* focus) { showFocus(focus); });
}

void DialogScroll::setReserved(int height) {
  if (height == reserved_) return;
  reserved_ = height;
  updateGeometry();
}

// A scroll bar narrows the other direction.
QSize DialogScroll::fitted(const QSize& wanted) const {
  const QSize room =
      (screen()->availableSize() - QSize(besideWidth, besideHeight + reserved_)).expandedTo({120, 80});
  QSize size = wanted;
  if (size.height() > room.height()) size.rwidth() += verticalScrollBar()->sizeHint().width();
  if (size.width() > room.width()) size.rheight() += horizontalScrollBar()->sizeHint().height();
  return size.boundedTo(room);
}

QSize DialogScroll::sizeHint() const {
  return widget() ? fitted(widget()->sizeHint().expandedTo(widget()->minimumSizeHint())) : QSize(0, 0);
}

QSize DialogScroll::minimumSizeHint() const {
  return widget() ? fitted(widget()->minimumSizeHint()) : QSize(0, 0);
}

// The content's size hint is also this widget's.
bool DialogScroll::eventFilter(QObject* watched, QEvent* event) {
  if (watched == widget() && event->type() == QEvent::LayoutRequest) updateGeometry();
  return QScrollArea::eventFilter(watched, event);
}

// A click needs no scrolling: its target is visible.
void DialogScroll::showFocus(QWidget* focus) {
  if (QApplication::mouseButtons() == Qt::NoButton && focus && widget() && widget()->isAncestorOf(focus))
    ensureWidgetVisible(focus, aroundFocus, aroundFocus);
}

} // namespace host
