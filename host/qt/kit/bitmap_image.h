// The host's bitmaps as images of Qt. Any thread.
#pragma once

#include <QImage>

class BaseBitmap;

namespace host {

/// A copy of the pixels, with the alpha channel of a 32-bit bitmap unless `opaque` is set. Null for an empty
/// bitmap, or when memory is short.
QImage bitmapImage(const BaseBitmap& bitmap, bool opaque = false);

} // namespace host
