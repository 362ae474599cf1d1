#include "scope_pixels.h"

#include <algorithm>
#include <cmath>

#include "film.h"
#include "worker_threads.h"

namespace host {
namespace {

constexpr double middleGrey = 0.18;

template <class Value>
Value lumaOf(Value red, Value green, Value blue) noexcept {
  return Value(0.2126) * red + Value(0.7152) * green + Value(0.0722) * blue;
}

} // namespace

ScopePixels scopePixels(const Film& film) {
  ScopePixels pixels{film.width(), film.height(), {}, {}};
  pixels.light.resize(3 * pixels.count());
  eachRow(film.height(), [&](int y) {
    float* to = pixels.light.data() + 3 * film.pixelAt(0, y);
    for (int x = 0; x < film.width(); ++x, to += 3) {
      float rgba[4];
      film.getShown(x, y, rgba);
      std::copy_n(rgba, 3, to);
    }
  });
  return pixels;
}

int levelOfLight(float light) noexcept {
  if (!(light > 0)) return belowLevels;
  static const float offset = static_cast<float>(middleLevel - levelsPerStop * std::log2(middleGrey) + 1e-4);
  const float level = std::floor(static_cast<float>(levelsPerStop) * std::log2(light) + offset);
  return static_cast<int>(
      std::clamp(level, static_cast<float>(belowLevels), static_cast<float>(aboveLevels)));
}

double lightOfLevel(double level) noexcept {
  return middleGrey * std::exp2((level - middleLevel) / levelsPerStop);
}

ScopeState scopeState(const ScopePixels& pixels, std::size_t pixel) noexcept {
  if (!pixels.isLight()) return ScopeState::finite;
  const float* light = pixels.light.data() + 3 * pixel;
  if (std::isnan(light[0]) || std::isnan(light[1]) || std::isnan(light[2])) return ScopeState::nan;
  if (std::isinf(light[0]) || std::isinf(light[1]) || std::isinf(light[2])) return ScopeState::infinite;
  return ScopeState::finite;
}

ScopeValues scopeValues(const ScopePixels& pixels, std::size_t pixel) noexcept {
  if (pixels.isLight()) {
    const float* light = pixels.light.data() + 3 * pixel;
    return {levelOfLight(light[0]), levelOfLight(light[1]), levelOfLight(light[2]),
            levelOfLight(lumaOf(light[0], light[1], light[2]))};
  }
  const unsigned char* codes = pixels.codes.data() + 3 * pixel;
  return {codes[0], codes[1], codes[2], static_cast<int>(lumaOf<double>(codes[0], codes[1], codes[2]) + 0.5)};
}

} // namespace host
