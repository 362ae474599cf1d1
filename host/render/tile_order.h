// The tiles of a pass over a region, the nearest to the render's start first. Any thread.
#pragma once

#include <cstddef>
#include <mutex>
#include <optional>
#include <vector>

#include "render_settings.h"
#include "render_steering.h"

namespace host::render {

struct RenderTile {
  int left, top, right, bottom; // exclusive right and bottom, in the region
};

/// Gives each tile once. The start is in the region's middle, or where `renderStart` says; when that changes
/// midway, the tiles that are left follow it.
class TileOrder {
 public:
  /// Tiles of this size over a region of a picture, in pixels.
  TileOrder(const Region& region, int pictureWidth, int pictureHeight, int size);

  /// The next one; nothing when all are given.
  std::optional<RenderTile> next();
  std::size_t count() const noexcept { return tiles_.size(); }

 private:
  void sort(const std::optional<PicturePlace>& start);

  const Region region_;
  const int pictureWidth_, pictureHeight_;
  std::mutex mutex_; // of those below
  std::vector<RenderTile> tiles_;
  std::size_t given_ = 0;
  std::optional<PicturePlace> start_;
};

} // namespace host::render
