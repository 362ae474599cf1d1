#include "material_thumbnails.h"

#include "bitmap_image.h"
#include "icons.h"
#include "theme.h"

namespace host {

QPixmap MaterialThumbnails::of(Identity material) {
  const int pixels = static_cast<int>(side_ * ratio_);
  const std::shared_ptr<const BaseBitmap> bitmap = session_.previews().preview(material, pixels);
  if (!bitmap) return placeholder();
  Known& known = known_[material];
  if (known.bitmap == bitmap && !known.pixmap.isNull()) return known.pixmap;
  QPixmap pixmap(pixels, pixels);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  QPainterPath shape;
  shape.addRoundedRect(pixmap.rect(), metrics::radius * ratio_, metrics::radius * ratio_);
  painter.setClipPath(shape);
  painter.drawImage(pixmap.rect(), bitmapImage(*bitmap));
  painter.end();
  pixmap.setDevicePixelRatio(ratio_);
  known = {bitmap, pixmap};
  return pixmap;
}

QPixmap MaterialThumbnails::placeholder() const {
  const int pixels = static_cast<int>(side_ * ratio_);
  QPixmap pixmap(pixels, pixels);
  pixmap.fill(Qt::transparent);
  pixmap.setDevicePixelRatio(ratio_);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(tokens().panel);
  painter.drawRoundedRect(QRectF(0, 0, side_, side_), metrics::radius, metrics::radius);
  const QPixmap mark = iconPixmap(QStringLiteral("material"), 24, tokens().disabled, ratio_);
  painter.drawPixmap(QPointF((side_ - 24) / 2.0, (side_ - 24) / 2.0), mark);
  return pixmap;
}

} // namespace host
