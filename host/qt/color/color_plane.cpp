#include "color_plane.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>

#include "theme.h"

namespace host {

namespace {

constexpr int cells = 64; // of a picture, which is stretched smoothly

QRgb screenPixel(Real hue, Real saturation, Real value) {
  return QColor::fromHsvF(static_cast<float>(std::clamp(hue / 360, 0.0, 0.9999)),
                          static_cast<float>(saturation), static_cast<float>(value))
      .rgb();
}

} // namespace

DraggedPoint::DraggedPoint(bool flat, QWidget* parent) : QWidget(parent), flat_(flat) {
  setFocusPolicy(Qt::StrongFocus);
  setCursor(Qt::CrossCursor);
}

void DraggedPoint::setPoint(QPointF point) {
  point_ = {std::clamp(point.x(), 0.0, 1.0), flat_ ? 0.5 : std::clamp(point.y(), 0.0, 1.0)};
  update();
}

void DraggedPoint::change(QPointF point) {
  const QPointF before = point_;
  setPoint(point);
  if (point_ != before) emit moved(point_);
}

void DraggedPoint::moveTo(QPointF position) {
  change({position.x() / std::max(1, width() - 1), position.y() / std::max(1, height() - 1)});
}

void DraggedPoint::end(bool cancelled) {
  if (!dragging_) return;
  if (cancelled) change(before_);
  dragging_ = false;
  emit dragFinished(cancelled);
}

void DraggedPoint::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || dragging_) return;
  dragging_ = true;
  before_ = point_;
  emit dragStarted();
  moveTo(event->position());
}

void DraggedPoint::mouseMoveEvent(QMouseEvent* event) {
  if (dragging_) moveTo(event->position());
}

void DraggedPoint::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) end(false);
}

void DraggedPoint::hideEvent(QHideEvent* event) {
  end(false);
  QWidget::hideEvent(event);
}

void DraggedPoint::keyPressEvent(QKeyEvent* event) {
  const double step = event->modifiers() & Qt::ShiftModifier ? 0.1 : 0.01;
  switch (event->key()) {
  case Qt::Key_Escape:
    if (dragging_) return end(true);
    break;
  case Qt::Key_Left:
    return change(point_ + QPointF(-step, 0));
  case Qt::Key_Right:
    return change(point_ + QPointF(step, 0));
  case Qt::Key_Up:
    return change(point_ + QPointF(0, -step));
  case Qt::Key_Down:
    return change(point_ + QPointF(0, step));
  default:
    break;
  }
  QWidget::keyPressEvent(event);
}

void DraggedPoint::paintPoint(const QImage& picture) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.drawImage(rect(), picture);
  painter.setPen(hasFocus() ? tokens().accent : tokens().line);
  painter.drawRect(rect().adjusted(0, 0, -1, -1));
  painter.setRenderHint(QPainter::Antialiasing);
  const QPointF at(point_.x() * (width() - 1) + 0.5, point_.y() * (height() - 1) + 0.5);
  // Two rings, so that one shows on any colour.
  painter.setPen(QPen(Qt::black, 3));
  painter.drawEllipse(at, 5, 5);
  painter.setPen(QPen(Qt::white, 1.5));
  painter.drawEllipse(at, 5, 5);
}

SaturationPlane::SaturationPlane(QWidget* parent) : DraggedPoint(false, parent) {
  setMinimumSize(96, 72);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void SaturationPlane::setHue(Real degrees) {
  if (degrees == hue_ && !picture_.isNull()) return;
  hue_ = degrees;
  picture_ = QImage(cells, cells, QImage::Format_RGB32);
  for (int y = 0; y < cells; ++y)
    for (int x = 0; x < cells; ++x)
      picture_.setPixel(x, y, screenPixel(hue_, x / (cells - 1.0), 1 - y / (cells - 1.0)));
  update();
}

void SaturationPlane::paintEvent(QPaintEvent*) {
  paintPoint(picture_);
}

HueStrip::HueStrip(QWidget* parent)
    : DraggedPoint(true, parent), picture_(6 * cells, 1, QImage::Format_RGB32) {
  setFixedHeight(16);
  for (int x = 0; x < picture_.width(); ++x)
    picture_.setPixel(x, 0, screenPixel(360.0 * x / (picture_.width() - 1), 1, 1));
}

void HueStrip::paintEvent(QPaintEvent*) {
  paintPoint(picture_);
}

} // namespace host
