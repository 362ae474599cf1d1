#include "refinement.h"

#include <array>
#include <bit>
#include <optional>

#include "path_kernel.h"
#include "software_preview.h"
#include "worker_threads.h"

namespace host::render {
namespace {

constexpr int tileSize = 32;
constexpr int leastSamples = 16; // before a pixel's noise is estimated
constexpr int noiseReach = 2;    // of the neighbourhood that it is estimated from
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
              request.settings.preview ? 1 : request.settings.samples),
      filter_(settings_.filter),
      film_(*request.bitmap, settings_, scene.sky().present() && scene.sky().seenByCamera()),
      pixels_(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_)),
      layers_(settings_, scene, pixels_.size()), denoiser_(request, film_, layers_.hits()),
      progress_(hooks_.progress) {
  const std::size_t count = pixels_.size();
  layers_.addLayers(film_.film());
  flags_.resize(count);
  if (settings_.antiAliasing == AntiAliasing::geometry && !settings_.preview) objects_.resize(count);
  progress_.setTotal(
      static_cast<double>(static_cast<std::uint64_t>(count) * static_cast<std::uint64_t>(samples_)));
}

bool Refinement::stopped() {
  if (broken_.load(std::memory_order_relaxed)) return true;
  if (!hooks_.stopped || !hooks_.stopped()) return false;
  broken_.store(true, std::memory_order_relaxed);
  return true;
}

bool Refinement::run(const std::function<bool()>& afterFirst) {
  addProgress(0);
  if (!coarsePass(8)) return false;
  firstPixelsMs_ = request_.since.milliseconds();
  if ((afterFirst && !afterFirst()) || !coarsePass(4)) return false;
  addProgress(cameraSamples_);
  PassPlan plan(samples_);
  LiveDenoising live(pixels_.size());
  const Stopwatch since;
  while (!plan.finished() && resting_ < pixels_.size()) {
    const Stopwatch pass;
    const double left = leftMs();
    if (left <= 0 && plan.done() > 0) break;
    const int target = plan.next(left);
    if (!finePass(target)) return false;
    plan.passed(target, pass.milliseconds());
    if (plan.finished()) break;
    if (target == 1 && !objects_.empty()) findEdges();
    const bool doubled = std::has_single_bit(static_cast<unsigned>(target));
    if (doubled && target >= leastSamples && settings_.noise > 0 && !settings_.preview) restQuietPixels();
    if (!denoiseLive(live, target, since)) return false;
  }
  putNoise();
  endProgress();
  return true;
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

std::vector<Refinement::Tile> Refinement::makeTiles(int size) const {
  std::vector<Tile> tiles;
  for (int y = 0; y < height_; y += size)
    for (int x = 0; x < width_; x += size)
      tiles.push_back({x, y, std::min(x + size, width_), std::min(y + size, height_)});
  // From the middle outwards: viewers look at the middle first.
  const auto far = [&](const Tile& t) {
    const int dx = t.left + t.right - width_, dy = t.top + t.bottom - height_;
    return static_cast<long long>(dx) * dx + static_cast<long long>(dy) * dy;
  };
  std::stable_sort(tiles.begin(), tiles.end(), [&](const Tile& a, const Tile& b) { return far(a) < far(b); });
  return tiles;
}

template <class Work>
bool Refinement::eachTile(const std::vector<Tile>& tiles, Work&& work) {
  std::atomic<std::size_t> next{0};
  const int count = std::min(workerCount(), static_cast<int>(std::min<std::size_t>(tiles.size(), 1024)));
  runOnWorkers(count, [&](int) {
    for (std::size_t i; !broken_.load(std::memory_order_relaxed) && (i = next.fetch_add(1)) < tiles.size();)
      if (!work(tiles[i])) break;
  });
  return !broken_.load(std::memory_order_relaxed);
}

bool Refinement::coarsePass(int block) {
  return eachTile(makeTiles(tileSize * 2), [&](const Tile& tile) { return coarseTile(tile, block); });
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
      const PixelEstimate& pixel = pixels_[index(middleX, middleY)];
      if (pixel.count() == 0) takeSample(middleX, middleY, count);
      for (int py = y; py < bottom; ++py)
        for (int px = x; px < right; ++px)
          film_.put(px + left, py + top, pixel);
    }
  return true;
}

bool Refinement::finePass(int target) {
  return eachTile(makeTiles(tileSize), [&](const Tile& tile) { return fineTile(tile, target); });
}

