#include "studio_panels.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

constexpr double radians = 3.14159265358979323846 / 180;
const Vector warm{1.0, 0.82, 0.62}, cool{0.72, 0.86, 1.0}, white{1, 1, 1};

// 1 inside of a panel's core, 0 outside, smooth between (the cubic of Hermite).
double cover(double distance, double softness) {
  const double soft = std::clamp(softness, 0.01, 1.0);
  const double t = std::clamp((1 - distance) / soft, 0.0, 1.0);
  return t * t * (3 - 2 * t);
}

double panelCover(const StudioPanel& panel, const Vector& d) {
  const double a = panel.azimuth * radians, e = panel.elevation * radians;
  const Vector middle(std::sin(a) * std::cos(e), std::sin(e), -std::cos(a) * std::cos(e));
  const double along = Dot(d, middle);
  if (along <= 1e-3) return 0; // behind
  const Vector right(std::cos(a), 0, std::sin(a)), up = Cross(right, middle);
  // On the plane of the panel, in its half sides.
  const double x = Dot(d, right) / along / std::tan(panel.halfWidth * radians);
  const double y = Dot(d, up) / along / std::tan(panel.halfHeight * radians);
  return cover(panel.round ? std::hypot(x, y) : std::max(std::abs(x), std::abs(y)), panel.softness);
}

} // namespace

const std::vector<Studio>& studios() {
  static const std::vector<Studio> all{
      {"Softbox", {0.02, 0.02, 0.02}, {{-50, 45, 28, 28, 8, white, 0.25, false}}},
      {"Two softboxes",
       {0.03, 0.03, 0.03},
       {{-60, 35, 24, 34, 7, white, 0.25, false}, {70, 25, 20, 30, 3, white, 0.25, false}}},
      {"Three points",
       {0.015, 0.015, 0.018},
       {{-45, 40, 16, 16, 14, warm, 0.3, false},
        {60, 15, 26, 30, 2, cool, 0.4, false},
        {165, 45, 10, 22, 16, white, 0.3, false}}},
      {"Overhead", {0.04, 0.04, 0.04}, {{0, 89, 38, 38, 6, white, 0.3, false}}},
      {"Strips on black",
       {0, 0, 0},
       {{-95, 10, 5, 45, 14, white, 0.3, false},
        {95, 10, 5, 45, 14, white, 0.3, false},
        {180, 55, 40, 5, 8, white, 0.3, false}}},
      {"Ring",
       {0.02, 0.02, 0.02},
       {{0, 30, 30, 30, 6, white, 0.5, true}, {180, 60, 20, 20, 2, cool, 0.5, true}}},
      {"Light tent",
       {0.75, 0.75, 0.75},
       {{0, 80, 45, 45, 1.2, white, 0.8, true}, {180, 0, 60, 20, -0.5, white, 0.6, false}}},
      {"Warm and cool",
       {0.02, 0.02, 0.025},
       {{-80, 20, 18, 40, 8, warm, 0.3, false}, {80, 20, 18, 40, 6, cool, 0.3, false}}},
  };
  return all;
}

const Studio& studioOf(int index) {
  const auto& all = studios();
  return all[static_cast<std::size_t>(std::clamp(index, 0, static_cast<int>(all.size()) - 1))];
}

Vector studioLight(const Studio& studio, const Vector& direction) {
  Vector light = studio.ambient;
  for (const StudioPanel& panel : studio.panels)
    light += panel.color * (panel.radiance * panelCover(panel, direction));
  return {std::max(light.x, 0.0), std::max(light.y, 0.0), std::max(light.z, 0.0)};
}

} // namespace host
