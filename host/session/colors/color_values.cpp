#include "color_values.h"

#include <algorithm>
#include <cmath>

#include "display_transform.h"
#include "light_source.h"

namespace host {

namespace {

Real encoded(Real linear) {
  return linearToSrgb(std::isfinite(linear) ? std::clamp(linear, 0.0, 1.0) : 0);
}

// How far apart two hues are, of parts whose sum is 1.
Real hueDistance(const Vector& a, const Vector& b) {
  const Vector d = a - b;
  return std::sqrt(Dot(d, d));
}

Vector hueOf(const Vector& color) {
  return color * (1 / (color.x + color.y + color.z));
}

} // namespace

Hsv hsvOf(const Vector& linear) {
  const Real r = encoded(linear.x), g = encoded(linear.y), b = encoded(linear.z);
  const Real most = std::max({r, g, b}), range = most - std::min({r, g, b});
  Hsv hsv{0, most > 0 ? range / most : 0, most};
  if (range > 0) {
    const Real sixth = most == r ? (g - b) / range : most == g ? 2 + (b - r) / range : 4 + (r - g) / range;
    hsv.hue = 60 * (sixth < 0 ? sixth + 6 : sixth);
  }
  return hsv;
}

Vector linearOf(const Hsv& hsv) {
  const Real turn = std::isfinite(hsv.hue) ? hsv.hue / 360 - std::floor(hsv.hue / 360) : 0;
  const Real saturation = std::clamp(hsv.saturation, 0.0, 1.0), value = std::clamp(hsv.value, 0.0, 1.0);
  const auto part = [&](Real shift) {
    const Real at = std::fmod(turn * 6 + shift, 6.0);
    return srgbToLinear(value * (1 - saturation * std::clamp(std::min(at, 4 - at), 0.0, 1.0)));
  };
  return {part(5), part(3), part(1)};
}

std::optional<Real> kelvinOf(const Vector& linear) {
  constexpr Real tolerance = 0.03; // white daylight lies a little beside black bodies
  const Real sum = linear.x + linear.y + linear.z;
  if (!(sum > 0) || !std::isfinite(sum)) return std::nullopt;
  const Vector hue = hueOf(linear);
  const auto distance = [&hue](Real mired) { return hueDistance(hue, hueOf(blackBodyColor(1e6 / mired))); };
  // Hues are about even over the reciprocal of the temperature. A coarse search, then between its neighbours.
  constexpr Real low = 1e6 / mostKelvin, high = 1e6 / leastKelvin;
  constexpr int steps = 64;
  Real best = low;
  for (int i = 1; i <= steps; ++i) {
    const Real at = low + (high - low) * i / steps;
    if (distance(at) < distance(best)) best = at;
  }
  Real from = std::max(low, best - (high - low) / steps), to = std::min(high, best + (high - low) / steps);
  for (int i = 0; i < 40; ++i) {
    const Real third = (to - from) / 3;
    (distance(from + third) < distance(to - third) ? to : from) =
        distance(from + third) < distance(to - third) ? to - third : from + third;
  }
  best = (from + to) / 2;
  if (distance(best) > tolerance) return std::nullopt;
  return 1e6 / best;
}

Vector kelvinColor(Real kelvin, Real brightest) {
  const Vector color = blackBodyColor(kelvin);
  return color * (brightest / std::max({color.x, color.y, color.z}));
}

} // namespace host
