// Writes pixels into a bitmap: linear floats into its film, codes into the bitmap itself.
#pragma once

#include <memory>

#include "film.h"

namespace host::render {

/// Any thread writes; each pixel by one thread at a time.
class FilmWriter {
 public:
  /// Keeps the film of the bitmap; without one, makes a film that agrees with the pixels of the bitmap.
  explicit FilmWriter(BaseBitmap& bitmap);
  /// A linear colour and its coverage, inside the bitmap.
  void put(int x, int y, const float rgba[4]);

 private:
  BaseBitmap& bitmap_;
  std::shared_ptr<Film> film_;
};

} // namespace host::render
