#include "canvas_look.h"

#include <new>

#include "film.h"
#include "picture_rows.h"
#include "worker_threads.h"

namespace host {

namespace {

// Rec. 709's weights in 256ths, of display values: a quick look, not a measurement.
int luminance(const unsigned char* p) {
  return (54 * p[0] + 183 * p[1] + 19 * p[2]) / 256;
}

QRgb grey(int value) {
  return qRgb(value, value, value);
}

QRgb shownPixel(const unsigned char* p, int alpha, const CanvasLook& look) {
  if (look.clipping && look.channel != CanvasChannel::alpha) {
    if (p[0] == 255 || p[1] == 255 || p[2] == 255) return qRgb(255, 0, 0);
    if (p[0] == 0 && p[1] == 0 && p[2] == 0) return qRgb(0, 0, 255);
  }
  switch (look.channel) {
  case CanvasChannel::red:
    return grey(p[0]);
  case CanvasChannel::green:
    return grey(p[1]);
  case CanvasChannel::blue:
    return grey(p[2]);
  case CanvasChannel::alpha:
    return grey(alpha);
  case CanvasChannel::luminance:
    return grey(luminance(p));
  default:
    return qRgba(p[0], p[1], p[2], alpha);
  }
}

QImage makeImage(const PictureRows& rows, const CanvasLook& look) {
  const BaseBitmap& bitmap = rows.bitmap();
  const bool alpha = rows.hasAlpha() && look.channel == CanvasChannel::all;
  QImage image(bitmap.GetBw(), bitmap.GetBh(), alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
  if (image.isNull()) return {};
  const ViewTransform view(look.view);
  uchar* const bits = image.bits(); // not shared yet
  const auto stride = image.bytesPerLine();
  eachRow(image.height(), [&](int y) {
    std::vector<unsigned char> row(static_cast<std::size_t>(bitmap.GetBw()) * 3);
    rows.read(view, y, row.data());
    auto* line = reinterpret_cast<QRgb*>(bits + y * stride);
    for (int x = 0; x < bitmap.GetBw(); ++x)
      line[x] = shownPixel(row.data() + 3 * static_cast<std::size_t>(x),
                           rows.hasAlpha() ? bitmap.GetAlpha(x, y) : 255, look);
  });
  return image;
}

} // namespace

bool isAsRendered(const BaseBitmap& bitmap, const CanvasLook& look) {
  CanvasLook beside = look;
  beside.view = {};
  return beside == CanvasLook() && isShownThrough(bitmap, look.view);
}

QImage lookImage(const PictureRows& rows, const CanvasLook& look) {
  try {
    return makeImage(rows, look);
  } catch (const std::bad_alloc&) {
    return {};
  }
}

} // namespace host
