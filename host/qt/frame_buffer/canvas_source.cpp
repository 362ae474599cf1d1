#include "canvas_source.h"

namespace host {

QRectF CanvasPlace::target(const QSize& size) const {
  return {origin / ratio, QSizeF(size) * (zoom / ratio)};
}

} // namespace host
