// Colours of a view's pixels, with fractions. Any thread.
#pragma once

#include <algorithm>
#include <cstdint>

namespace host {

struct Color {
  float r = 0, g = 0, b = 0; // 0 to 255, as shown

  friend Color operator+(Color a, Color b) { return {a.r + b.r, a.g + b.g, a.b + b.b}; }
  friend Color operator*(Color a, float s) { return {a.r * s, a.g * s, a.b * s}; }
};

inline Color mix(Color a, Color b, float t) {
  return a * (1 - t) + b * t;
}

inline std::uint32_t packed(Color c) {
  const auto byte = [](float v) { return static_cast<std::uint32_t>(std::clamp(v, 0.0f, 255.0f) + 0.5f); };
  return 0xff000000U | byte(c.r) << 16 | byte(c.g) << 8 | byte(c.b);
}

inline Color unpacked(std::uint32_t p) {
  return {static_cast<float>(p >> 16 & 255), static_cast<float>(p >> 8 & 255), static_cast<float>(p & 255)};
}

} // namespace host
