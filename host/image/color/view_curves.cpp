#include "view_curves.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "display_transform.h"

namespace host {
namespace {

float encoded(float light) {
  return static_cast<float>(linearToSrgb(std::clamp(static_cast<double>(light), 0.0, 1.0)));
}

template <class Curve>
void eachChannel(float* rgb, std::size_t pixels, Curve curve) {
  std::transform(rgb, rgb + 3 * pixels, rgb, curve);
}

float hable(float x) {
  constexpr float a = 0.15f, b = 0.5f, c = 0.1f, d = 0.2f, e = 0.02f, f = 0.3f;
  return (x * (a * x + c * b) + d * e) / (x * (a * x + b) + d * f) - e / f;
}

void neutral(float* c) {
  constexpr float start = 0.8f - 0.04f, desaturation = 0.15f;
  const float least = std::min({c[0], c[1], c[2]});
  const float offset = least < 0.08f ? least - 6.25f * least * least : 0.04f;
  for (int i = 0; i < 3; ++i)
    c[i] -= offset;
  const float peak = std::max({c[0], c[1], c[2]});
  if (peak < start) return;
  const float room = 1 - start, lowered = 1 - room * room / (peak + room - start);
  const float toWhite = 1 - 1 / (desaturation * (peak - lowered) + 1);
  for (int i = 0; i < 3; ++i)
    c[i] = c[i] * lowered / peak * (1 - toWhite) + lowered * toWhite;
}

/// Colours below a number of stops from middle grey.
struct Band {
  float below, color[3];
};
constexpr std::array<Band, 9> bands{{{-6, {0.3f, 0, 0.45f}},
                                     {-4, {0, 0, 0.9f}},
                                     {-2, {0, 0.5f, 0.9f}},
                                     {-0.5f, {0, 0.7f, 0.6f}},
                                     {0.5f, {0, 0.7f, 0}},
                                     {1.25f, {0.6f, 0.6f, 0.6f}},
                                     {2, {0.95f, 0.9f, 0}},
                                     {2.47393119f, {0.95f, 0.5f, 0}}, // 1 / 0.18
                                     {std::numeric_limits<float>::infinity(), {0.95f, 0, 0}}}};

} // namespace

void showSrgb(float* rgb, std::size_t pixels) {
  eachChannel(rgb, pixels, encoded);
}

void showRec709(float* rgb, std::size_t pixels) {
  eachChannel(rgb, pixels, [](float light) { return std::pow(std::clamp(light, 0.0f, 1.0f), 1 / 2.4f); });
}

void showRaw(float* rgb, std::size_t pixels) {
  eachChannel(rgb, pixels, [](float light) { return std::clamp(light, 0.0f, 1.0f); });
}

void showFilmic(float* rgb, std::size_t pixels) {
  const float white = hable(11.2f);
  eachChannel(rgb, pixels, [white](float light) { return encoded(hable(2 * light) / white); });
}

void toneNeutral(float* rgb, std::size_t pixels) {
  for (float* p = rgb; p < rgb + 3 * pixels; p += 3)
    if (std::isfinite(p[0] + p[1] + p[2]))
      neutral(p);
    else
      std::fill_n(p, 3, 1.0f);
}

void showFalseColor(float* rgb, std::size_t pixels) {
  for (float* p = rgb; p < rgb + 3 * pixels; p += 3) {
    const float luminance = 0.2126f * p[0] + 0.7152f * p[1] + 0.0722f * p[2];
    const float stops = std::log2(std::max(luminance, 1e-9f) / 0.18f);
    const auto band =
        std::find_if(bands.begin(), bands.end() - 1, [&](const Band& b) { return stops < b.below; });
    std::copy_n(band->color, 3, p);
  }
}

} // namespace host
