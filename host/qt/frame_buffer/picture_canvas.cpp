#include "picture_canvas.h"

#include <algorithm>
#include <cmath>

#include "free_place.h"
#include "theme.h"

namespace host {

namespace {

constexpr double leastSeen = 16; // pixels of the screen that stay visible when a picture is moved
constexpr int wheelNotch = 120;  // eighths of a degree

double powerAbove(double zoom) {
  return std::exp2(std::floor(std::log2(zoom) + 1e-9) + 1);
}

double powerBelow(double zoom) {
  return std::exp2(std::ceil(std::log2(zoom) - 1e-9) - 1);
}

} // namespace

PictureCanvas::PictureCanvas(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("pictureCanvas"));
  setShowsPicture(*this);
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  setAttribute(Qt::WA_OpaquePaintEvent);
}

void PictureCanvas::setSource(CanvasSource* source) {
  if (source_) disconnect(source_, nullptr, this, nullptr);
  source_ = source;
  if (source) {
    connect(source, &CanvasSource::changed, this, &PictureCanvas::sourceChanged);
    connect(source, &QObject::destroyed, this, [this] {
      size_ = {};
      update();
    });
  }
  hovered_ = {-1, -1};
  sourceChanged();
}

void PictureCanvas::sourceChanged() {
  const QSize before = std::exchange(size_, source_ ? source_->size() : QSize());
  if (size_ != before) {
    hovered_ = {-1, -1};
    mark({});
    fit();
  }
  if (underMouse()) tellHover(mapFromGlobal(QCursor::pos()));
  update();
  emit imageChanged();
}

void PictureCanvas::setEmptyText(const QString& text) {
  emptyText_ = text;
  update();
}

// --- geometry ---

QSizeF PictureCanvas::screen() const {
  return QSizeF(size()) * devicePixelRatioF();
}

void PictureCanvas::place(const QPointF& origin) {
  const QSizeF picture = QSizeF(size_) * zoom_;
  const auto cut = [](double at, double length, double view) {
    const double seen = std::min({leastSeen, length, view});
    return std::clamp(at, seen - length, view - seen);
  };
  origin_ = {cut(origin.x(), picture.width(), screen().width()),
             cut(origin.y(), picture.height(), screen().height())};
  if (zoom_ >= 1) origin_ = {std::round(origin_.x()), std::round(origin_.y())};
  update();
}

void PictureCanvas::setZoom(double zoom, const QPointF& anchor) {
  if (isEmpty() || !(zoom > 0)) return;
  zoom = std::clamp(zoom, leastZoom, mostZoom);
  const QPointF at = anchor * devicePixelRatioF();
  const QPointF inPicture = (at - origin_) / zoom_;
  fitted_ = false;
  zoom_ = zoom;
  place(at - inPicture * zoom_);
  emit zoomChanged();
  if (underMouse()) tellHover(mapFromGlobal(QCursor::pos()));
}

void PictureCanvas::setZoom(double zoom) {
  setZoom(zoom, QRectF(rect()).center());
}

void PictureCanvas::zoomIn(const QPointF& anchor) {
  setZoom(powerAbove(zoom_), anchor);
}

void PictureCanvas::zoomOut(const QPointF& anchor) {
  setZoom(powerBelow(zoom_), anchor);
}

void PictureCanvas::fit() {
  fitted_ = true;
  applyFit();
}

void PictureCanvas::applyFit() {
  if (isEmpty() || width() < 1 || height() < 1) return;
  const double before = zoom_;
  double zoom = std::min(screen().width() / size_.width(), screen().height() / size_.height());
  if (zoom > 1) zoom = std::floor(zoom);
  zoom_ = std::clamp(zoom, leastZoom, mostZoom);
  place({(screen().width() - size_.width() * zoom_) / 2, (screen().height() - size_.height() * zoom_) / 2});
  if (zoom_ != before) emit zoomChanged();
}

void PictureCanvas::pan(const QPointF& by) {
  if (isEmpty()) return;
  if (fitted_) {
    fitted_ = false;
    emit zoomChanged();
  }
  place(origin_ + by * devicePixelRatioF());
}

