// The passes of a render over its region: blocks first, then sample after sample, tile by tile.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "film.h"
#include "path_tracer.h"
#include "pixel_filter.h"
#include "render_snapshot.h"

namespace host::render {

/// A film for the bitmap: the one that it has, else a new one that agrees with the pixels that are there.
std::shared_ptr<Film> filmFor(BaseBitmap& bitmap);
/// Puts a linear colour and its coverage into the film and, through the display transform, into the bitmap.
void showPixel(Film& film, BaseBitmap& bitmap, int x, int y, const float rgba[4]);

class Refinement {
 public:
  Refinement(const RayScene& scene, const RenderSettings& settings, BaseBitmap& bitmap,
             const RenderHooks& hooks, RenderStats& stats, SteadyTime started);
  /// False after a break. May throw what a worker threw.
  bool run();

 private:
  /// What a pixel has gathered. `tone` is the displayed brightness, whose spread tells the noise.
  struct Pixel {
    float color[3] = {0, 0, 0};
    float alpha = 0, weight = 0, tone = 0, tone2 = 0;
    std::int32_t count = 0;
  };
  enum Flag : std::uint8_t { resting = 1, edge = 2 };
  struct Tile {
    int left, top, right, bottom; // exclusive right and bottom, in the region
  };

  bool coarsePass(int block);
  bool finePass(int target);
  bool coarseTile(const Tile& tile, int block, std::uint64_t& rays);
  bool fineTile(const Tile& tile, int target, std::uint64_t& rays);
  template <class Work>
  bool eachTile(const std::vector<Tile>& tiles, Work&& work);
  std::vector<Tile> makeTiles(int size) const;

  // Where the samples of a pixel lie: its middle, all of it, or as far as the filter reaches.
  enum class Spread { centre, pixel, filter };
  Spread spreadOf(std::uint8_t flags) const;
  PathResult sample(int x, int y, int index, Spread spread, float& weight, std::uint64_t& rays) const;
  void gather(Pixel& pixel, const PathResult& result, float weight) const;
  void commit(const Tile& tile);
  void show(int x, int y, const float rgba[4]);
  void findEdges();
  void restQuietPixels();
  float error(const Pixel& pixel) const;
  void tell(std::uint64_t more);
  bool stopped();

  Pixel& at(int x, int y) { return pixels_[index(x, y)]; }
  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
  }

  const RayScene& scene_;
  const RenderSettings& settings_;
  BaseBitmap& bitmap_;
  const RenderHooks& hooks_;
  RenderStats& stats_;
  SteadyTime started_;
  RenderCamera camera_;
  PixelFilter filter_;
  std::shared_ptr<Film> film_;
  int width_, height_, samples_, workers_; // of the region
  std::vector<Pixel> pixels_;
  std::vector<std::uint8_t> flags_;
  std::vector<std::uint32_t> objects_; // of the first sample, for edges
  std::atomic<bool> broken_{false};
  std::atomic<std::uint64_t> rays_{0}, cameraSamples_{0};
  std::mutex tellMutex_;
  std::uint64_t done_ = 0, total_ = 1;
  double told_ = -1;
};

} // namespace host::render
