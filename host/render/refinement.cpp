#include "refinement.h"

#include <array>
#include <bit>

#include "path_kernel.h"
#include "software_preview.h"
#include "surface_shading.h"
#include "worker_threads.h"

namespace host::render {
namespace {

constexpr int tileSize = 32;
constexpr int leastSamples = 16; // before a pixel's noise is estimated
constexpr float loneNoise = 9;   // a pixel's own squared error counts from so many times the threshold's

// The software preview takes the pixel's centre, and with anti-aliasing four fixed places more.
int samplesOf(const RenderSettings& settings) {
  if (!settings.preview) return settings.samples;
  return settings.antiAliasing == AntiAliasing::none ? 1 : 5;
}
Vec2 previewPlace(Vec2 centre, int number) {
  constexpr std::array<Vec2, 5> grid{
      {{0, 0}, {-0.125f, -0.375f}, {0.375f, -0.125f}, {0.125f, 0.375f}, {-0.375f, 0.125f}}};
  return centre + grid[static_cast<std::size_t>(number) % grid.size()];
}

} // namespace

/// The working state of a tile. Counts its samples and rays; adds them to the totals when the tile ends,
/// finished or not.
class Refinement::TileCount {
 public:
  explicit TileCount(Refinement& refinement) : refinement_(refinement) {
    if (refinement.layers_.wantsParts()) parts_.emplace(refinement.layers_.makeParts());
  }
  ~TileCount() {
    refinement_.cameraSamples_.fetch_add(samples_);
    refinement_.rays_.fetch_add(rays_);
    if (faulty_ > 0) refinement_.faultySamples_.fetch_add(faulty_);
  }
  TileCount(const TileCount&) = delete;
  TileCount& operator=(const TileCount&) = delete;

  void add(const PathResult& result) {
    ++samples_;
    rays_ += result.rays;
    faulty_ += result.faulty;
  }
  /// A sample that the picture shows for a while only.
  void addPassing(const PathResult& result) { rays_ += result.rays; }
  std::uint64_t samples() const { return samples_; }
  /// Of the path being traced; null when they are not wanted.
  LightParts* parts() { return parts_ ? &*parts_ : nullptr; }

 private:
  Refinement& refinement_;
  std::uint64_t samples_ = 0, rays_ = 0, faulty_ = 0;
  std::optional<LightParts> parts_;
};

Refinement::Refinement(const RayScene& scene, const RenderRequest& request)
    : scene_(scene), request_(request), settings_(request.settings), hooks_(request.hooks),
      width_(settings_.region.width()), height_(settings_.region.height()), samples_(samplesOf(settings_)),
      camera_(scene.snapshot().camera, request.bitmap->GetBw(), request.bitmap->GetBh(),
              request.settings.preview ? 1 : request.settings.plannedSamples()),
      filter_(settings_.filter),
      film_(*request.bitmap, settings_, scene.sky().present() && scene.sky().seenByCamera()),
      pixels_(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_)),
      noise_(pixels_, width_, height_),
      goals_(pixels_.size(), samples_, settings_.preview || settings_.spread == SampleSpread::evenly),
      layers_(settings_, layerFactsOf(scene, settings_), pixels_.size()),
      denoiser_(request, film_, layers_.hits()), progress_(hooks_.progress) {
  const std::size_t count = pixels_.size();
  layers_.addLayers(film_.film());
  layers_.addNames(film_.film(), scene);
  flags_.resize(count);
  if (settings_.antiAliasing == AntiAliasing::geometry && !settings_.preview) objects_.resize(count);
  progress_.setTotal(static_cast<double>(count) * (samples_ - request.level));
}

bool Refinement::stopped() {
  if (broken_.load(std::memory_order_relaxed)) return true;
  if (!hooks_.stopped || !hooks_.stopped()) return false;
  broken_.store(true, std::memory_order_relaxed);
  return true;
}

// The first picture: blocks, or what an earlier render has left.
bool Refinement::begin(const std::function<bool()>& afterFirst) {
  const bool goesOn = request_.samples != nullptr;
  if (goesOn) restoreSamples();
  if (goesOn ? !showRestored() : !coarsePass(8)) return false;
  firstPixelsMs_ = request_.since.milliseconds();
  if (hooks_.visible) hooks_.visible();
  if (afterFirst && !afterFirst()) return false;
  return goesOn || coarsePass(4);
}