std::optional<QPoint> PictureCanvas::pixelAt(const QPointF& point) const {
  const QPointF inPicture = (point * devicePixelRatioF() - origin_) / zoom_;
  const QPoint pixel(static_cast<int>(std::floor(inPicture.x())),
                     static_cast<int>(std::floor(inPicture.y())));
  return QRect(QPoint(), size_).contains(pixel) ? std::optional(pixel) : std::nullopt;
}

CanvasPlace PictureCanvas::placing() const {
  return {origin_, zoom_, devicePixelRatioF(), rect()};
}

QRectF PictureCanvas::pictureRect() const {
  return placing().target(size_);
}

// --- events ---

void PictureCanvas::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const Tokens& t = tokens();
  painter.fillRect(rect(), t.window);
  if (!isEmpty()) {
    source_->paint(painter, placing());
    if (grid_ && zoom_ >= gridZoom) paintGrid(painter);
    if (!marked_.isEmpty()) paintMark(painter);
    if (spot_) paintSpot(painter);
    return;
  }
  painter.setPen(t.dim);
  painter.drawText(rect().adjusted(24, 24, -24, -24), Qt::AlignCenter | Qt::TextWordWrap, emptyText_);
}

void PictureCanvas::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  if (fitted_) return applyFit();
  // The middle stays in the middle.
  const QSizeF grown = QSizeF(event->size() - event->oldSize()) * devicePixelRatioF();
  place(event->oldSize().isValid() ? origin_ + QPointF(grown.width(), grown.height()) / 2 : origin_);
}

void PictureCanvas::wheelEvent(QWheelEvent* event) {
  event->accept();
  wheel_ += event->angleDelta().y();
  for (; wheel_ >= wheelNotch; wheel_ -= wheelNotch)
    zoomIn(event->position());
  for (; wheel_ <= -wheelNotch; wheel_ += wheelNotch)
    zoomOut(event->position());
}

void PictureCanvas::mousePressEvent(QMouseEvent* event) {
  const bool left = event->button() == Qt::LeftButton;
  if (!left && event->button() != Qt::MiddleButton) return QWidget::mousePressEvent(event);
  if (isEmpty()) return;
  double_ = false;
  pressed_ = last_ = event->position();
  drag_ = Drag::pan;
  if (left) drag_ = Drag::press;
  if (left && event->modifiers().testFlag(Qt::ControlModifier)) drag_ = Drag::out;
  if (left && event->modifiers().testFlag(Qt::ShiftModifier)) {
    drag_ = Drag::mark;
    const QPointF inPicture = (pressed_ * devicePixelRatioF() - origin_) / zoom_;
    markFrom_ = {static_cast<int>(std::floor(inPicture.x())), static_cast<int>(std::floor(inPicture.y()))};
    setCursor(Qt::CrossCursor);
  } else if (drag_ == Drag::pan) {
    setCursor(Qt::ClosedHandCursor);
  }
}

void PictureCanvas::mouseMoveEvent(QMouseEvent* event) {
  const bool far = (event->position() - pressed_).manhattanLength() >= QApplication::startDragDistance();
  if (drag_ == Drag::press && far) {
    drag_ = Drag::pan;
    setCursor(Qt::ClosedHandCursor);
  }
  if (drag_ == Drag::out && far) {
    drag_ = Drag::none;
    emit dragOutWanted();
  }
  if (drag_ == Drag::mark) markTo(event->position());
  if (drag_ == Drag::pan && event->position() != last_)
    pan(event->position() - std::exchange(last_, event->position()));
  tellHover(event->position());
}

void PictureCanvas::mouseReleaseEvent(QMouseEvent* event) {
  const Drag was = std::exchange(drag_, Drag::none);
  if (was == Drag::none) return QWidget::mouseReleaseEvent(event);
  setCursor(idleCursor_);
  if (was == Drag::mark && event->position() == pressed_) mark({});
  const std::optional<QPoint> pixel = pixelAt(event->position());
  const bool again = std::exchange(double_, false) && was == Drag::press;
  if (was == Drag::press && pixel) emit clicked(*pixel, event->modifiers());
  if (again) fitted_ ? setZoom(1, event->position()) : fit();
}

