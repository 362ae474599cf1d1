// A movie's frame between bitmap and encoder. Private to host/image.
#pragma once

#include <cstdint>
#include <vector>

#include "c4d_bitmap.h"

namespace host {

/// 0xAARRGGBB words, row by row, of the size that is encoded.
struct MovieFrame {
  int width = 0, height = 0;
  std::vector<std::uint32_t> words;
};

/// Copies the bitmap into the frame, which already has its size: at least the bitmap's. Pixels beyond the
/// bitmap repeat its last column and row. Throws std::bad_alloc.
void copyToFrame(const BaseBitmap& bitmap, bool bottomUp, MovieFrame& frame);

} // namespace host
