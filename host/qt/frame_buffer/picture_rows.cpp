#include "picture_rows.h"

#include "canvas_look.h"
#include "film.h"

namespace host {

PictureRows::PictureRows(SharedBitmap bitmap, const CanvasLook& look)
    : bitmap_(std::move(bitmap)), wholePicture_(look.layer.empty()) {
  const std::shared_ptr<Film> film = filmOf(*bitmap_);
  const bool plain = look.desk.isPlain();
  if (film && (!wholePicture_ || (look.filmOnly && plain))) {
    layer_.emplace(film, look.layer);
  } else {
    if (film && look.filmOnly) drawFilm(*bitmap_); // so that nothing counts as drawn over
    drawn_.emplace(*bitmap_);
  }
}

void PictureRows::keep(const DeskLook& desk) {
  layer_ ? layer_->keep() : drawn_->keepLight(desk);
}

void PictureRows::read(const ViewTransform& view, int y, unsigned char* rgb) const {
  layer_ ? layer_->read(view, y, rgb) : drawn_->read(view, y, rgb);
}

bool PictureRows::hasAlpha() const {
  return wholePicture_ && bitmap_->GetBt() == 32;
}

} // namespace host
