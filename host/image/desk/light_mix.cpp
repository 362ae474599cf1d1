#include "light_mix.h"

#include <algorithm>
#include <cmath>

#include "layer_table.h"

namespace host {
namespace {

constexpr LightGain one{1, 1, 1};

bool isSilent(const LightMix& mix, const LightFader& fader) {
  const bool solo = std::any_of(mix.faders.begin(), mix.faders.end(),
                                [](const LightFader& other) { return other.solo && !other.mute; });
  return fader.mute || (solo && !fader.solo);
}

} // namespace

LightGain gainOf(const LightMix& mix, const std::string& group) {
  LightFader fader{group};
  for (const LightFader& given : mix.faders)
    if (given.group == group) fader = given;
  if (isSilent(mix, fader)) return {0, 0, 0};
  const double stops =
      std::isfinite(fader.stops) ? std::clamp(fader.stops, -LightFader::mostStops, LightFader::mostStops) : 0;
  LightGain gain{};
  for (std::size_t i = 0; i < 3; ++i)
    gain[i] = (std::isfinite(fader.color[i]) ? std::max(0.0f, fader.color[i]) : 1.0f) *
              static_cast<float>(std::exp2(stops));
  return gain;
}

bool LightMix::isNeutral() const {
  return std::all_of(faders.begin(), faders.end(), [this](const LightFader& fader) {
    return !fader.solo && gainOf(*this, fader.group) == one;
  });
}

std::vector<std::string> lightGroupsOf(const Film& film) {
  std::vector<std::string> groups;
  for (const FilmLayerPtr& layer : film.layers())
    if (layer->name().starts_with(lightGroupPrefix) && layer->channels().size() == 3)
      groups.push_back(layer->name().substr(sizeof lightGroupPrefix - 1));
  return groups;
}

LightMixer::LightMixer(const Film& film, const LightMix& mix) : film_(film), denoised_(film.showsDenoised()) {
  bool changed = false;
  for (const std::string& group : lightGroupsOf(film)) {
    layers_.push_back({film.findLayer(lightGroupPrefix + group), gainOf(mix, group)});
    changed = changed || layers_.back().gain != one;
  }
  // A layer may go while it is looked for: the film is rendered into.
  std::erase_if(layers_, [](const Layer& layer) { return !layer.light; });
  if (!changed) layers_.clear();
  for (std::size_t i = 0; i < 3 && !layers_.empty(); ++i) {
    const auto [low, high] =
        std::minmax_element(layers_.begin(), layers_.end(),
                            [i](const Layer& a, const Layer& b) { return a.gain[i] < b.gain[i]; });
    least_[i] = low->gain[i];
    most_[i] = high->gain[i];
  }
}

void LightMixer::mixPixel(int x, int y, float* rgb) const noexcept {
  const std::size_t pixel = film_.pixelAt(x, y);
  LightGain sum{};
  for (const Layer& layer : layers_) {
    float light[3];
    layer.light->get(pixel, light);
    for (std::size_t i = 0; i < 3; ++i)
      if (layer.gain[i] != 0) sum[i] += layer.gain[i] * light[i];
  }
  if (!denoised_) {
    std::copy_n(sum.data(), 3, rgb);
    return;
  }
  float noisy[4];
  film_.getColor(x, y, noisy);
  for (std::size_t i = 0; i < 3; ++i) {
    const float ratio = sum[i] / noisy[i];
    // Without light in the channel the ratio is not a number; the mean of the bounds changes it least.
    rgb[i] *= noisy[i] > 0 && std::isfinite(ratio) ? std::clamp(ratio, least_[i], most_[i])
                                                   : 0.5f * (least_[i] + most_[i]);
  }
}

void LightMixer::mixRow(int y, float* rgb) const noexcept {
  if (!changes()) return;
  for (int x = 0; x < film_.width(); ++x, rgb += 3)
    mixPixel(x, y, rgb);
}

} // namespace host
