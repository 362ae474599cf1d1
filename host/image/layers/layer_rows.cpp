#include "layer_rows.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>

#include "worker_threads.h"

namespace host {

namespace {

constexpr float farAway = 1e9f;       // larger numbers stand for "nothing there" and do not stretch a range
constexpr float largestLight = 1e30f; // views are given nothing larger

unsigned char code(float value) {
  return static_cast<unsigned char>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255));
}

} // namespace

std::array<float, 3> idColor(float id) noexcept {
  if (id == 0) return {};
  auto h = std::bit_cast<std::uint32_t>(id); // mixed as in MurmurHash3's end
  h = (h ^ (h >> 16)) * 0x85ebca6bu;
  h = (h ^ (h >> 13)) * 0xc2b2ae35u;
  h ^= h >> 16;
  const float hue = static_cast<float>(h & 0xffff) / 65536 * 6;
  const float value = 0.65f + 0.35f * static_cast<float>(h >> 16 & 0xff) / 255;
  const float saturation = 0.55f + 0.35f * static_cast<float>(h >> 24) / 255;
  std::array<float, 3> rgb{};
  for (int i = 0; i < 3; ++i) {
    const float part = std::fmod(hue + std::array{5.0f, 3.0f, 1.0f}[static_cast<std::size_t>(i)], 6.0f);
    rgb[static_cast<std::size_t>(i)] =
        value * (1 - saturation * std::clamp(std::min(part, 4 - part), 0.0f, 1.0f));
  }
  return rgb;
}

std::array<float, 3> heatColor(float part) noexcept {
  static constexpr std::array<float, 3> stops[] = {{0, 0, 0}, {0, 0, 1}, {0, 1, 1}, {0, 1, 0},
                                                   {1, 1, 0}, {1, 0, 0}, {1, 1, 1}};
  const float at = std::clamp(part, 0.0f, 1.0f) * (std::size(stops) - 1);
  const auto i = std::min(static_cast<std::size_t>(at), std::size(stops) - 2);
  const float rest = at - static_cast<float>(i);
  std::array<float, 3> rgb{};
  for (std::size_t c = 0; c < 3; ++c)
    rgb[c] = stops[i][c] + rest * (stops[i + 1][c] - stops[i][c]);
  return rgb;
}

LayerRows::LayerRows(std::shared_ptr<const Film> film, const std::string& name) : film_(std::move(film)) {
  for (const ShownLayer& layer : shownLayers(*film_))
    if (layer.name == name) {
      kind_ = layer.kind;
      there_ = true;
    }
  shown_ = name.empty();
  beauty_ = name == beautyLayer && !film_->findLayer(name);
  if (shown_ || beauty_) return;
  if (kind_ != LayerKind::matte) {
    layers_ = {film_->findLayer(name)};
  } else {
    for (const FilmLayerPtr& layer : film_->layers())
      if (layer->name().size() == name.size() + 2 && layer->name().substr(0, name.size()) == name)
        layers_.push_back(layer);
  }
  there_ = there_ && !layers_.empty() && layers_[0]; // a render may take it away meanwhile
}

// One channel is spread over all three; of more than three the first ones count.
void LayerRows::takeRow(int y, float* to) const {
  if (shown_) return film_->getShownRow(y, to);
  for (int x = 0; x < film_->width(); ++x, to += 3)
    take(x, y, to);
}

void LayerRows::take(int x, int y, float* to) const {
  if (!film_->holds(x, y)) {
    std::fill_n(to, 3, 0.0f);
    return;
  }
  std::array<float, 64> values; // filled as far as it is read
  const std::size_t pixel = film_->pixelAt(x, y);
  if (beauty_) {
    film_->getColor(x, y, values.data());
  } else if (kind_ == LayerKind::matte) {
    std::array<float, 3> sum{};
    for (const FilmLayerPtr& layer : layers_) {
      layer->get(pixel, values.data());
      for (std::size_t i = 0; i < 4; i += 2) {
        const std::array<float, 3> rgb = idColor(values[i]);
        for (std::size_t c = 0; c < 3; ++c)
          sum[c] += values[i + 1] > 0 ? values[i + 1] * rgb[c] : 0;
      }
    }
    std::copy(sum.begin(), sum.end(), values.begin());
  } else {
    const std::size_t channels = layers_[0]->channels().size();
    if (channels < 3 || channels > values.size()) values.fill(0);
    if (channels <= values.size()) layers_[0]->get(pixel, values.data());
    if (channels == 1) values[1] = values[2] = values[0];
  }
  std::copy_n(values.data(), 3, to);
}