bool Refinement::fineTile(const Tile& tile, int target) {
  TileCount count(*this);
  for (int y = tile.top; y < tile.bottom; ++y)
    for (int x = tile.left; x < tile.right; ++x) {
      const std::size_t i = index(x, y);
      if (flags_[i] & resting) continue;
      while (pixels_[i].count() < target) {
        if (stopped()) return false;
        takeSample(x, y, count);
      }
    }
  commit(tile);
  addProgress(count.samples());
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
  return wide ? Spread::filter : samples_ > 1 ? Spread::pixel : Spread::centre;
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
  if (settings_.preview)
    return {tracePreview(scene_, settings_, camera_.ray(previewPlace(centre, number)), camera_.cone())};
  Sampler sampler(static_cast<std::uint32_t>(px), static_cast<std::uint32_t>(py), settings_.seed,
                  static_cast<std::uint32_t>(number));
  const Place place = placeSample(centre, spread, sampler);
  const Vec2 lens = camera_.hasOpening() ? sampler.next2() : Vec2(0.5f, 0.5f);
  const float time = scene_.moves() ? sampler.next1() : 0;
  return {pathKernel().trace(scene_, settings_, camera_.ray(place.point, lens, time), camera_.cone(), sampler,
                             parts),
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

template <class Visit>
void Refinement::eachAround(int x, int y, int reach, Visit&& visit) const {
  for (int ny = std::max(0, y - reach); ny <= std::min(height_ - 1, y + reach); ++ny)
    for (int nx = std::max(0, x - reach); nx <= std::min(width_ - 1, x + reach); ++nx)
      visit(index(nx, ny));
}

// A pixel lies on an edge when the first sample of a neighbour hit another object.
void Refinement::findEdges() {
  for (int y = 0; y < height_; ++y)
    for (int x = 0; x < width_; ++x) {
      const std::uint32_t own = objects_[index(x, y)];
      eachAround(x, y, 1, [&](std::size_t i) {
        if (objects_[i] != own) flags_[index(x, y)] |= edge;
      });
    }
}

// A pixel rests when its neighbourhood is quiet: a single estimate below the threshold is a coincidence.
void Refinement::restQuietPixels() {
  const std::vector<float> noise = squaredNoise();
  const float threshold = settings_.noise * settings_.noise;
  std::uint64_t spared = 0;
  for (std::size_t i = 0; i < pixels_.size(); ++i) {
    if (flags_[i] & (resting | edge)) continue; // edges between objects take all samples
    if (noise[i] > threshold || pixels_[i].squaredError() > loneNoise * threshold) continue;
    flags_[i] |= resting;
    ++resting_;
    spared += static_cast<std::uint64_t>(samples_ - pixels_[i].count());
  }
  addProgress(spared);
}

// The mean squared error around a pixel, of the pixels without one of the flags.
float Refinement::noiseAround(int x, int y, std::uint8_t except) const {
  float sum = 0;
  int count = 0;
  eachAround(x, y, noiseReach, [&](std::size_t i) {
    if (flags_[i] & except) return;
    sum += pixels_[i].squaredError();
    ++count;
  });
  return sum / static_cast<float>(std::max(1, count));
}

void Refinement::putNoise() {
  if (!layers_.wantsNoise()) return;
  eachRow(height_, [&](int y) {
    for (int x = 0; x < width_; ++x)
      layers_.putNoise(filmPixel(x, y), std::sqrt(noiseAround(x, y, 0)));
  });
}

// The mean squared error around each pixel, of the pixels that still take samples.
std::vector<float> Refinement::squaredNoise() const {
  std::vector<float> noise(pixels_.size());
  const auto row = [&](int y) {
    for (int x = 0; x < width_; ++x)
      if (!(flags_[index(x, y)] & resting)) noise[index(x, y)] = noiseAround(x, y, resting);
  };
  std::atomic<int> next{0};
  runOnWorkers(std::min(workerCount(), height_), [&](int) {
    for (int y; (y = next.fetch_add(1)) < height_;)
      row(y);
  });
  return noise;
}

void Refinement::endProgress() {
  const std::lock_guard lock(hookMutex_);
  progress_.reach(1);
}

void Refinement::addProgress(std::uint64_t samples) {
  const std::lock_guard lock(hookMutex_);
  progress_.add(static_cast<double>(samples));
  if (settings_.seconds > 0) progress_.reach(request_.since.milliseconds() / (1000 * settings_.seconds));
}

} // namespace host::render
