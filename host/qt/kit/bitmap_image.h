// The host's bitmaps as images of Qt. Any thread.
#pragma once

#include <QImage>
#include <memory>

class BaseBitmap;

namespace host {

struct Thumbnail;

/// A copy of the pixels, with the alpha channel of a 32-bit bitmap unless `opaque` is set. Null for an empty
/// bitmap, or when memory is short.
QImage bitmapImage(const BaseBitmap& bitmap, bool opaque = false);

/// Null for no thumbnail.
QImage thumbnailImage(const std::shared_ptr<const Thumbnail>& thumbnail);

} // namespace host
