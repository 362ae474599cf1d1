#include "area_widget.h"

#include "free_place.h"
#include "gadget_actions.h"
#include "input_watch.h"
#include "qt_text.h"
#include "theme.h"

namespace host {

AreaWidget::AreaWidget(QWidget* parent) : QWidget(parent) {
  setShowsPicture(*this);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMouseTracking(true);
  setFocusPolicy(Qt::ClickFocus);
}

void AreaWidget::setArea(GeUserArea* area) {
  area_ = area;
  if (area_) takeMinSize();
  update();
}

void AreaWidget::takeMinSize() {
  if (!area_) return;
  LONG width = 0, height = 0;
  areaMinSize(*area_, width, height);
  const QSize least(width, height);
  if (least == least_) return;
  least_ = least;
  setMinimumSize(least);
  updateGeometry();
}

void AreaWidget::tellSize() {
  if (area_ && isVisible()) sizeArea(*area_, width(), height(), devicePixelRatioF());
}

void AreaWidget::resizeEvent(QResizeEvent*) {
  tellSize();
}

void AreaWidget::showEvent(QShowEvent*) {
  tellSize();
}

void AreaWidget::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  if (!area_) {
    painter.fillRect(rect(), tokens().window);
    return;
  }
  // The window may have moved to a screen of another density.
  const Surface& surface = areaSurface(*area_);
  if (surface.ratio() != devicePixelRatioF() || surface.width() != width() || surface.height() != height())
    tellSize();
  if (surface.width() != width() || surface.height() != height()) painter.fillRect(rect(), tokens().window);
  painter.drawImage(QPointF(0, 0), picture());
}

QImage AreaWidget::picture() const {
  if (!area_) return {};
  const Surface& surface = areaSurface(*area_);
  if (surface.pixelWidth() == 0 || surface.pixelHeight() == 0) return {};
  QImage picture(reinterpret_cast<const uchar*>(surface.pixels()), surface.pixelWidth(),
                 surface.pixelHeight(), surface.pixelWidth() * 4, QImage::Format_RGB32);
  picture.setDevicePixelRatio(surface.ratio());
  return picture;
}

void AreaWidget::press(QMouseEvent& event, bool doubleClick) {
  watchInput(event);
  const LONG channel = channelOf(event.button());
  if (!area_ || channel == 0) {
    event.ignore();
    return;
  }
  const QPoint at = event.position().toPoint();
  const ActionInput input{qualifiersOf(event.modifiers()), false, true};
  const QPointer<AreaWidget> there = this; // the press may close the window
  pressMouse(*area_, channel, at.x(), at.y(), input, doubleClick);
  event.accept();
}

void AreaWidget::mousePressEvent(QMouseEvent* event) {
  press(*event, false);
}

void AreaWidget::mouseDoubleClickEvent(QMouseEvent* event) {
  press(*event, true);
}

void AreaWidget::mouseReleaseEvent(QMouseEvent* event) {
  watchInput(*event);
}

void AreaWidget::mouseMoveEvent(QMouseEvent* event) {
  watchInput(*event);
  if (!area_) return;
  const QPoint at = event->position().toPoint();
  const QPointer<AreaWidget> there = this;
  const LONG cursor = hoverMouse(*area_, at.x(), at.y(), qualifiersOf(event->modifiers()));
  if (there) setCursor(cursor == MOUSE_MOVE ? Qt::SizeAllCursor : Qt::ArrowCursor);
}

void AreaWidget::leaveEvent(QEvent*) {
  watchPointer();
}

} // namespace host
