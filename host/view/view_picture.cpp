#include "view_picture.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "display_transform.h"
#include "view_color.h"
#include "view_marks.h"
#include "worker_threads.h"

namespace host {

namespace {

constexpr int tileSize = 32;

constexpr Color backgroundTop{70, 70, 74}, backgroundBottom{44, 44, 48};
constexpr Color thinLine{92, 92, 98}, thickLine{112, 112, 118}, xLine{150, 78, 78}, zLine{80, 98, 158};

// Linear light as a fractional sRGB code, by a table over the square root.
float displayed(float linear) {
  static const auto table = [] {
    std::array<float, 1026> t{};
    for (std::size_t i = 0; i < t.size(); ++i) {
      const double root = static_cast<double>(i) / 1024;
      t[i] = static_cast<float>(255 * linearToSrgb(root * root));
    }
    return t;
  }();
  const float at = std::sqrt(std::clamp(linear, 0.0f, 1.0f)) * 1024;
  const auto i = static_cast<std::size_t>(at);
  return table[i] + (table[i + 1] - table[i]) * (at - static_cast<float>(i));
}

float dot(const Float3& a, const Float3& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// Shading by a lamp at the eye and a bright sky over a dim ground. Black surfaces keep some shape.
Color lit(const ViewHit& hit, const ViewRay& ray) {
  const float head = std::max(0.0f, -dot(hit.normal, ray.direction));
  const float light = hit.unlit ? 1 : 0.72f * head + 0.30f * (0.5f + 0.5f * hit.normal[1]);
  const auto part = [&](float c) { return displayed((hit.unlit ? c : 0.015f + 0.94f * c) * light); };
  return {part(hit.color[0]), part(hit.color[1]), part(hit.color[2])};
}

// The sky, dimmed so that grid and texts stay readable.
Color skyColor(const ViewHit& hit) {
  constexpr float dimmed = 0.6f;
  const auto part = [](float c) { return displayed(c * dimmed); };
  return {part(hit.color[0]), part(hit.color[1]), part(hit.color[2])};
}

// The grid of the ground plane, filtered by the pixel's footprint and faded towards the horizon.
class Grid {
 public:
  explicit Grid(const PictureSetup& setup)
      : step_(static_cast<float>(setup.gridStep)), orthographic_(setup.camera.orthographic),
        perPixel_(static_cast<float>(2 * setup.camera.half / setup.height)) {}

  // Blends the grid over `under` where the ground is in front of the hit.
  Color over(Color under, const ViewRay& ray, float hitDistance) const {
    const float fall = ray.direction[1];
    if (std::abs(fall) < 1e-5f) return under;
    const float t = -ray.origin[1] / fall;
    if (t <= ray.near || t > ray.far || t >= hitDistance * (1 - 1e-4f)) return under;
    const float x = ray.origin[0] + t * ray.direction[0], z = ray.origin[2] + t * ray.direction[2];
    const float dx = t * ray.direction[0], dz = t * ray.direction[2];
    const float along = std::sqrt(dx * dx + dz * dz);
    const float wide = orthographic_ ? perPixel_ : perPixel_ * t, deep = wide / std::abs(fall);
    const float hx = along > 0 ? std::abs(dx) / along : 0, hz = along > 0 ? std::abs(dz) / along : 1;
    const float fx = hx * deep + hz * wide, fz = hz * deep + hx * wide; // a pixel's reach in x and z
    float fade = std::exp(-along / (70 * step_)) * std::min(1.0f, std::abs(fall) * 14);
    if (fall > 0) fade *= 0.4f; // seen from below
    const float thin = std::max(line(x, fx, step_), line(z, fz, step_));
    const float thick = std::max(line(x, fx, 10 * step_), line(z, fz, 10 * step_));
    Color color = mix(under, thinLine, 0.55f * fade * thin);
    color = mix(color, thickLine, 0.8f * fade * thick);
    color = mix(color, xLine, fade * std::clamp(1.2f - std::abs(z) / fz, 0.0f, 1.0f));
    return mix(color, zLine, fade * std::clamp(1.2f - std::abs(x) / fx, 0.0f, 1.0f));
  }

 private:
  static float line(float at, float reach, float step) {
    const float u = at / step, distance = std::abs(u - std::round(u)) * step;
    const float dense = std::clamp(1.6f - 4 * reach / step, 0.0f, 1.0f); // merging lines fade out
    return std::clamp(1 - distance / reach, 0.0f, 1.0f) * dense;
  }
  float step_;
  bool orthographic_;
  float perPixel_;
};

class Shader {
 public:
  Shader(const PictureSetup& setup, const ViewScene* scene) : setup_(setup), scene_(scene), grid_(setup) {}

  ViewRay ray(double x, double y) const { return setup_.camera.ray(x / setup_.ratio, y / setup_.ratio); }

  void trace(std::span<const ViewRay> rays, std::span<ViewHit> hits) const {
    if (scene_)
      scene_->trace(rays, hits);
    else
      std::fill(hits.begin(), hits.end(), ViewHit());
  }

  // `y` in device pixels.
  Color shade(const ViewRay& ray, const ViewHit& hit, double y) const {
    const float down = static_cast<float>(std::clamp(y / setup_.height, 0.0, 1.0));
    const Color color = hit.object  ? lit(hit, ray)
                        : hit.unlit ? skyColor(hit)
                                    : mix(backgroundTop, backgroundBottom, down);
    return setup_.hasDocument ? grid_.over(color, ray, hit.object ? hit.distance : 1e30f) : color;
  }

 private:
  const PictureSetup& setup_;
  const ViewScene* scene_;
  Grid grid_;
};

// Calls `work(left, top, right, bottom)` for every tile on the workers, until abandoned.
template <class Work>
bool forEachTile(int width, int height, int workers, const Abandoned& abandoned, const Work& work) {
  const int across = (width + tileSize - 1) / tileSize, down = (height + tileSize - 1) / tileSize;
  std::atomic<int> next{0};
  std::atomic<bool> left{false};
  runOnWorkers(std::clamp(workers, 1, std::max(1, across * down)), [&](int) {
    for (int tile; (tile = next.fetch_add(1)) < across * down;) {
      if (left || (abandoned && abandoned())) {
        left = true;
        return;
      }
      const int x = tile % across * tileSize, y = tile / across * tileSize;
      work(x, y, std::min(x + tileSize, width), std::min(y + tileSize, height));
    }
  });
  return !left;
}

template <class Work>
void forEachRow(int height, int workers, const Work& work) {
  std::atomic<int> next{0};
  constexpr int band = 16;
  runOnWorkers(std::clamp(workers, 1, std::max(1, height / band)), [&](int) {
    for (int first; (first = next.fetch_add(band)) < height;)
      for (int y = first; y < std::min(first + band, height); ++y)
        work(y);
  });
}

std::size_t indexOf(const TracedPixels& pixels, int x, int y) {
  return static_cast<std::size_t>(y) * static_cast<std::size_t>(pixels.width) + static_cast<std::size_t>(x);
}

// The pixel whose ray represents the block at `start`.
int middle(int start, int block, int limit) {
  return std::min(start + block / 2, limit - 1);
}

// For every pixel of a row or column, the pixel that represents it.
std::vector<int> middles(int block, int limit) {
  std::vector<int> list(static_cast<std::size_t>(limit));
  for (int start = 0; start < limit; start += block)
    std::fill(list.begin() + start, list.begin() + std::min(start + block, limit),
              middle(start, block, limit));
  return list;
}

// Rays of one tile, traced together.
struct Batch {
  std::vector<ViewRay> rays;
  std::vector<ViewHit> hits;
  std::vector<std::array<int, 2>> places;
  void clear() { rays.clear(), places.clear(); }
  void add(const ViewRay& ray, int x, int y) { rays.push_back(ray), places.push_back({x, y}); }
};

} // namespace

bool sameRays(const PictureSetup& a, const PictureSetup& b) noexcept {
  return a.width == b.width && a.height == b.height && a.ratio == b.ratio && a.camera == b.camera &&
         a.hasDocument == b.hasDocument && a.gridStep == b.gridStep;
}

bool sameMarks(const PictureSetup& a, const PictureSetup& b) {
  const auto same = [](const auto& x, const auto& y) {
    return x == y || ((x ? *x : std::unordered_set<Identity>()) == (y ? *y : std::unordered_set<Identity>()));
  };
  return a.frame == b.frame && a.symbols == b.symbols && same(a.selection, b.selection);
}

void TracedPixels::reset(int newWidth, int newHeight) {
  width = newWidth, height = newHeight;
  const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  colors.resize(count);
  objects.resize(count);
  done.assign(count, 0);
}

bool traceLevel(const PictureSetup& setup, const ViewScene* scene, int block, int workers,
                const Abandoned& abandoned, TracedPixels& pixels, long& rays) {
  const Shader shader(setup, scene);
  std::atomic<long> traced{0};
  const bool whole = forEachTile(
      pixels.width, pixels.height, workers, abandoned, [&](int left, int top, int right, int bottom) {
        thread_local Batch batch;
        batch.clear();
        for (int y = top; y < bottom; y += block)
          for (int x = left; x < right; x += block) {
            const int px = middle(x, block, pixels.width), py = middle(y, block, pixels.height);
            if (!pixels.done[indexOf(pixels, px, py)]) batch.add(shader.ray(px + 0.5, py + 0.5), px, py);
          }
        batch.hits.resize(batch.rays.size());
        shader.trace(batch.rays, batch.hits);
        for (std::size_t i = 0; i < batch.rays.size(); ++i) {
          const auto [x, y] = batch.places[i];
          const std::size_t at = indexOf(pixels, x, y);
          pixels.colors[at] = packed(shader.shade(batch.rays[i], batch.hits[i], y + 0.5));
          pixels.objects[at] = batch.hits[i].object;
          pixels.done[at] = 1;
        }
        traced.fetch_add(static_cast<long>(batch.rays.size()), std::memory_order_relaxed);
      });
  rays = traced;
  return whole;
}

namespace {

bool differ(std::uint32_t a, std::uint32_t b) {
  for (int shift = 0; shift < 24; shift += 8)
    if (std::abs(static_cast<int>(a >> shift & 255) - static_cast<int>(b >> shift & 255)) > 14) return true;
  return false;
}

// Whether a pixel differs from one beside, above or below it.
bool atEdge(const TracedPixels& pixels, int x, int y) {
  const std::size_t here = indexOf(pixels, x, y);
  constexpr std::array<std::array<int, 2>, 4> sides{{{1, 0}, {-1, 0}, {0, 1}, {0, -1}}};
  for (const auto& [dx, dy] : sides) {
    const int nx = x + dx, ny = y + dy;
    if (nx < 0 || ny < 0 || nx >= pixels.width || ny >= pixels.height) continue;
    const std::size_t there = indexOf(pixels, nx, ny);
    if (pixels.objects[here] != pixels.objects[there] || differ(pixels.colors[here], pixels.colors[there]))
      return true;
  }
  return false;
}

} // namespace

bool smoothEdges(const PictureSetup& setup, const ViewScene* scene, int workers, const Abandoned& abandoned,
                 TracedPixels& pixels) {
  // A rotated square of four, so that no two share a row or column.
  constexpr std::array<std::array<double, 2>, 4> offsets{
      {{0.375, 0.125}, {0.875, 0.375}, {0.625, 0.875}, {0.125, 0.625}}};
  const Shader shader(setup, scene);
  std::vector<std::uint32_t> smooth = pixels.colors;
  const bool whole = forEachTile(
      pixels.width, pixels.height, workers, abandoned, [&](int left, int top, int right, int bottom) {
        thread_local Batch batch;
        batch.clear();
        for (int y = top; y < bottom; ++y)
          for (int x = left; x < right; ++x)
            if (atEdge(pixels, x, y))
              for (const auto& [dx, dy] : offsets)
                batch.add(shader.ray(x + dx, y + dy), x, y);
        batch.hits.resize(batch.rays.size());
        shader.trace(batch.rays, batch.hits);
        for (std::size_t i = 0; i + 3 < batch.rays.size(); i += 4) {
          const auto [x, y] = batch.places[i];
          const std::size_t at = indexOf(pixels, x, y);
          Color sum = unpacked(pixels.colors[at]);
          for (std::size_t k = 0; k < 4; ++k)
            sum = sum + shader.shade(batch.rays[i + k], batch.hits[i + k], y + offsets[k][1]);
          smooth[at] = packed(sum * 0.2f);
        }
      });
  if (whole) pixels.colors = std::move(smooth);
  return whole;
}

int outlineWidth(double ratio) noexcept {
  return std::max(1, static_cast<int>(std::lround(2 * ratio)));
}

namespace {

// Marks every row's pixels that lie within `reach` of a marked one in the same row.
void spreadRow(const std::uint8_t* from, std::uint8_t* to, int width, int reach) {
  int last = -reach - 1; // the marked pixel before
  for (int x = 0; x < width; ++x) {
    if (from[x]) last = x;
    to[x] = x - last <= reach;
  }
  last = width + reach;
  for (int x = width - 1; x >= 0; --x) {
    if (from[x]) last = x;
    if (last - x <= reach) to[x] = 1;
  }
}

// Draws the accent colour around the pixels of selected objects.
void outline(const PictureSetup& setup, const TracedPixels& pixels, int block, int workers,
             ViewImage& image) {
  const std::size_t count = image.pixels.size();
  std::vector<std::uint8_t> chosen(count), spread(count);
  const auto row = [&](int y) { return static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width); };
  std::atomic<bool> any{false};
  const int reach = outlineWidth(setup.ratio);
  const std::vector<int> columns = middles(block, image.width), rows = middles(block, image.height);
  forEachRow(image.height, workers, [&](int y) {
    const Identity* const objects = &pixels.objects[indexOf(pixels, 0, rows[static_cast<std::size_t>(y)])];
    std::uint8_t* const marks = &chosen[row(y)];
    Identity last = 0;
    bool lastChosen = false, found = false;
    for (std::size_t x = 0; x < columns.size(); ++x) {
      const Identity object = objects[columns[x]];
      if (object != last) last = object, lastChosen = setup.selection->count(object) != 0;
      marks[x] = lastChosen;
      found = found || lastChosen;
    }
    if (found) any = true;
    spreadRow(&chosen[row(y)], &spread[row(y)], image.width, reach);
  });
  if (!any) return;
  forEachRow(image.height, workers, [&](int y) {
    // Marked within reach above or below, row by row so that the memory is read in order.
    thread_local std::vector<std::uint8_t> near;
    near.assign(columns.size(), 0);
    for (int other = std::max(0, y - reach); other <= std::min(image.height - 1, y + reach); ++other) {
      const std::uint8_t* const marks = &spread[row(other)];
      for (std::size_t x = 0; x < near.size(); ++x)
        near[x] |= marks[x];
    }
    const std::uint8_t* const marks = &chosen[row(y)];
    for (std::size_t x = 0; x < near.size(); ++x)
      if (near[x] && !marks[x]) image.pixels[row(y) + x] = accentColor;
  });
}

void darkenSurround(const PictureSetup& setup, int workers, ViewImage& image) {
  const auto [left, top, right, bottom] = setup.frame;
  if (left <= 0 && top <= 0 && right >= image.width && bottom >= image.height) return;
  forEachRow(image.height, workers, [&](int y) {
    const bool all = y < top || y >= bottom;
    for (int x = 0; x < image.width; ++x) {
      if (!all && x >= left && x < right) continue;
      std::uint32_t& pixel = image.at(x, y);
      pixel = 0xff000000U | (pixel >> 1 & 0x7f7f7f);
    }
  });
}

} // namespace

Tripod tripodOf(const ViewCamera& camera) {
  constexpr double length = 24;
  Tripod tripod{40, camera.height - 40, {}, {}};
  const std::array<Vector, 3> axes{Vector(1, 0, 0), Vector(0, 1, 0), Vector(0, 0, 1)};
  for (std::size_t i = 0; i < 3; ++i) {
    tripod.ends[i] = {tripod.x + length * Dot(axes[i], camera.toWorld.v1),
                      tripod.y - length * Dot(axes[i], camera.toWorld.v2)};
    tripod.depths[i] = -Dot(axes[i], camera.toWorld.v3);
  }
  return tripod;
}

ViewImage finishPicture(const PictureSetup& setup, const TracedPixels& pixels, int block, int workers) {
  ViewImage image{pixels.width, pixels.height, {}};
  image.pixels.resize(pixels.colors.size());
  const std::vector<int> columns = middles(block, image.width), rows = middles(block, image.height);
  forEachRow(image.height, workers, [&](int y) {
    const std::uint32_t* const from = &pixels.colors[indexOf(pixels, 0, rows[static_cast<std::size_t>(y)])];
    std::uint32_t* const to = &image.at(0, y);
    for (std::size_t x = 0; x < columns.size(); ++x)
      to[x] = from[columns[x]];
  });
  if (setup.selection && !setup.selection->empty()) outline(setup, pixels, block, workers, image);
  for (const ViewSymbol& symbol : setup.symbols)
    drawSymbol(setup, symbol, image);
  darkenSurround(setup, workers, image);
  if (setup.hasDocument) drawTripod(setup, image);
  return image;
}

} // namespace host
