#include "picture_canvas.h"

#include <algorithm>
#include <cmath>

#include "bitmap_image.h"
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

PictureCanvas::PictureCanvas(QWidget* parent)
    : QWidget(parent), job_([this](const SharedBitmap& bitmap, QImage image) {
        if (bitmap == bitmap_) takeImage(std::move(image));
      }) {
  setObjectName(QStringLiteral("pictureCanvas"));
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  setAttribute(Qt::WA_OpaquePaintEvent);
}

void PictureCanvas::setBitmap(const SharedBitmap& bitmap) {
  const QSize before = image_.size();
  bitmap_ = bitmap;
  job_.drop();
  // A picture of the same size keeps the one before on screen until its own image is made: no flash.
  const bool waits = bitmap && !look_.isPlain() && before == QSize(bitmap->GetBw(), bitmap->GetBh());
  if (!waits) image_ = bitmap ? bitmapImage(*bitmap) : QImage();
  scaled_ = QImage();
  hovered_ = {-1, -1};
  if (image_.size() != before)
    fit();
  else if (fitted_)
    applyFit();
  if (underMouse()) tellHover(mapFromGlobal(QCursor::pos()));
  update();
  if (bitmap && !look_.isPlain()) job_.start(bitmap, look_, true);
}

void PictureCanvas::refresh() {
  if (bitmap_) remake(true);
}

void PictureCanvas::setLook(const CanvasLook& look) {
  look_ = look;
  if (bitmap_) remake(false);
}

void PictureCanvas::remake(bool changed) {
  if (!look_.isPlain()) return job_.start(bitmap_, look_, changed);
  job_.drop();
  takeImage(bitmapImage(*bitmap_));
}

void PictureCanvas::takeImage(QImage image) {
  image_ = std::move(image);
  scaled_ = QImage();
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
  const QSizeF picture = QSizeF(image_.size()) * zoom_;
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
  if (image_.isNull() || !(zoom > 0)) return;
  zoom = std::clamp(zoom, leastZoom, mostZoom);
  const QPointF at = anchor * devicePixelRatioF();
  const QPointF inPicture = (at - origin_) / zoom_;
  fitted_ = false;
  zoom_ = zoom;
  scaled_ = QImage();
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
  if (image_.isNull() || width() < 1 || height() < 1) return;
  const double before = zoom_;
  double zoom = std::min(screen().width() / image_.width(), screen().height() / image_.height());
  if (zoom > 1) zoom = std::floor(zoom);
  zoom_ = std::clamp(zoom, leastZoom, mostZoom);
  if (zoom_ != before) scaled_ = QImage();
  place({(screen().width() - image_.width() * zoom_) / 2, (screen().height() - image_.height() * zoom_) / 2});
  if (zoom_ != before) emit zoomChanged();
}

void PictureCanvas::pan(const QPointF& by) {
  if (image_.isNull()) return;
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
  return image_.rect().contains(pixel) ? std::optional(pixel) : std::nullopt;
}

QRectF PictureCanvas::pictureRect() const {
  const double ratio = devicePixelRatioF();
  return {origin_ / ratio, QSizeF(image_.size()) * (zoom_ / ratio)};
}

// --- events ---

// A checkered ground shows through transparent pixels.
void PictureCanvas::paintGround(QPainter& painter, const QRectF& target) const {
  const int side = metrics::groupSpace;
  const QRect seen = target.toAlignedRect() & rect();
  painter.fillRect(seen, QColor(0x66, 0x66, 0x66));
  painter.save();
  painter.setClipRect(seen);
  for (int y = seen.top() / side; y <= seen.bottom() / side; ++y)
    for (int x = seen.left() / side; x <= seen.right() / side; ++x)
      if ((x + y) % 2) painter.fillRect(x * side, y * side, side, side, QColor(0x99, 0x99, 0x99));
  painter.restore();
}

void PictureCanvas::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const Tokens& t = tokens();
  painter.fillRect(rect(), t.window);
  if (image_.isNull()) {
    painter.setPen(t.dim);
    const QRect middle = rect().adjusted(24, 24, -24, -24);
    return painter.drawText(middle, Qt::AlignCenter | Qt::TextWordWrap, emptyText_);
  }
  const QRectF target = pictureRect();
  if (image_.hasAlphaChannel()) paintGround(painter, target);
  if (zoom_ >= 1) {
    // Only the visible part, in whole pixels of the picture.
    const double ratio = devicePixelRatioF(), size = zoom_ / ratio;
    const QRectF seen = target & QRectF(rect());
    const int left = static_cast<int>(std::floor((seen.left() - target.left()) / size));
    const int top = static_cast<int>(std::floor((seen.top() - target.top()) / size));
    const int right = static_cast<int>(std::ceil((seen.right() - target.left()) / size));
    const int bottom = static_cast<int>(std::ceil((seen.bottom() - target.top()) / size));
    const QRect part = QRect(left, top, right - left, bottom - top) & image_.rect();
    const QRectF where(target.left() + part.left() * size, target.top() + part.top() * size,
                       part.width() * size, part.height() * size);
    return painter.drawImage(where, image_, part);
  }
  if (scaled_.isNull()) {
    const QSize pixels(std::max(1, static_cast<int>(std::lround(image_.width() * zoom_))),
                       std::max(1, static_cast<int>(std::lround(image_.height() * zoom_))));
    scaled_ = image_.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
  }
  painter.drawImage(target, scaled_);
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
  if (event->button() != Qt::LeftButton && event->button() != Qt::MiddleButton)
    return QWidget::mousePressEvent(event);
  panning_ = !image_.isNull();
  last_ = event->position();
  if (panning_) setCursor(Qt::ClosedHandCursor);
}

void PictureCanvas::mouseMoveEvent(QMouseEvent* event) {
  if (panning_ && event->position() != last_)
    pan(event->position() - std::exchange(last_, event->position()));
  tellHover(event->position());
}

void PictureCanvas::mouseReleaseEvent(QMouseEvent* event) {
  if (!panning_) return QWidget::mouseReleaseEvent(event);
  panning_ = false;
  unsetCursor();
}

void PictureCanvas::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mouseDoubleClickEvent(event);
  if (fitted_)
    setZoom(1, event->position());
  else
    fit();
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
