// The pixels of a picture with a layer chosen.
#pragma once

#include <memory>
#include <optional>

#include "host_renders.h"
#include "layer_rows.h"
#include "viewed_bitmap.h"

namespace host {

struct CanvasLook;
struct DeskLook;

/// Rows of the bitmap, in which pixels that were drawn over count; or of the film alone, for layers and for
/// pictures that are films.
class PictureRows {
 public:
  PictureRows(SharedBitmap bitmap, const CanvasLook& look);

  /// Takes the pixels as they are now; before `read`. Uses the workers. Throws std::bad_alloc.
  void keep(const DeskLook& desk);
  void read(const ViewTransform& view, int y, unsigned char* rgb) const;
  /// False when the picture has no such layer.
  bool isThere() const { return !layer_ || layer_->isThere(); }
  /// Whether the bitmap's alpha belongs to the picture.
  bool hasAlpha() const;
  FaultCount faults() const { return layer_ ? layer_->faults() : FaultCount(); }
  const BaseBitmap& bitmap() const { return *bitmap_; }

 private:
  SharedBitmap bitmap_;
  bool wholePicture_;
  std::optional<ViewedRows> drawn_;
  std::optional<LayerRows> layer_;
};

} // namespace host
