// How a canvas shows a picture.
#pragma once

#include <QImage>

#include "desk_look.h"
#include "view_settings.h"

namespace host {

class PictureRows;

enum class CanvasChannel { all, red, green, blue, alpha, luminance };

struct CanvasLook {
  ViewSettings view;     // of pictures with a film
  DeskLook desk;         // of pictures with a film, not of its layers
  std::string layer;     // of the film, as shownLayers names it; empty: the picture itself
  bool filmOnly = false; // the film is the picture: pixels drawn over it do not count
  CanvasChannel channel = CanvasChannel::all; // one channel is shown as grey
  bool clipping = false; // marks pixels with a channel at 255 in red, pixels with all at 0 in blue

  bool operator==(const CanvasLook& other) const = default;
};

/// Whether the bitmap's own codes are the picture in this look.
bool isAsRendered(const BaseBitmap& bitmap, const CanvasLook& look);

/// The picture as an image, with its alpha unless one channel is shown. Null when memory is short. Uses the
/// workers. Any thread.
QImage lookImage(const PictureRows& rows, const CanvasLook& look);

} // namespace host
