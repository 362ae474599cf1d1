#include "render_sky.h"

namespace host::render {

RenderSky::RenderSky(const SnapshotSky& sky, TexturePtr texture)
    : kind_(sky.kind), color_(sky.color), horizon_(sky.horizon), ground_(sky.ground),
      texture_(std::move(texture)), rotation_(sky.rotation), seen_(sky.seenByCamera) {
  if (kind_ == SkyKind::picture && !texture_) kind_ = SkyKind::constant;
  if (kind_ == SkyKind::constant) mean_ = color_;
  // A gradient is linear in y, and y is uniform over a sphere.
  if (kind_ == SkyKind::gradient) mean_ = color_ * 0.25f + horizon_ * 0.5f + ground_ * 0.25f;
  if (kind_ == SkyKind::picture) buildDistribution();
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
    const Rgba c = texture_->sample(toPicture(d), 0, Wrap::repeat, Wrap::clamp, false);
    return color_ * Vec3(c.r, c.g, c.b);
  }
  }
  return {};
}

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

} // namespace

// At most 1024 x 512 cells over the picture: brightness of the cell above the sky's mean, times its solid
// angle. Scattered rays find the rest well, and a sample spent on it is one less for the bright places
// (Karlik et al. 2019, "MIS Compensation").
void RenderSky::buildDistribution() {
  int level = 0;
  while (texture_->levelWidth(level) > 1024 || texture_->levelHeight(level) > 512)
    ++level;
  columns_ = texture_->levelWidth(level), rows_ = texture_->levelHeight(level);
  const auto w = static_cast<std::size_t>(columns_), h = static_cast<std::size_t>(rows_);
  const auto sineOf = [&](std::size_t y) {
    return std::sin((static_cast<float>(y) + 0.5f) / static_cast<float>(h) * pi);
  };
  cell_.resize(w * h);
  double solid = 0;
  Vec3 sum;
  for (std::size_t y = 0; y < h; ++y) {
    Vec3 row;
    for (std::size_t x = 0; x < w; ++x) {
      const Rgba t = texture_->texel(level, static_cast<int>(x), static_cast<int>(y));
      const Vec3 c = Vec3(std::max(0.0f, t.r), std::max(0.0f, t.g), std::max(0.0f, t.b)) * color_;
      row += c;
      cell_[y * w + x] = luminance(c);
    }
    sum += row * sineOf(y);
    solid += static_cast<double>(sineOf(y)) * static_cast<double>(w);
  }
  mean_ = sum * static_cast<float>(1 / solid);
  averageOverCells(cell_, w, h);
  const float mean = luminance(mean_);
  columnCdf_.assign((w + 1) * h, 0);
  rowCdf_.assign(h + 1, 0);
  for (std::size_t y = 0; y < h; ++y) {
    float* cdf = &columnCdf_[y * (w + 1)];
    for (std::size_t x = 0; x < w; ++x) {
      float& cell = cell_[y * w + x];
      cell = std::max(0.0f, cell - mean) * sineOf(y);
      cdf[x + 1] = cdf[x] + cell;
    }
    rowCdf_[y + 1] = rowCdf_[y] + cdf[w];
  }
  const float total = rowCdf_[h];
  if (!(total > leastExcess * mean * static_cast<float>(solid))) {
    rowCdf_.clear();
    return;
  }
  const float scale = static_cast<float>(w * h) / total;
  for (float& c : cell_)
    c *= scale;
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
  const auto w = static_cast<std::size_t>(columns_), h = static_cast<std::size_t>(rows_);
  float iy = 0, ix = 0;
  const std::size_t y = findCell(rowCdf_.data(), h, u.y, iy);
  const std::size_t x = findCell(&columnCdf_[y * (w + 1)], w, u.x, ix);
  const float theta = (static_cast<float>(y) + iy) / static_cast<float>(h) * pi;
  const float turn = ((static_cast<float>(x) + ix) / static_cast<float>(w) - 0.5f) * 2 * pi - rotation_;
  const float sine = std::sin(theta);
  return {{sine * std::sin(turn), std::cos(theta), -sine * std::cos(turn)},
          sine > 1e-6f ? cell_[y * w + x] / (2 * pi * pi * sine) : 0};
}

float RenderSky::pdf(Vec3 d) const {
  const Vec2 p = toPicture(d);
  const auto x = std::min(static_cast<std::size_t>(p.x * static_cast<float>(columns_)),
                          static_cast<std::size_t>(columns_ - 1));
  const auto y = std::min(static_cast<std::size_t>(p.y * static_cast<float>(rows_)),
                          static_cast<std::size_t>(rows_ - 1));
  const float sine = std::sqrt(std::max(0.0f, 1 - d.y * d.y));
  return sine > 1e-6f ? cell_[y * static_cast<std::size_t>(columns_) + x] / (2 * pi * pi * sine) : 0;
}

} // namespace host::render
