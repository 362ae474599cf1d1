// The passes of a render over its region: blocks first, then sample after sample, tile by tile.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

#include "film_denoiser.h"
#include "film_writer.h"
#include "layer_sums.h"
#include "pass_plan.h"
#include "pixel_estimate.h"
#include "pixel_filter.h"
#include "progress_steps.h"
#include "render_snapshot.h"

namespace host::render {

class Refinement {
 public:
  /// Both must outlive it.
  Refinement(const RayScene& scene, const RenderRequest& request);
  /// False after a break. Passes on the exceptions of workers. `afterFirst` runs when the first coarse
  /// picture is there, of which no sample is kept; it may change the scene's structures, and false ends the
  /// run.
  bool run(const std::function<bool()>& afterFirst = {});
  /// Denoises the finished picture when the settings ask for it. False after a break: the noisy picture is
  /// then complete. A picture that cannot be denoised stays noisy, see `problem`.
  bool denoise();
  /// A sentence for the user; empty when nothing failed.
  const std::string& problem() const { return denoiser_.problem(); }

  double firstPixelsMs() const {
    return firstPixelsMs_;
  } // since the request; 0 until the first coarse picture is complete
  std::uint64_t rays() const { return rays_; }
  std::uint64_t cameraSamples() const { return cameraSamples_; }
  /// Samples that were not finite and count as 0.
  std::uint64_t faultySamples() const { return faultySamples_; }

 private:
  enum Flag : std::uint8_t { resting = 1, edge = 2 };
  struct Tile {
    int left, top, right, bottom; // exclusive right and bottom, in the region
  };
  // Placement of a pixel's samples: the centre, the whole pixel, or the reach of the filter.
  enum class Spread { centre, pixel, filter };
  struct Place {
    Vec2 point; // in the picture, pixels
    float weight = 1;
  };
  struct PixelSample {
    PathResult light;
    float weight = 1;
  };
  class TileCount;

  bool coarsePass(int block);
  bool coarseTile(const Tile& tile, int block);
  bool finePass(int target);
  bool fineTile(const Tile& tile, int target);
  template <class Work>
  bool eachTile(const std::vector<Tile>& tiles, Work&& work);
  std::vector<Tile> makeTiles(int size) const;

  Spread spreadOf(std::uint8_t flags) const;
  Place placeSample(Vec2 centre, Spread spread, Sampler& sampler) const;
  PixelSample samplePixel(int x, int y, int number, Spread spread, LightParts* parts) const;
  void takeSample(int x, int y, TileCount& count);
  bool denoiseLive(LiveDenoising& live, int samples, const Stopwatch& since);
  void commit(const Tile& tile);
  void findEdges();
  void restQuietPixels();
  std::vector<float> squaredNoise() const;
  float noiseAround(int x, int y, std::uint8_t except) const;
  void putNoise();
  template <class Visit>
  void eachAround(int x, int y, int reach, Visit&& visit) const;
  void addProgress(std::uint64_t samples);
  void endProgress();
  double leftMs() const;
  bool stopped();

  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
  }

  std::size_t filmPixel(int x, int y) {
    return film_.film().pixelAt(x + settings_.region.left, y + settings_.region.top);
  }

  const RayScene& scene_;
  const RenderRequest& request_;
  const RenderSettings& settings_;
  const RenderHooks& hooks_;
  const int width_, height_; // of the region
  const int samples_;        // most samples a pixel
  RenderCamera camera_;
  PixelFilter filter_;
  FilmWriter film_;
  std::vector<PixelEstimate> pixels_;
  LayerSums layers_;
  FilmDenoiser denoiser_;
  std::vector<std::uint8_t> flags_;
  std::size_t resting_ = 0;            // pixels that take no more samples
  std::vector<std::uint32_t> objects_; // of the first sample, for edges; empty without edge detection
  std::atomic<bool> broken_{false};
  std::atomic<std::uint64_t> rays_{0}, cameraSamples_{0}, faultySamples_{0};
  double firstPixelsMs_ = 0;
  std::mutex hookMutex_;   // hooks are called one at a time
  ProgressSteps progress_; // in samples
};

} // namespace host::render
