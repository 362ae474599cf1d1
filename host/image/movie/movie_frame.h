// A movie's frame on its way from a bitmap to the encoder. Private to host/image.
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

/// Copies the bitmap into the frame, which already has its size: at least the bitmap's. What is beyond the
/// bitmap repeats its last column and row. Throws std::bad_alloc.
void copyToFrame(const BaseBitmap& bitmap, bool bottomUp, MovieFrame& frame);

} // namespace host
