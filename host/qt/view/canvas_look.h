// How a canvas shows a picture.
#pragma once

#include <QImage>

#include "view_settings.h"

class BaseBitmap;

namespace host {

class ViewedRows;

enum class CanvasChannel { all, red, green, blue, alpha, luminance };

struct CanvasLook {
  ViewSettings view;                          // of pictures with a film
  CanvasChannel channel = CanvasChannel::all; // one channel is shown as grey
  bool clipping = false; // marks pixels with a channel at 255 in red, pixels with all at 0 in blue

  bool isPlain() const { return *this == CanvasLook(); }
  bool operator==(const CanvasLook& other) const = default;
};

/// The picture as an image, with the alpha of a 32-bit bitmap unless one channel is shown. `rows` are the
/// bitmap's. Null when memory is short. Uses the workers. Any thread.
QImage lookImage(const BaseBitmap& bitmap, const ViewedRows& rows, const CanvasLook& look);

} // namespace host