// A second click with a key held is a click of its own, however soon it comes.
void PictureCanvas::mouseDoubleClickEvent(QMouseEvent* event) {
  mousePressEvent(event);
  double_ = drag_ == Drag::press && event->modifiers() == Qt::NoModifier;
}

void PictureCanvas::showGrid(bool on) {
  grid_ = on;
  update();
}

void PictureCanvas::mark(const QRect& pixels) {
  const QRect inside = pixels & QRect(QPoint(), size_);
  if (inside == marked_) return;
  marked_ = inside;
  update();
  emit markChanged();
}

void PictureCanvas::markTo(const QPointF& at) {
  const QPointF inPicture = (at * devicePixelRatioF() - origin_) / zoom_;
  const QPoint to(static_cast<int>(std::floor(inPicture.x())), static_cast<int>(std::floor(inPicture.y())));
  mark(QRect(QPoint(std::min(to.x(), markFrom_.x()), std::min(to.y(), markFrom_.y())),
             QPoint(std::max(to.x(), markFrom_.x()), std::max(to.y(), markFrom_.y()))));
}

// Lines between the pixels in sight, light and dark, so that they show on every colour.
void PictureCanvas::paintGrid(QPainter& painter) const {
  const QRectF target = pictureRect(), seen = target & QRectF(rect());
  const double side = zoom_ / devicePixelRatioF();
  painter.save();
  painter.setCompositionMode(QPainter::CompositionMode_Difference); // seen on dark, middle and bright pixels
  painter.setPen(QPen(QColor(48, 48, 48), 0));
  const auto first = [side](double from, double at) { return from + std::ceil((at - from) / side) * side; };
  for (double x = first(target.left(), seen.left()); x < seen.right(); x += side)
    painter.drawLine(QPointF(x, seen.top()), QPointF(x, seen.bottom()));
  for (double y = first(target.top(), seen.top()); y < seen.bottom(); y += side)
    painter.drawLine(QPointF(seen.left(), y), QPointF(seen.right(), y));
  painter.restore();
}

void PictureCanvas::paintMark(QPainter& painter) const {
  const double side = zoom_ / devicePixelRatioF();
  const QRectF target = pictureRect();
  const QRectF frame(target.left() + marked_.x() * side, target.top() + marked_.y() * side,
                     marked_.width() * side, marked_.height() * side);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(QColor(0, 0, 0, 160), 3));
  painter.drawRect(frame);
  painter.setPen(QPen(tokens().accent, 1));
  painter.drawRect(frame);
}

void PictureCanvas::setIdleCursor(Qt::CursorShape shape) {
  idleCursor_ = shape;
  setCursor(shape);
}

void PictureCanvas::setSpot(const std::optional<QPointF>& place) {
  if (place == spot_) return;
  spot_ = place;
  update();
}

// A ring of two tones, seen on every colour, that leaves its pixel free.
void PictureCanvas::paintSpot(QPainter& painter) const {
  constexpr double radius = 9, from = 6, to = 13; // pixels; of the ring and its four lines
  const QRectF target = pictureRect();
  const QPointF at(target.left() + spot_->x() * target.width(), target.top() + spot_->y() * target.height());
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(Qt::NoBrush);
  for (const QPen& pen : {QPen(QColor(0, 0, 0, 160), 3.5), QPen(tokens().accent, 1.5)}) {
    painter.setPen(pen);
    painter.drawEllipse(at, radius, radius);
    for (const QPointF& way : {QPointF(1, 0), QPointF(-1, 0), QPointF(0, 1), QPointF(0, -1)})
      painter.drawLine(at + way * from, at + way * to);
  }
  painter.restore();
}

void PictureCanvas::keyPressEvent(QKeyEvent* event) {
  if (event->key() != Qt::Key_Escape || marked_.isEmpty()) return QWidget::keyPressEvent(event);
  mark({});
}

void PictureCanvas::leaveEvent(QEvent* event) {
  QWidget::leaveEvent(event);
  tellHover({-1, -1});
}

void PictureCanvas::tellHover(const QPointF& at) {
  const QPoint pixel = rect().contains(at.toPoint()) ? pixelAt(at).value_or(QPoint(-1, -1)) : QPoint(-1, -1);
  if (pixel == hovered_) return;
  hovered_ = pixel;
  emit hovered(pixel);
}

} // namespace host