bool Refinement::run(const std::function<bool()>& afterFirst) {
  addProgress(0);
  if (!begin(afterFirst) || !makeCache()) return false;
  addProgress(static_cast<double>(cameraSamples_));
  if (level_ > 0) settle(level_);
  PassPlan plan(samples_, level_);
  LiveDenoising live(pixels_.size());
  const Stopwatch since;
  while (!plan.finished() && resting_ < pixels_.size()) {
    const Stopwatch pass;
    const double left = leftMs();
    if (left <= 0 && plan.done() > 0) break;
    if (goals_.wantsDeal(plan.done())) dealSamples(plan.done());
    const int target = plan.next(left);
    if (!finePass(target)) return false;
    plan.passed(target, pass.milliseconds());
    level_ = target;
    tellNoise(target);
    if (plan.finished()) break;
    settle(target);
    if (!denoiseLive(live, target, since)) return false;
  }
  putNoise();
  endProgress();
  return true;
}

bool Refinement::makeCache() {
  if (cache_ || !wantsCache(settings_, scene_)) return true;
  FilledCache filled =
      fillCache(scene_, settings_, {camera_, request_.bitmap->GetBw(), request_.bitmap->GetBh()},
                [&] { return stopped(); });
  rays_ += filled.rays;
  cache_ = std::move(filled.cache);
  return !filled.stopped;
}

// Decides, by the samples so far, about those to come.
void Refinement::settle(int level) {
  if (level == 1 && !objects_.empty()) findEdges();
  const bool doubled = std::has_single_bit(static_cast<unsigned>(level));
  if (doubled && level >= leastSamples && settings_.noise > 0 && !settings_.preview) restQuietPixels();
}

// Until the time limit.
double Refinement::leftMs() const {
  return settings_.seconds > 0 ? 1000 * settings_.seconds - request_.since.milliseconds() : 1e12;
}

// After the first time the bitmap shows denoised pixels only.
bool Refinement::denoiseLive(LiveDenoising& live, int samples, const Stopwatch& since) {
  if (settings_.denoise != Denoising::live || settings_.preview || !denoiser_.problem().empty()) return true;
  if (!live.isDue(samples, since.milliseconds())) return true;
  const Stopwatch time;
  if (!denoiser_.run(denoise::Effort::live)) return false;
  live.denoised(samples, time.milliseconds());
  if (denoiser_.problem().empty()) film_.holdNoise();
  return true;
}

bool Refinement::denoise() {
  if (!settings_.denoises() || settings_.preview) return true;
  return denoiser_.run(denoise::Effort::final);
}

template <class Work>
bool Refinement::eachTile(int size, Work&& work) {
  TileOrder tiles(settings_.region, request_.bitmap->GetBw(), request_.bitmap->GetBh(), size);
  const int count = std::min(workerCount(), static_cast<int>(std::min<std::size_t>(tiles.count(), 1024)));
  runOnWorkers(count, [&](int) {
    while (!broken_.load(std::memory_order_relaxed)) {
      const std::optional<Tile> tile = tiles.next();
      if (!tile || !work(*tile)) break;
    }
  });
  return !broken_.load(std::memory_order_relaxed);
}

bool Refinement::showRestored() {
  return eachTile(tileSize, [&](const Tile& tile) {
    commit(tile);
    return !stopped();
  });
}

bool Refinement::coarsePass(int block) {
  return eachTile(tileSize * 2, [&](const Tile& tile) { return coarseTile(tile, block); });
}

// The first sample of a pixel in the middle stands for each block; the blocks lie on the picture's own grid,
// so regions agree with it.
bool Refinement::coarseTile(const Tile& tile, int block) {
  const int left = settings_.region.left, top = settings_.region.top;
  TileCount count(*this);
  for (int y = tile.top; y < tile.bottom; y = ((top + y) / block + 1) * block - top)
    for (int x = tile.left; x < tile.right; x = ((left + x) / block + 1) * block - left) {
      if (stopped()) return false;
      const int right = std::min(tile.right, ((left + x) / block + 1) * block - left);
      const int bottom = std::min(tile.bottom, ((top + y) / block + 1) * block - top);
      const int middleX = (x + right) / 2, middleY = (y + bottom) / 2;
      const PixelEstimate pixel = blockSample(middleX, middleY, count);
      for (int py = y; py < bottom; ++py)
        for (int px = x; px < right; ++px)
          film_.put(px + left, py + top, pixel);
    }
  return true;
}

