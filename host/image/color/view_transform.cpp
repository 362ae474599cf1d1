#include "view_transform.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "display_transform.h"
#include "view_looks.h"

namespace host {
namespace {

/// Linear Rec. 709 of light of a temperature, with a luminance of 1.
std::array<double, 3> blackBody(double kelvin) {
  const double t = 1000 / kelvin;
  const double x = kelvin <= 4000 ? ((-0.2661239 * t - 0.2343589) * t + 0.8776956) * t + 0.179910
                                  : ((-3.0258469 * t + 2.1070379) * t + 0.2226347) * t + 0.240390;
  const double y = kelvin <= 2222   ? ((-1.1063814 * x - 1.34811020) * x + 2.18555832) * x - 0.20219683
                   : kelvin <= 4000 ? ((-0.9549476 * x - 1.37418593) * x + 2.09137015) * x - 0.16748867
                                    : ((3.0817580 * x - 5.87338670) * x + 3.75112997) * x - 0.37001483;
  const double bigX = x / y, bigZ = (1 - x - y) / y;
  return {3.2409699 * bigX - 1.5373832 - 0.4986108 * bigZ, -0.9692436 * bigX + 1.8759675 + 0.0415551 * bigZ,
          0.0556301 * bigX - 0.2039770 + 1.0569715 * bigZ};
}

unsigned char codeOf(std::int16_t display, unsigned char /*kind*/) noexcept {
  return static_cast<unsigned char>((display + 64) >> 7);
}
std::uint16_t codeOf(std::int16_t display, std::uint16_t /*kind*/) noexcept {
  return static_cast<std::uint16_t>((display * 65535 + displayWhite / 2) / displayWhite);
}
void toDisplay(const float* linear, std::uint16_t* codes, std::size_t count) noexcept {
  std::transform(linear, linear + count, codes, toDisplayWord);
}

/// Display values to codes, by the table where there is one.
template <class Code>
void encode(const std::int16_t* display, Code* codes, std::size_t count,
            const std::vector<Code>& table) noexcept {
  if (table.empty())
    std::transform(display, display + count, codes, [](std::int16_t value) { return codeOf(value, Code()); });
  else
    std::transform(display, display + count, codes,
                   [&table](std::int16_t value) { return table[static_cast<std::size_t>(value)]; });
}

double clampOr(double value, double low, double high, double otherwise) {
  return std::isnan(value) ? otherwise : std::clamp(value, low, high);
}

} // namespace

bool ViewSettings::isPlain() const {
  return *this == ViewSettings();
}

ViewSettings withinRange(ViewSettings settings) {
  using V = ViewSettings;
  settings.exposure = clampOr(settings.exposure, -V::mostStops, V::mostStops, 0);
  settings.gamma = clampOr(settings.gamma, V::leastGamma, V::mostGamma, 1);
  settings.kelvin = clampOr(settings.kelvin, V::leastKelvin, V::mostKelvin, V::plainKelvin);
  if (settings.view.empty()) settings.view = plainView;
  return settings;
}

std::array<float, 3> whiteBalance(double kelvin) {
  if (kelvin == ViewSettings::plainKelvin) return {1, 1, 1};
  const std::array<double, 3> light = blackBody(kelvin), plain = blackBody(ViewSettings::plainKelvin);
  std::array<double, 3> gain{};
  for (std::size_t i = 0; i < 3; ++i)
    gain[i] = plain[i] / std::max(light[i], 0.01); // candle light has hardly any blue
  const double luminance = 0.2126390 * gain[0] + 0.7151687 * gain[1] + 0.0721923 * gain[2];
  return {static_cast<float>(gain[0] / luminance), static_cast<float>(gain[1] / luminance),
          static_cast<float>(gain[2] / luminance)};
}

ViewTransform::ViewTransform(const ViewSettings& settings) : settings_(withinRange(settings)) {
  const std::array<float, 3> white = whiteBalance(settings_.kelvin);
  for (std::size_t i = 0; i < gain_.size(); ++i)
    gain_[i] = white[i % 3] * static_cast<float>(std::exp2(settings_.exposure));
  const bool bent = settings_.gamma != 1;
  if (settings_.view != plainView) look_ = lookOf(settings_.view, settings_.config);
  if (!look_ && bent) look_ = lookOf(plainView, {});
  if (!bent) return;
  for (int i = 0; i <= displayWhite; ++i) {
    const double value = std::pow(static_cast<double>(i) / displayWhite, 1 / settings_.gamma);
    codes_.push_back(static_cast<unsigned char>(std::lround(value * 255)));
    words_.push_back(static_cast<std::uint16_t>(std::lround(value * 65535)));
  }
}

template <class Code>
void ViewTransform::showAs(const float* rgb, Code* codes, std::size_t pixels) const noexcept {
  std::array<float, 3 * ViewLook::mostPixels> scaled;
  std::array<std::int16_t, 3 * ViewLook::mostPixels + 1> display;
  for (std::size_t count; pixels > 0; pixels -= count, rgb += 3 * count, codes += 3 * count) {
    count = std::min(pixels, ViewLook::mostPixels);
    std::transform(rgb, rgb + 3 * count, gain_.begin(), scaled.begin(), std::multiplies());
    if (!look_) {
      toDisplay(scaled.data(), codes, 3 * count);
      continue;
    }
    look_->show(scaled.data(), display.data(), count);
    if constexpr (sizeof(Code) == 1)
      encode(display.data(), codes, 3 * count, codes_);
    else
      encode(display.data(), codes, 3 * count, words_);
  }
}

void ViewTransform::show(const float* rgb, unsigned char* codes, std::size_t pixels) const noexcept {
  showAs(rgb, codes, pixels);
}

void ViewTransform::show(const float* rgb, std::uint16_t* codes, std::size_t pixels) const noexcept {
  showAs(rgb, codes, pixels);
}

} // namespace host
