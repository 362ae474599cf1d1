#include "movie_frame.h"

#include <algorithm>

#include "access.h"

namespace host {

void copyToFrame(const BaseBitmap& bitmap, bool bottomUp, MovieFrame& frame) {
  const std::size_t columns = static_cast<std::size_t>(bitmap.GetBw());
  const std::size_t width = static_cast<std::size_t>(frame.width);
  frame.words.resize(width * static_cast<std::size_t>(frame.height));
  for (int y = 0; y < frame.height; ++y) {
    const int row = std::min(y, bitmap.GetBh() - 1);
    const std::atomic<ULONG>* from = Access::pixels(bitmap) + static_cast<std::size_t>(row) * columns;
    std::uint32_t* to =
        frame.words.data() + static_cast<std::size_t>(bottomUp ? frame.height - 1 - y : y) * width;
    for (std::size_t x = 0; x < columns; ++x)
      to[x] = from[x].load(std::memory_order_relaxed);
    std::fill(to + columns, to + width, to[columns - 1]);
  }
}

} // namespace host
