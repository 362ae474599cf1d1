#include "refinement.h"

#include <array>

#include "worker_threads.h"

namespace host::render {
namespace {

constexpr int tileSize = 32;
constexpr int leastSamples = 16; // before the noise of a pixel is judged

// Roughly what the eye gets of a linear brightness on a display.
float toneOf(Vec3 c) {
  return std::sqrt(clamp01(luminance(c)));
}

double sinceMs(SteadyTime start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

std::shared_ptr<Film> filmFor(BaseBitmap& bitmap) {
  if (auto film = filmOf(bitmap)) return film;
  auto film = std::make_shared<Film>(bitmap.GetBw(), bitmap.GetBh());
  std::array<float, 256> linear;
  for (std::size_t i = 0; i < 256; ++i) {
    const float v = static_cast<float>(i) / 255;
    linear[i] = v <= 0.04045f ? v / 12.92f : std::pow((v + 0.055f) / 1.055f, 2.4f);
  }
  for (LONG y = 0; y < bitmap.GetBh(); ++y)
    for (LONG x = 0; x < bitmap.GetBw(); ++x) {
      UWORD r, g, b;
      bitmap.GetPixel(x, y, &r, &g, &b);
      const float rgba[4] = {linear[r], linear[g], linear[b],
                             static_cast<float>(bitmap.GetAlpha(x, y)) / 255};
      film->setColor(x, y, rgba);
    }
  setFilm(bitmap, film);
  return film;
}

void showPixel(Film& film, BaseBitmap& bitmap, int x, int y, const float rgba[4]) {
  film.setColor(x, y, rgba);
  bitmap.SetPixel(x, y, toDisplay(rgba[0]), toDisplay(rgba[1]), toDisplay(rgba[2]));
  bitmap.SetAlpha(x, y, static_cast<LONG>(clamp01(rgba[3]) * 255 + 0.5f));
}

Refinement::Refinement(const RayScene& scene, const RenderSettings& settings, BaseBitmap& bitmap,
                       const RenderHooks& hooks, RenderStats& stats, SteadyTime started)
    : scene_(scene), settings_(settings), bitmap_(bitmap), hooks_(hooks), stats_(stats), started_(started),
      camera_(scene.snapshot().camera, bitmap.GetBw(), bitmap.GetBh()), filter_(settings.filter),
      film_(filmFor(bitmap)), width_(settings.region.width()), height_(settings.region.height()),
      samples_(settings.samples), workers_(workerCount()) {
  // The preview takes the pixel's centre, and with anti-aliasing four fixed places more.
  if (settings.preview) samples_ = settings.antiAliasing == AntiAliasing::none ? 1 : 5;
  const auto count = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
  pixels_.resize(count);
  flags_.resize(count);
  if (settings.antiAliasing == AntiAliasing::geometry && !settings.preview) objects_.resize(count);
  total_ = static_cast<std::uint64_t>(count) * static_cast<std::uint64_t>(samples_);
}

bool Refinement::stopped() {
  if (broken_.load(std::memory_order_relaxed)) return true;
  if (!hooks_.stopped || !hooks_.stopped()) return false;
  broken_.store(true, std::memory_order_relaxed);
  return true;
}

bool Refinement::run() {
  tell(0);
  bool whole = coarsePass(8);
  if (whole) stats_.first_pixels_ms = sinceMs(started_);
  whole = whole && coarsePass(4);
  for (int target = 1; whole; target = std::min(2 * target, samples_)) {
    whole = finePass(target);
    if (target >= samples_) break;
    if (target == 1 && !objects_.empty()) findEdges();
    if (target >= leastSamples && settings_.noise > 0 && !settings_.preview) restQuietPixels();
  }
  stats_.rays += rays_.load();
  stats_.camera_samples += cameraSamples_.load();
  return whole;
}

std::vector<Refinement::Tile> Refinement::makeTiles(int size) const {
  std::vector<Tile> tiles;
  for (int y = 0; y < height_; y += size)
    for (int x = 0; x < width_; x += size)
      tiles.push_back({x, y, std::min(x + size, width_), std::min(y + size, height_)});
  // From the middle outwards: where people look.
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
  const int count = std::min(workers_, static_cast<int>(std::min<std::size_t>(tiles.size(), 1024)));
  runOnWorkers(count, [&](int) {
    std::uint64_t rays = 0;
    for (std::size_t i; !broken_.load(std::memory_order_relaxed) && (i = next.fetch_add(1)) < tiles.size();)
      if (!work(tiles[i], rays)) break;
    rays_.fetch_add(rays);
  });
  return !broken_.load(std::memory_order_relaxed);
}

bool Refinement::coarsePass(int block) {
  return eachTile(makeTiles(tileSize * 2),
                  [&](const Tile& tile, std::uint64_t& rays) { return coarseTile(tile, block, rays); });
}

// One sample stands for each block; the blocks lie on the picture's own grid, so regions agree with it.
bool Refinement::coarseTile(const Tile& tile, int block, std::uint64_t& rays) {
  const int left = settings_.region.left, top = settings_.region.top;
  std::uint64_t count = 0;
  for (int y = tile.top; y < tile.bottom; y = ((top + y) / block + 1) * block - top)
    for (int x = tile.left; x < tile.right; x = ((left + x) / block + 1) * block - left) {
      if (stopped()) return false;
      const int right = std::min(tile.right, ((left + x) / block + 1) * block - left);
      const int bottom = std::min(tile.bottom, ((top + y) / block + 1) * block - top);
      float weight;
      const PathResult r = sample((x + right) / 2, (y + bottom) / 2, 0, Spread::centre, weight, rays);
      const float rgba[4] = {r.color.x, r.color.y, r.color.z, r.alpha};
      for (int py = y; py < bottom; ++py)
        for (int px = x; px < right; ++px)
          show(px, py, rgba);
      ++count;
    }
  cameraSamples_.fetch_add(count);
  return true;
}

bool Refinement::finePass(int target) {
  return eachTile(makeTiles(tileSize),
                  [&](const Tile& tile, std::uint64_t& rays) { return fineTile(tile, target, rays); });
}

bool Refinement::fineTile(const Tile& tile, int target, std::uint64_t& rays) {
  std::uint64_t count = 0;
  for (int y = tile.top; y < tile.bottom; ++y)
    for (int x = tile.left; x < tile.right; ++x) {
      const std::size_t i = index(x, y);
      Pixel& pixel = pixels_[i];
      if (flags_[i] & resting) continue;
      const Spread spread = spreadOf(flags_[i]);
      for (; pixel.count < target; ++count) {
        if (stopped()) return false;
        float weight = 1;
        const PathResult r = sample(x, y, pixel.count, spread, weight, rays);
        if (pixel.count == 0 && !objects_.empty()) objects_[i] = r.object;
        gather(pixel, r, weight);
      }
    }
  commit(tile);
  cameraSamples_.fetch_add(count);
  tell(count);
  return true;
}

// A picture that refines smooths the pixel alone for nothing; a lone sample lies best in its middle.
Refinement::Spread Refinement::spreadOf(std::uint8_t flags) const {
  const bool wide = settings_.antiAliasing == AntiAliasing::best ||
                    (settings_.antiAliasing == AntiAliasing::geometry && (flags & edge));
  return wide ? Spread::filter : samples_ > 1 ? Spread::pixel : Spread::centre;
}

PathResult Refinement::sample(int x, int y, int number, Spread spread, float& weight,
                              std::uint64_t& rays) const {
  const int px = x + settings_.region.left, py = y + settings_.region.top;
  Vec2 place{static_cast<float>(px) + 0.5f, static_cast<float>(py) + 0.5f};
  weight = 1;
  if (settings_.preview) {
    constexpr std::array<Vec2, 5> grid{
        {{0, 0}, {-0.125f, -0.375f}, {0.375f, -0.125f}, {0.125f, 0.375f}, {-0.375f, 0.125f}}};
    place = place + grid[static_cast<std::size_t>(number) % grid.size()];
    return tracePreview(scene_, settings_, camera_.ray(place), camera_.pixelWidth(), camera_.pixelSpread(),
                        rays);
  }
  Sampler sampler(static_cast<std::uint32_t>(px), static_cast<std::uint32_t>(py), settings_.seed,
                  static_cast<std::uint32_t>(number));
  if (spread == Spread::pixel) {
    const Vec2 at = sampler.next2();
    place = place + Vec2{at.x - 0.5f, at.y - 0.5f};
  } else if (spread == Spread::filter) {
    const PixelFilter::Sample s = filter_.sample(sampler.next2());
    place = place + s.offset;
    weight = s.weight;
  }
  return tracePath(scene_, settings_, camera_.ray(place), camera_.pixelWidth(), camera_.pixelSpread(),
                   sampler, rays);
}

void Refinement::gather(Pixel& pixel, const PathResult& r, float weight) const {
  pixel.color[0] += weight * r.color.x;
  pixel.color[1] += weight * r.color.y;
  pixel.color[2] += weight * r.color.z;
  pixel.alpha += weight * r.alpha;
  pixel.weight += weight;
  const float tone = weight * toneOf(r.color);
  pixel.tone += tone;
  pixel.tone2 += tone * tone;
  ++pixel.count;
}

void Refinement::commit(const Tile& tile) {
  const bool calls = hooks_.beginTile || hooks_.endTile;
  std::unique_lock<std::mutex> lock(tellMutex_, std::defer_lock);
  if (calls) lock.lock();
  if (hooks_.beginTile) hooks_.beginTile();
  for (int y = tile.top; y < tile.bottom; ++y)
    for (int x = tile.left; x < tile.right; ++x) {
      const Pixel& p = at(x, y);
      if (p.count == 0) continue;
      // Filters with negative lobes: dividing by the weights keeps even areas even.
      const float n = static_cast<float>(p.count), by = 1 / (p.weight > 0.25f * n ? p.weight : n);
      const float rgba[4] = {std::max(0.0f, p.color[0] * by), std::max(0.0f, p.color[1] * by),
                             std::max(0.0f, p.color[2] * by), clamp01(p.alpha * by)};
      show(x, y, rgba);
    }
  if (hooks_.endTile) hooks_.endTile();
}

void Refinement::show(int x, int y, const float rgba[4]) {
  showPixel(*film_, bitmap_, x + settings_.region.left, y + settings_.region.top, rgba);
}

// A pixel is on an edge when a neighbour's first sample met another object.
void Refinement::findEdges() {
  for (int y = 0; y < height_; ++y)
    for (int x = 0; x < width_; ++x) {
      const std::uint32_t own = objects_[index(x, y)];
      bool found = false;
      for (int ny = std::max(0, y - 1); ny <= std::min(height_ - 1, y + 1); ++ny)
        for (int nx = std::max(0, x - 1); nx <= std::min(width_ - 1, x + 1); ++nx)
          found = found || objects_[index(nx, ny)] != own;
      if (found) flags_[index(x, y)] |= edge;
    }
}

// The standard error of a pixel's mean on the display.
float Refinement::error(const Pixel& p) const {
  const float n = static_cast<float>(p.count), mean = p.tone / n;
  return std::sqrt(std::max(0.0f, p.tone2 / n - mean * mean) / (n - 1));
}

// A pixel rests when it and its neighbours are quiet: a lone quiet pixel in a noisy place was lucky.
void Refinement::restQuietPixels() {
  std::vector<std::uint8_t> noisy(pixels_.size());
  for (std::size_t i = 0; i < pixels_.size(); ++i)
    noisy[i] = !(flags_[i] & resting) && error(pixels_[i]) > settings_.noise;
  std::uint64_t spared = 0;
  for (int y = 0; y < height_; ++y)
    for (int x = 0; x < width_; ++x) {
      const std::size_t i = index(x, y);
      if (flags_[i] & resting) continue;
      bool near = false;
      for (int ny = std::max(0, y - 1); ny <= std::min(height_ - 1, y + 1); ++ny)
        for (int nx = std::max(0, x - 1); nx <= std::min(width_ - 1, x + 1); ++nx)
          near = near || noisy[index(nx, ny)];
      if (near || (flags_[i] & edge)) continue; // edges between objects take all samples
      flags_[i] |= resting;
      spared += static_cast<std::uint64_t>(samples_ - pixels_[i].count);
    }
  tell(spared);
}

void Refinement::tell(std::uint64_t more) {
  const std::lock_guard lock(tellMutex_);
  done_ += more;
  const double part = std::min(1.0, static_cast<double>(done_) / static_cast<double>(total_));
  // Steps of a thousandth are enough for any display.
  if (!hooks_.progress || (part < told_ + 0.001 && !(part == 1 && told_ < 1))) return;
  told_ = part;
  hooks_.progress(part);
}

} // namespace host::render
