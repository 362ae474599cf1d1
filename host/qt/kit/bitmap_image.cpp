#include "bitmap_image.h"

#include "c4d_bitmap.h"

namespace host {

QImage bitmapImage(const BaseBitmap& bitmap, bool opaque) {
  const bool alpha = !opaque && bitmap.GetBt() == 32;
  QImage image(bitmap.GetBw(), bitmap.GetBh(), alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
  if (image.isNull()) return {};
  for (int y = 0; y < image.height(); ++y) {
    auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      UWORD r = 0, g = 0, b = 0;
      bitmap.GetPixel(x, y, &r, &g, &b);
      line[x] = alpha ? qRgba(r, g, b, bitmap.GetAlpha(x, y)) : qRgb(r, g, b);
    }
  }
  return image;
}

} // namespace host
