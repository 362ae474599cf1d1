#include "noise_map.h"

#include <cmath>

#include "worker_threads.h"

namespace host::render {
namespace {

// A camera ray that meets nothing costs little beside the shading of a surface with its rays.
constexpr float cheapRays = 0.85f, leastCost = 0.15f;

} // namespace

std::vector<PixelDemand> NoiseMap::demands() const {
  std::vector<float> variances(pixels_.size());
  eachRow(height_, [&](int y) {
    for (int x = 0; x < width_; ++x)
      variances[index(x, y)] = pixels_[index(x, y)].displayedVariance();
  });
  std::vector<PixelDemand> demands(pixels_.size());
  eachRow(height_, [&](int y) {
    for (int x = 0; x < width_; ++x)
      demands[index(x, y)] = demand(variances, x, y);
  });
  return demands;
}

PixelDemand NoiseMap::demand(const std::vector<float>& variances, int x, int y) const {
  const std::size_t own = index(x, y);
  float sum = 0;
  int count = 0;
  eachAround(x, y, noiseReach, [&](std::size_t i) {
    if (i == own) return;
    sum += variances[i];
    ++count;
  });
  return {std::sqrt(sum / static_cast<float>(std::max(1, count))),
          std::max(leastCost, pixels_[own].raysOfSample() - cheapRays)};
}

} // namespace host::render
