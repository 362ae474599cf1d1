#include "cache_paths.h"

#include <atomic>

#include "light_parts.h"
#include "path_kernel.h"
#include "worker_threads.h"

namespace host::render {
namespace {

constexpr int mostPaths = 1 << 17;                           // two a pixel, up to so many
constexpr int fewestSamples = 8;                             // a pixel, that the cache's paths are worth
constexpr int chunk = 256;                                   // paths that one worker takes at a time
constexpr int trialChunks = 4;                               // that tell whether a cache pays
constexpr double manyVertices = 2;                           // of a path that meets the scene
constexpr std::uint32_t anyColumn = 0x5eed, anyRow = 0xcace; // of the samples: those of no pixel

class CachePaths {
 public:
  CachePaths(const RayScene& scene, const RenderSettings& settings, const CachedView& view,
             const std::function<bool()>& stopped)
      : scene_(scene), settings_(settings), view_(view), stopped_(stopped),
        groups_(settings.wantedLayers() & lightGroupLayers ? scene.groups().names().size() : 0) {
    // Recorded vertices have as many bounces left as those of the picture's paths.
    settings_.bounces += recordedBounces;
    settings_.layers = 0;
    settings_.denoise = Denoising::off;
    const double paths = 2.0 * view.width * view.height;
    records_.resize(
        static_cast<std::size_t>(std::clamp(paths, double{trialChunks * chunk}, double{mostPaths}) / chunk));
  }

  FilledCache fill() {
    FilledCache filled;
    const bool whole =
        trace(0, trialChunks) && (!pays() || trace(trialChunks, static_cast<int>(records_.size())));
    filled.rays = rays_;
    filled.stopped = !whole;
    if (!whole || !pays()) return filled;
    filled.cache.emplace(view_.camera.origin(), nearestShare * scene_.size(), groups_);
    eachRow(RadianceCache::sizes, [&](int size) { filled.cache->fill(size, records_); });
    return filled;
  }

 private:
  static constexpr float nearestShare = 0.01f; // of the scene's size

  bool trace(int from, int to) {
    eachRow(to - from, [&](int i) { traceChunk(from + i); });
    return !broken_;
  }

  void traceChunk(int index) {
    std::optional<LightParts> parts;
    if (groups_ > 0) parts.emplace(groups_);
    PathRecorder recorder(parts ? &*parts : nullptr);
    RadianceRecords& records = records_[static_cast<std::size_t>(index)];
    for (int i = index * chunk; i < (index + 1) * chunk; ++i) {
      if (broken_ || (stopped_ && stopped_())) {
        broken_ = true;
        return;
      }
      const std::size_t before = records.points.size();
      const PathResult result = tracePath(static_cast<std::uint32_t>(i), parts ? &*parts : nullptr, recorder);
      rays_ += result.rays;
      if (!result.faulty) recorder.end(result.color, records);
      if (index < trialChunks && records.points.size() > before)
        ++met_, vertices_ += records.points.size() - before;
    }
  }

  PathResult tracePath(std::uint32_t number, LightParts* parts, PathRecorder& recorder) const {
    Sampler sampler(anyColumn, anyRow, settings_.cacheSeed, number);
    const Vec2 at = sampler.next2();
    const Vec2 lens = view_.camera.hasOpening() ? sampler.next2() : Vec2(0.5f, 0.5f);
    const Vec2 pixel{at.x * static_cast<float>(view_.width), at.y * static_cast<float>(view_.height)};
    return pathKernel().trace(scene_, settings_, view_.camera.ray(pixel, lens), view_.camera.cone(), sampler,
                              parts, {nullptr, &recorder});
  }

  bool pays() const {
    return static_cast<double>(vertices_) >= manyVertices * static_cast<double>(met_) && met_ > 0;
  }

  const RayScene& scene_;
  RenderSettings settings_;
  const CachedView& view_;
  const std::function<bool()>& stopped_;
  const std::size_t groups_;
  std::vector<RadianceRecords> records_;
  std::atomic<std::uint64_t> rays_{0}, met_{0}, vertices_{0};
  std::atomic<bool> broken_{false};
};

} // namespace

bool wantsCache(const RenderSettings& settings, const RayScene& scene) {
  return settings.radianceCache && settings.plannedSamples() >= fewestSamples && !settings.preview &&
         settings.globalIllumination && !settings.limitReflection && settings.bounces > recordedBounces &&
         !scene.moves() && settings.lightSampling == LightSampling::combined;
}

FilledCache fillCache(const RayScene& scene, const RenderSettings& settings, const CachedView& view,
                      const std::function<bool()>& stopped) {
  return CachePaths(scene, settings, view, stopped).fill();
}

} // namespace host::render