// Counts as the pixel's first sample, unless that one is to come from the cache.
PixelEstimate Refinement::blockSample(int x, int y, TileCount& count) {
  PixelEstimate& pixel = pixels_[index(x, y)];
  if (!wantsCache(settings_, scene_)) {
    if (pixel.count() == 0) takeSample(x, y, count);
    return pixel;
  }
  const PixelSample sample = samplePixel(x, y, 0, spreadOf(flags_[index(x, y)]), count.parts());
  count.addPassing(sample.light);
  PixelEstimate shown;
  shown.add(sample.light, sample.weight);
  return shown;
}

bool Refinement::finePass(int level) {
  return eachTile(tileSize, [&](const Tile& tile) { return fineTile(tile, level); });
}

bool Refinement::fineTile(const Tile& tile, int level) {
  TileCount count(*this);
  for (int y = tile.top; y < tile.bottom; ++y)
    for (int x = tile.left; x < tile.right; ++x) {
      const std::size_t i = index(x, y);
      if (flags_[i] & resting) continue;
      const int goal = goals_.at(i, level);
      while (pixels_[i].count() < goal) {
        if (stopped()) return false;
        takeSample(x, y, count);
      }
    }
  commit(tile);
  addProgress(progressOfSample_ * static_cast<double>(count.samples()));
  return true;
}

void Refinement::takeSample(int x, int y, TileCount& count) {
  const std::size_t i = index(x, y);
  PixelEstimate& pixel = pixels_[i];
  const PixelSample sample = samplePixel(x, y, pixel.count(), spreadOf(flags_[i]), count.parts());
  count.add(sample.light);
  if (pixel.count() == 0 && !objects_.empty()) objects_[i] = sample.light.object;
  pixel.add(sample.light, sample.weight);
  layers_.add(i, sample.light, count.parts(), sample.weight);
}

// With several samples their number smooths a pixel without a filter; a lone sample lies best at the centre.
Refinement::Spread Refinement::spreadOf(std::uint8_t flags) const {
  const bool wide = settings_.antiAliasing == AntiAliasing::best ||
                    (settings_.antiAliasing == AntiAliasing::geometry && (flags & edge));
  if (wide) return Spread::filter;
  return settings_.plannedSamples() > 1 ? Spread::pixel : Spread::centre;
}

Refinement::Place Refinement::placeSample(Vec2 centre, Spread spread, Sampler& sampler) const {
  if (spread == Spread::pixel) {
    const Vec2 at = sampler.next2();
    return {centre + Vec2{at.x - 0.5f, at.y - 0.5f}};
  }
  if (spread == Spread::filter) {
    const PixelFilter::Sample s = filter_.sample(sampler.next2());
    return {centre + s.offset, s.weight};
  }
  return {centre};
}

Refinement::PixelSample Refinement::samplePixel(int x, int y, int number, Spread spread,
                                                LightParts* parts) const {
  const int px = x + settings_.region.left, py = y + settings_.region.top;
  const Vec2 centre{static_cast<float>(px) + 0.5f, static_cast<float>(py) + 0.5f};
  if (settings_.preview) {
    const auto trace = settings_.showsSurfaces() ? traceSurface : tracePreview;
    return {trace(scene_, settings_, camera_.ray(previewPlace(centre, number)), camera_.cone())};
  }
  Sampler sampler(static_cast<std::uint32_t>(px), static_cast<std::uint32_t>(py), settings_.seed,
                  settings_.firstSample + static_cast<std::uint32_t>(number));
  const Place place = placeSample(centre, spread, sampler);
  const Vec2 lens = camera_.hasOpening() ? sampler.next2() : Vec2(0.5f, 0.5f);
  const float time = scene_.moves() ? sampler.next1() : 0;
  return {pathKernel().trace(scene_, settings_, camera_.ray(place.point, lens, time), camera_.cone(), sampler,
                             parts, {cache_ ? &*cache_ : nullptr}),
          place.weight};
}

