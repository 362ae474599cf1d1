#include "lens_effects.h"

#include <algorithm>
#include <cmath>

#include "spread.h"
#include "worker_threads.h"

namespace host {
namespace {

constexpr float mostSpread = 65504;    // the largest half
constexpr double leastDeviation = 0.1; // pixels: less blurs nothing
constexpr double pi = 3.14159265358979323846;

bool isFinite(const float* rgb) noexcept {
  return std::isfinite(rgb[0]) && std::isfinite(rgb[1]) && std::isfinite(rgb[2]);
}

/// The light above the threshold, in a pixel's own hue.
void brightPart(const float* rgb, float threshold, float* bright) noexcept {
  const float largest = std::max({rgb[0], rgb[1], rgb[2]});
  if (!isFinite(rgb) || !(largest > threshold)) return;
  const float share = (largest - threshold) / largest * std::min(1.0f, mostSpread / (largest - threshold));
  for (int i = 0; i < 3; ++i)
    bright[i] = share * std::max(0.0f, rgb[i]);
}

void addScaled(const LightPlane& from, float factor, LightPlane& to) {
  eachRow(to.height, [&](int y) {
    const float* in = from.row(y);
    float* out = to.row(y);
    for (int i = 0; i < 3 * to.width; ++i)
      out[i] += factor * in[i];
  });
}

void addBloom(const LightPlane& bright, double deviation, float factor, LightPlane& halo) {
  const struct {
    double deviation;
    float weight;
  } parts[] = {{1.0 / 9, 1.0f / 2}, {1.0 / 3, 1.0f / 3}, {1, 1.0f / 6}};
  for (const auto& part : parts) {
    LightPlane spread = bright;
    if (part.deviation * deviation >= leastDeviation) blur(spread, part.deviation * deviation);
    addScaled(spread, factor * part.weight, halo);
  }
}

/// Some rays at a time, added in one order, so that the sum is the same with any number of workers.
void addGlare(const LightPlane& bright, const LensSettings& settings, double length, float factor,
              LightPlane& halo) {
  if (length < leastDeviation) return addScaled(bright, factor, halo);
  const double decay = std::pow(0.01, 1 / length);
  const int atOnce = std::max(1, workerCount());
  for (int first = 0; first < settings.streaks; first += atOnce) {
    const int count = std::min(atOnce, settings.streaks - first);
    std::vector<LightPlane> rays(static_cast<std::size_t>(count), LightPlane(0, 0));
    eachRow(count, [&](int i) {
      const double angle = settings.angle * pi / 180 + 2 * pi * (first + i) / settings.streaks;
      rays[static_cast<std::size_t>(i)] = ray(bright, angle, decay);
    });
    for (const LightPlane& light : rays)
      addScaled(light, factor / static_cast<float>(settings.streaks), halo);
  }
}

/// Moves a share of the bright light into the halo.
void scatter(const LensSettings& settings, int width, int height, std::vector<float>& rgb) {
  LightPlane bright(width, height), halo(width, height);
  const auto threshold = static_cast<float>(settings.threshold);
  eachRow(height, [&](int y) {
    const std::size_t first = static_cast<std::size_t>(bright.row(y) - bright.values.data());
    for (int x = 0; x < width; ++x)
      brightPart(rgb.data() + first + 3 * x, threshold, bright.row(y) + 3 * static_cast<std::ptrdiff_t>(x));
  });
  const double side = std::max(width, height);
  const auto strength = static_cast<float>(settings.strength);
  const float each = settings.bloom && settings.glare ? strength / 2 : strength;
  if (settings.bloom) addBloom(bright, settings.radius * side / 2, each, halo);
  if (settings.glare) addGlare(bright, settings, settings.length * side, each, halo);
  eachRow(height, [&](int y) {
    const std::size_t first = static_cast<std::size_t>(bright.row(y) - bright.values.data());
    for (int x = 0; x < width; ++x) {
      float* to = rgb.data() + first + 3 * x;
      if (!isFinite(to)) continue;
      const auto at = 3 * static_cast<std::ptrdiff_t>(x);
      for (int i = 0; i < 3; ++i)
        to[i] += halo.row(y)[at + i] - strength * bright.row(y)[at + i];
    }
  });
}

void darken(const LensSettings& settings, int width, int height, std::vector<float>& rgb) {
  eachRow(height, [&](int y) {
    float* to = rgb.data() + 3 * static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    for (int x = 0; x < width; ++x, to += 3) {
      const float factor = vignetteAt(settings, width, height, x, y);
      for (int i = 0; i < 3; ++i)
        to[i] *= factor;
    }
  });
}

} // namespace

float vignetteAt(const LensSettings& settings, int width, int height, int x, int y) noexcept {
  const double right = (2 * x + 1 - width) * 0.5, down = (2 * y + 1 - height) * 0.5;
  const double round = (right * right + down * down) * 4 /
                       (static_cast<double>(width) * width + static_cast<double>(height) * height);
  const double shaped =
      (right * right / width / width + down * down / height / height) * 2; // 1 in the corners, too
  const double distance = settings.roundness * round + (1 - settings.roundness) * shaped; // squared
  const double fall = 1 + distance / (settings.size * settings.size);
  return static_cast<float>(1 - settings.amount + settings.amount / (fall * fall));
}

void applyLens(const LensSettings& wanted, int width, int height, std::vector<float>& rgb) {
  const LensSettings settings = lensWithinRange(wanted);
  if (width < 1 || height < 1) return;
  if ((settings.bloom || settings.glare) && settings.strength > 0) scatter(settings, width, height, rgb);
  if (settings.vignette && settings.amount > 0) darken(settings, width, height, rgb);
}

} // namespace host
