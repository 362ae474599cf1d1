#include "picture_source.h"

#include <algorithm>
#include <cmath>

#include "bitmap_image.h"
#include "theme.h"

namespace host {

namespace {

void paintGround(QPainter& painter, const QRect& seen) {
  const int side = metrics::groupSpace;
  painter.fillRect(seen, QColor(0x66, 0x66, 0x66));
  painter.save();
  painter.setClipRect(seen, Qt::IntersectClip);
  for (int y = seen.top() / side; y <= seen.bottom() / side; ++y)
    for (int x = seen.left() / side; x <= seen.right() / side; ++x)
      if ((x + y) % 2) painter.fillRect(x * side, y * side, side, side, QColor(0x99, 0x99, 0x99));
  painter.restore();
}

} // namespace

PictureSource::PictureSource(QObject* parent)
    : CanvasSource(parent), job_([this](const SharedBitmap& bitmap, LookImage made) {
        if (bitmap == bitmap_ && made.there) takeImage(std::move(made.image), made.faults);
      }) {
}

void PictureSource::setBitmap(const SharedBitmap& bitmap, bool filmOnly) {
  const QSize before = image_.size();
  bitmap_ = bitmap;
  look_.filmOnly = filmOnly;
  job_.drop();
  // A picture of the same size keeps the one before on screen until its own image is made: no flash.
  const bool waits =
      bitmap && !isAsRendered(*bitmap, look_) && before == QSize(bitmap->GetBw(), bitmap->GetBh());
  if (!waits) takeImage(bitmap ? bitmapImage(*bitmap) : QImage());
  if (bitmap && !isAsRendered(*bitmap, look_)) job_.start(bitmap, look_, true);
}

void PictureSource::refresh() {
  if (bitmap_) remake(true);
}

void PictureSource::setLook(const CanvasLook& look) {
  CanvasLook wanted = look;
  wanted.layer = look_.layer;
  wanted.filmOnly = look_.filmOnly;
  look_ = wanted;
  if (bitmap_) remake(false);
}

void PictureSource::setLayer(const std::string& layer) {
  if (layer == look_.layer) return;
  look_.layer = layer;
  if (bitmap_) remake(true);
}

void PictureSource::remake(bool changed) {
  if (!isAsRendered(*bitmap_, look_)) return job_.start(bitmap_, look_, changed);
  job_.drop();
  takeImage(bitmapImage(*bitmap_));
}

void PictureSource::takeImage(QImage image, const FaultCount& faults) {
  image_ = std::move(image);
  faults_ = faults;
  scaled_ = QImage();
  emit changed();
}

void PictureSource::paint(QPainter& painter, const CanvasPlace& place) {
  if (image_.isNull()) return;
  if (image_.hasAlphaChannel()) paintGround(painter, place.target(size()).toAlignedRect() & place.view);
  if (place.zoom >= 1)
    paintLarge(painter, place);
  else
    paintSmall(painter, place);
}

// Only the visible part, in whole pixels of the picture.
void PictureSource::paintLarge(QPainter& painter, const CanvasPlace& place) const {
  const double side = place.zoom / place.ratio;
  const QRectF target = place.target(size()), seen = target & QRectF(place.view);
  const int left = static_cast<int>(std::floor((seen.left() - target.left()) / side));
  const int top = static_cast<int>(std::floor((seen.top() - target.top()) / side));
  const int right = static_cast<int>(std::ceil((seen.right() - target.left()) / side));
  const int bottom = static_cast<int>(std::ceil((seen.bottom() - target.top()) / side));
  const QRect part = QRect(left, top, right - left, bottom - top) & image_.rect();
  const QRectF where(target.left() + part.left() * side, target.top() + part.top() * side,
                     part.width() * side, part.height() * side);
  painter.drawImage(where, image_, part);
}

void PictureSource::paintSmall(QPainter& painter, const CanvasPlace& place) {
  if (scaled_.isNull() || scaledFor_ != place.zoom) {
    const QSize pixels(std::max(1, static_cast<int>(std::lround(image_.width() * place.zoom))),
                       std::max(1, static_cast<int>(std::lround(image_.height() * place.zoom))));
    scaled_ = image_.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    scaledFor_ = place.zoom;
  }
  painter.drawImage(place.target(size()), scaled_);
}

} // namespace host