void Refinement::commit(const Tile& tile) {
  std::unique_lock<std::mutex> lock(hookMutex_, std::defer_lock);
  if (hooks_.beginTile || hooks_.endTile) lock.lock();
  if (hooks_.beginTile) hooks_.beginTile();
  for (int y = tile.top; y < tile.bottom; ++y)
    for (int x = tile.left; x < tile.right; ++x) {
      const std::size_t i = index(x, y);
      if (pixels_[i].count() == 0) continue;
      film_.put(x + settings_.region.left, y + settings_.region.top, pixels_[i]);
      layers_.put(filmPixel(x, y), i, pixels_[i]);
    }
  if (hooks_.endTile) hooks_.endTile();
}

// A pixel lies on an edge when the first sample of a neighbour hit another object.
void Refinement::findEdges() {
  for (int y = 0; y < height_; ++y)
    for (int x = 0; x < width_; ++x) {
      const std::uint32_t own = objects_[index(x, y)];
      noise_.eachAround(x, y, 1, [&](std::size_t i) {
        if (objects_[i] != own) flags_[index(x, y)] |= edge;
      });
    }
}

// A pixel rests when its neighbourhood is quiet: a single estimate below the threshold is a coincidence.
void Refinement::restQuietPixels() {
  const std::vector<float> noise = squaredNoise();
  const float threshold = settings_.noise * settings_.noise;
  double spared = 0;
  for (std::size_t i = 0; i < pixels_.size(); ++i) {
    if (flags_[i] & (resting | edge)) continue; // edges between objects take all samples
    if (pixels_[i].count() < leastSamples) continue;
    if (noise[i] > threshold || pixels_[i].squaredError() > loneNoise * threshold) continue;
    flags_[i] |= resting;
    ++resting_;
    if (goals_.even()) spared += samples_ - pixels_[i].count();
  }
  addProgress(spared);
}

// The share of pixels that rest is spared, not given to others. All rounds of a length are the same progress.
void Refinement::dealSamples(int level) {
  goals_.deal(level, noise_.demands());
  double samples = 0;
  for (std::size_t i = 0; i < pixels_.size(); ++i)
    if (!(flags_[i] & resting)) samples += goals_.ofRound(i);
  const double even = static_cast<double>(goals_.roundLength()) * static_cast<double>(pixels_.size());
  progressOfSample_ = samples > 0 ? even / samples : 1;
}

void Refinement::putNoise() {
  if (!layers_.wantsNoise()) return;
  eachRow(height_, [&](int y) {
    for (int x = 0; x < width_; ++x)
      layers_.putNoise(filmPixel(x, y),
                       std::sqrt(noise_.squaredError(x, y, [](std::size_t) { return true; })));
  });
}

// Some pixels, evenly spread, say as much as all of them at a small part of the cost.
void Refinement::tellNoise(int level) {
  if (!hooks_.noise || level < 4 || !std::has_single_bit(static_cast<unsigned>(level)) || settings_.preview)
    return;
  constexpr std::size_t measured = 65536;
  const std::size_t step = (pixels_.size() / measured) | 1; // odd: runs over all columns
  double sum = 0;
  std::size_t count = 0;
  for (std::size_t i = 0; i < pixels_.size(); i += step, ++count)
    sum += static_cast<double>(pixels_[i].squaredError());
  if (count > 0) hooks_.noise(std::sqrt(sum / static_cast<double>(count)));
}

// The mean squared error around each pixel, of the pixels that still take samples.
std::vector<float> Refinement::squaredNoise() const {
  std::vector<float> noise(pixels_.size());
  const auto takes = [&](std::size_t i) { return !(flags_[i] & resting); };
  eachRow(height_, [&](int y) {
    for (int x = 0; x < width_; ++x)
      if (takes(index(x, y))) noise[index(x, y)] = noise_.squaredError(x, y, takes);
  });
  return noise;
}

void Refinement::endProgress() {
  const std::lock_guard lock(hookMutex_);
  progress_.reach(1);
}

void Refinement::addProgress(double samples) {
  const std::lock_guard lock(hookMutex_);
  progress_.add(samples);
  if (settings_.seconds > 0) progress_.reach(request_.since.milliseconds() / (1000 * settings_.seconds));
}

} // namespace host::render
