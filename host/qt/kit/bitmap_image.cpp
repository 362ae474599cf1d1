#include "bitmap_image.h"

#include "c4d_bitmap.h"
#include "history_entry.h"

namespace host {

QImage bitmapImage(const BaseBitmap& bitmap, bool opaque) {
  const bool alpha = !opaque && bitmap.GetBt() == 32;
  QImage image(bitmap.GetBw(), bitmap.GetBh(), alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
  if (image.isNull()) return {};
  const QRgb solid = alpha ? 0 : qRgba(0, 0, 0, 255);
  for (int y = 0; y < image.height(); ++y) {
    auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
    auto* argb = reinterpret_cast<UCHAR*>(line);
    bitmap.GetPixelCnt(0, y, image.width(), argb, 4, COLORMODE_ARGB);
    for (int x = 0; x < image.width(); ++x, argb += 4)
      line[x] = qRgba(argb[1], argb[2], argb[3], argb[0]) | solid;
  }
  return image;
}

QImage thumbnailImage(const ThumbnailPtr& thumbnail) {
  if (!thumbnail) return {};
  return QImage(thumbnail->rgb.data(), thumbnail->width, thumbnail->height, 3 * thumbnail->width,
                QImage::Format_RGB888)
      .copy();
}

} // namespace host
