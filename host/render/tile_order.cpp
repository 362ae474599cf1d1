#include "tile_order.h"

#include <algorithm>
#include <cmath>

namespace host::render {

TileOrder::TileOrder(const Region& region, int pictureWidth, int pictureHeight, int size)
    : region_(region), pictureWidth_(pictureWidth), pictureHeight_(pictureHeight) {
  const int width = region.width(), height = region.height();
  for (int y = 0; y < height; y += size)
    for (int x = 0; x < width; x += size)
      tiles_.push_back({x, y, std::min(x + size, width), std::min(y + size, height)});
  sort(renderStart());
}

// Without a start from the middle outwards: viewers look at the middle first.
void TileOrder::sort(const std::optional<PicturePlace>& start) {
  start_ = start;
  long long x = region_.width(), y = region_.height(); // twice the start, in the region
  if (start) {
    const auto twice = [](float place, int pixels, int from) {
      return std::llround(2.0 * std::clamp(static_cast<double>(place), 0.0, 1.0) * pixels) - 2LL * from;
    };
    x = twice(start->x, pictureWidth_, region_.left);
    y = twice(start->y, pictureHeight_, region_.top);
  }
  const auto far = [x, y](const RenderTile& tile) {
    const long long dx = tile.left + tile.right - x, dy = tile.top + tile.bottom - y;
    return dx * dx + dy * dy;
  };
  std::stable_sort(tiles_.begin() + static_cast<std::ptrdiff_t>(given_), tiles_.end(),
                   [&](const RenderTile& a, const RenderTile& b) { return far(a) < far(b); });
}

std::optional<RenderTile> TileOrder::next() {
  const std::optional<PicturePlace> start = renderStart();
  const std::lock_guard lock(mutex_);
  if (given_ == tiles_.size()) return {};
  if (start != start_) sort(start);
  return tiles_[given_++];
}

} // namespace host::render