// Of a value, which becomes fit for a view.
std::uint8_t LayerRows::mark(float* value) {
  if (std::abs(value[0]) + std::abs(value[1]) + std::abs(value[2]) <= largestLight) return good;
  const bool isNan = std::isnan(value[0]) || std::isnan(value[1]) || std::isnan(value[2]);
  const bool isInfinite = std::isinf(value[0]) || std::isinf(value[1]) || std::isinf(value[2]);
  const std::uint8_t found = isNan ? notNumber : isInfinite ? infinite : good;
  for (int c = 0; c < 3; ++c)
    value[c] = found == good ? std::clamp(value[c], -largestLight, largestLight) : 0;
  return found;
}

void LayerRows::keep() {
  if (!there_) return;
  const auto width = static_cast<std::size_t>(film_->width());
  const std::size_t pixels = width * static_cast<std::size_t>(film_->height());
  values_.resize(3 * pixels);
  marks_.resize(pixels);
  std::atomic<std::size_t> nan = 0, infinities = 0;
  eachRow(film_->height(), [&](int y) {
    const std::size_t first = width * static_cast<std::size_t>(y);
    takeRow(y, &values_[3 * first]);
    for (std::size_t i = first, end = first + width; i < end; ++i) {
      marks_[i] = mark(&values_[3 * i]);
      if (marks_[i] == notNumber) ++nan;
      if (marks_[i] == infinite) ++infinities;
    }
  });
  faults_ = {nan, infinities};
  if (kind_ == LayerKind::number || kind_ == LayerKind::heat) findRange();
}

// A few pixels with much noise would leave no colours for all others: the last hundredth is white.
void LayerRows::findRange() {
  std::vector<float> seen;
  for (std::size_t c = 0; c < 3; ++c) {
    seen.clear();
    for (std::size_t i = 0; i < marks_.size(); ++i)
      if (marks_[i] == good && std::abs(values_[3 * i + c]) < farAway) seen.push_back(values_[3 * i + c]);
    if (seen.empty()) continue;
    const auto [least, most] = std::minmax_element(seen.begin(), seen.end());
    low_[c] = kind_ == LayerKind::heat ? 0 : *least;
    high_[c] = *most;
    if (kind_ != LayerKind::heat) continue;
    const auto at = seen.begin() + static_cast<std::ptrdiff_t>((seen.size() - 1) * 99 / 100);
    std::nth_element(seen.begin(), at, seen.end());
    high_[c] = *at;
  }
}

void LayerRows::color(const float* value, unsigned char* rgb) const {
  const auto part = [&](std::size_t c) {
    const float range = high_[c] - low_[c];
    return range > 0 ? (value[c] - low_[c]) / range : value[c] > 0 ? 1.0f : 0.0f;
  };
  std::array<float, 3> made{};
  switch (kind_) {
  case LayerKind::vector:
    made = {(value[0] + 1) / 2, (value[1] + 1) / 2, (value[2] + 1) / 2};
    break;
  case LayerKind::number:
    made = {part(0), part(1), part(2)};
    break;
  case LayerKind::heat:
    made = heatColor(part(0));
    break;
  case LayerKind::ids:
    made = idColor(value[0]);
    break;
  case LayerKind::matte:
  case LayerKind::light:
    made = {value[0], value[1], value[2]};
    break;
  }
  for (std::size_t c = 0; c < 3; ++c)
    rgb[c] = code(made[c]);
}

void LayerRows::read(const ViewTransform& view, int y, unsigned char* rgb) const {
  const auto width = static_cast<std::size_t>(film_->width());
  if (values_.empty()) {
    std::fill_n(rgb, 3 * width, static_cast<unsigned char>(0));
    return;
  }
  const std::size_t first = width * static_cast<std::size_t>(y);
  const float* row = values_.data() + 3 * first;
  if (kind_ == LayerKind::light)
    view.show(row, rgb, width);
  else
    for (std::size_t x = 0; x < width; ++x)
      color(row + 3 * x, rgb + 3 * x);
  if (!faults_.any()) return;
  for (std::size_t x = 0; x < width; ++x)
    if (const std::uint8_t mark = marks_[first + x]; mark != good)
      std::copy_n((mark == notNumber ? nanColor : infiniteColor).data(), 3, rgb + 3 * x);
}

} // namespace host
