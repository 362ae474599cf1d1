#include "lens_settings.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

void keepWithin(double& value, double low, double high, double otherwise) {
  value = std::isnan(value) ? otherwise : std::clamp(value, low, high);
}

} // namespace

LensSettings lensWithinRange(LensSettings settings) {
  using L = LensSettings;
  const L plain;
  keepWithin(settings.threshold, 0, L::mostThreshold, plain.threshold);
  keepWithin(settings.strength, 0, 1, plain.strength);
  keepWithin(settings.radius, 0, L::mostRadius, plain.radius);
  settings.streaks = std::clamp(settings.streaks, L::leastStreaks, L::mostStreaks);
  keepWithin(settings.length, 0, L::mostRadius, plain.length);
  keepWithin(settings.angle, -360, 360, plain.angle);
  keepWithin(settings.amount, 0, 1, plain.amount);
  keepWithin(settings.size, L::leastSize, L::mostSize, plain.size);
  keepWithin(settings.roundness, 0, 1, plain.roundness);
  return settings;
}

} // namespace host
