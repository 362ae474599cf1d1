// The passes of a render over its region: blocks first, then sample after sample, tile by tile.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

#include "cache_paths.h"
#include "film_denoiser.h"
#include "film_writer.h"
#include "layer_sums.h"
#include "noise_map.h"
#include "pass_plan.h"
#include "pixel_estimate.h"
#include "pixel_filter.h"
#include "progress_steps.h"
#include "render_snapshot.h"
#include "sample_goals.h"
#include "tile_order.h"

namespace host::render {

class Refinement {
 public:
  /// Both must outlive it.
  Refinement(const RayScene& scene, const RenderRequest& request);
  /// False after a break. Passes on the exceptions of workers. `afterFirst` runs when the first coarse
  /// picture is there, of which no sample is kept; it may change the scene's structures, and false ends the
  /// run.
  bool run(const std::function<bool()>& afterFirst = {});
  /// Gives the film the samples of the finished picture when the settings ask for it.
  void keepSamples();
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
  using Tile = RenderTile;
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

  bool begin(const std::function<bool()>& afterFirst);
  bool showRestored();
  void restoreSamples();
  template <class Archive>
  bool archive(Archive& archive, std::size_t pixel, const SampleLayout& layout);
  bool makeCache();
  void settle(int level);
  bool coarsePass(int block);
  bool coarseTile(const Tile& tile, int block);
  PixelEstimate blockSample(int x, int y, TileCount& count);
  bool finePass(int level);
  bool fineTile(const Tile& tile, int level);
  template <class Work>
  bool eachTile(int size, Work&& work);

  Spread spreadOf(std::uint8_t flags) const;
  Place placeSample(Vec2 centre, Spread spread, Sampler& sampler) const;
  PixelSample samplePixel(int x, int y, int number, Spread spread, LightParts* parts) const;
  void takeSample(int x, int y, TileCount& count);
  bool denoiseLive(LiveDenoising& live, int samples, const Stopwatch& since);
  void commit(const Tile& tile);
  void findEdges();
  void restQuietPixels();
  std::vector<float> squaredNoise() const;
  void dealSamples(int level);
  void putNoise();
  void tellNoise(int level);
  void addProgress(double samples);
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
  const int samples_;        // of a pixel: the most, or the last level of goals_
  RenderCamera camera_;
  PixelFilter filter_;
  FilmWriter film_;
  std::vector<PixelEstimate> pixels_;
  NoiseMap noise_;
  SampleGoals goals_;
  LayerSums layers_;
  FilmDenoiser denoiser_;
  std::optional<RadianceCache> cache_;
  std::vector<std::uint8_t> flags_;
  int level_ = 0;                      // samples a pixel after the last pass, as PassPlan counts them
  std::size_t resting_ = 0;            // pixels that take no more samples
  std::vector<std::uint32_t> objects_; // of the first sample, for edges; empty without edge detection
  std::atomic<bool> broken_{false};
  std::atomic<std::uint64_t> rays_{0}, cameraSamples_{0}, faultySamples_{0};
  double firstPixelsMs_ = 0;
  std::mutex hookMutex_;   // hooks are called one at a time
  ProgressSteps progress_; // in samples, if all pixels took the same number
  double progressOfSample_ = 1;
};

} // namespace host::render
