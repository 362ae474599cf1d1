#include "render_sky.h"

#include "recent_products.h"

namespace host::render {
namespace {

// The mean over each cell of a picture that is interpolated between the centres of its cells: weights 1/8,
// 6/8 and 1/8 along both axes. Columns repeat, rows end.
void averageOverCells(std::vector<float>& cells, std::size_t w, std::size_t h) {
  std::vector<float> across(cells.size());
  for (std::size_t y = 0; y < h; ++y) {
    const float* row = &cells[y * w];
    for (std::size_t x = 0; x < w; ++x)
      across[y * w + x] = 0.75f * row[x] + 0.125f * (row[x ? x - 1 : w - 1] + row[x + 1 < w ? x + 1 : 0]);
  }
  for (std::size_t y = 0; y < h; ++y) {
    const float *above = &across[(y ? y - 1 : 0) * w], *below = &across[std::min(y + 1, h - 1) * w];
    for (std::size_t x = 0; x < w; ++x)
      cells[y * w + x] = 0.75f * across[y * w + x] + 0.125f * (above[x] + below[x]);
  }
}

// Below this share of its light above the mean, a sky is even enough for scattered rays alone.
constexpr float leastExcess = 0.02f;

// At most 1024 x 512 cells over the picture: brightness of the cell above the sky's mean, times its solid
// angle. Scattered rays find the rest well, and a sample spent on it is one less for the bright places
// (Karlik et al. 2019, "MIS Compensation").
SkyTable makeTable(const Texture& texture, Vec3 color) {
  SkyTable table;
  int level = 0;
  while (texture.levelWidth(level) > 1024 || texture.levelHeight(level) > 512)
    ++level;
  table.columns = texture.levelWidth(level), table.rows = texture.levelHeight(level);
  const auto w = static_cast<std::size_t>(table.columns), h = static_cast<std::size_t>(table.rows);
  const auto sineOf = [&](std::size_t y) {
    return std::sin((static_cast<float>(y) + 0.5f) / static_cast<float>(h) * pi);
  };
  table.cell.resize(w * h);
  double solid = 0;
  Vec3 sum;
  for (std::size_t y = 0; y < h; ++y) {
    Vec3 row;
    for (std::size_t x = 0; x < w; ++x) {
      const Rgba t = texture.texel(level, static_cast<int>(x), static_cast<int>(y));
      const Vec3 c = Vec3(std::max(0.0f, t.r), std::max(0.0f, t.g), std::max(0.0f, t.b)) * color;
      row += c;
      table.cell[y * w + x] = luminance(c);
    }
    sum += row * sineOf(y);
    solid += static_cast<double>(sineOf(y)) * static_cast<double>(w);
  }
  table.mean = sum * static_cast<float>(1 / solid);
  averageOverCells(table.cell, w, h);
  const float mean = luminance(table.mean);
  table.columnCdf.assign((w + 1) * h, 0);
  table.rowCdf.assign(h + 1, 0);
  for (std::size_t y = 0; y < h; ++y) {
    float* cdf = &table.columnCdf[y * (w + 1)];
    for (std::size_t x = 0; x < w; ++x) {
      float& cell = table.cell[y * w + x];
      cell = std::max(0.0f, cell - mean) * sineOf(y);
      cdf[x + 1] = cdf[x] + cell;
    }
    table.rowCdf[y + 1] = table.rowCdf[y] + cdf[w];
  }
  const float total = table.rowCdf[h];
  if (!(total > leastExcess * mean * static_cast<float>(solid))) {
    table.rowCdf.clear();
    return table;
  }
  const float scale = static_cast<float>(w * h) / total;
  for (float& c : table.cell)
    c *= scale;
  return table;
}

// All that a table is made from. The textures of closed documents are not kept for it.
struct SkyKey {
  std::weak_ptr<const Texture> texture;
  Vec3 color;
  friend bool operator==(const SkyKey& a, const SkyKey& b) {
    return !a.texture.owner_before(b.texture) && !b.texture.owner_before(a.texture) &&
           isZero(a.color - b.color);
  }
};

std::shared_ptr<const SkyTable> keptTable(const TexturePtr& texture, Vec3 color) {
  static RecentProducts<SkyKey, SkyTable> tables(2);
  const SkyKey key{texture, color};
  if (auto known = tables.find(key)) return known;
  auto made = std::make_shared<const SkyTable>(makeTable(*texture, color));
  tables.put(key, made);
  return made;
}

} // namespace

RenderSky::RenderSky(const SnapshotSky& sky, TexturePtr texture)
    : kind_(sky.kind), color_(sky.color), horizon_(sky.horizon), ground_(sky.ground),
      texture_(std::move(texture)), rotation_(sky.rotation), seen_(sky.seenByCamera) {
  if (kind_ == SkyKind::picture && !texture_) kind_ = SkyKind::constant;
  if (kind_ == SkyKind::constant) mean_ = color_;
  // A gradient is linear in y, and y is uniform over a sphere.
  if (kind_ == SkyKind::gradient) mean_ = color_ * 0.25f + horizon_ * 0.5f + ground_ * 0.25f;
  if (kind_ == SkyKind::picture) {
    table_ = keptTable(texture_, color_);
    mean_ = table_->mean;
  }
}

Vec2 RenderSky::toPicture(Vec3 d) const {
  const float turn = std::atan2(d.x, -d.z) + rotation_;
  const float u = 0.5f + turn / (2 * pi);
  return {u - std::floor(u), std::acos(std::clamp(d.y, -1.0f, 1.0f)) / pi};
}

Vec3 RenderSky::radiance(Vec3 d) const {
  switch (kind_) {
  case SkyKind::none:
    break;
  case SkyKind::constant:
    return color_;
  case SkyKind::gradient:
    return d.y >= 0 ? lerp(horizon_, color_, d.y) : lerp(horizon_, ground_, -d.y);
  case SkyKind::picture: {
    const Rgba c = texture_->sample(toPicture(d), 0, Wrap::repeat, Wrap::clamp);
    return color_ * Vec3(c.r, c.g, c.b);
  }
  }
  return {};
}

namespace {

// Samples a cell from a running sum; `inside` is the place in the cell.
std::size_t findCell(const float* cdf, std::size_t count, float u, float& inside) {
  const float target = u * cdf[count];
  const float* above = std::upper_bound(cdf + 1, cdf + count, target);
  const auto cell = static_cast<std::size_t>(above - cdf) - 1;
  const float width = cdf[cell + 1] - cdf[cell];
  inside = width > 0 ? clamp01((target - cdf[cell]) / width) : 0.5f;
  return cell;
}

} // namespace

RenderSky::Sample RenderSky::sample(Vec2 u) const {
  const auto w = static_cast<std::size_t>(table_->columns), h = static_cast<std::size_t>(table_->rows);
  float iy = 0, ix = 0;
  const std::size_t y = findCell(table_->rowCdf.data(), h, u.y, iy);
  const std::size_t x = findCell(&table_->columnCdf[y * (w + 1)], w, u.x, ix);
  const float theta = (static_cast<float>(y) + iy) / static_cast<float>(h) * pi;
  const float turn = ((static_cast<float>(x) + ix) / static_cast<float>(w) - 0.5f) * 2 * pi - rotation_;
  const float sine = std::sin(theta);
  return {{sine * std::sin(turn), std::cos(theta), -sine * std::cos(turn)},
          sine > 1e-6f ? table_->cell[y * w + x] / (2 * pi * pi * sine) : 0};
}

float RenderSky::pdf(Vec3 d) const {
  const Vec2 p = toPicture(d);
  const auto x = std::min(static_cast<std::size_t>(p.x * static_cast<float>(table_->columns)),
                          static_cast<std::size_t>(table_->columns - 1));
  const auto y = std::min(static_cast<std::size_t>(p.y * static_cast<float>(table_->rows)),
                          static_cast<std::size_t>(table_->rows - 1));
  const float sine = std::sqrt(std::max(0.0f, 1 - d.y * d.y));
  return sine > 1e-6f ? table_->cell[y * static_cast<std::size_t>(table_->columns) + x] / (2 * pi * pi * sine)
                      : 0;
}

} // namespace host::render
