// Effects of a lens on a picture. Any thread.
#pragma once

namespace host {

/// Lengths are shares of the picture's longer side.
struct LensSettings {
  static constexpr double mostThreshold = 1e4, mostRadius = 0.5, leastSize = 0.1, mostSize = 4;
  static constexpr int leastStreaks = 2, mostStreaks = 16;

  bool bloom = false, glare = false, vignette = false;
  double threshold = 1;  // of bloom and glare: the light above it is scattered; 0 to 10000
  double strength = 0.3; // of bloom and glare: the share of that light that is scattered, 0 to 1
  double radius = 0.08;  // of bloom: two standard deviations of its widest part, 0 to 0.5
  int streaks = 6;       // of glare: rays of a star, 2 to 16
  double length = 0.2;   // of glare: to a hundredth of the light, 0 to 0.5
  double angle = 15;     // of glare: of the first ray, degrees anticlockwise from the right
  double amount = 0.5;   // of vignette, 0 to 1
  double size = 1;       // of vignette: 1 reaches the corners, 0.1 to 4
  double roundness = 1;  // of vignette: 0 the picture's shape, 1 a circle

  /// Whether an effect is on.
  bool any() const noexcept { return bloom || glare || vignette; }
  bool operator==(const LensSettings& other) const = default;
};

/// Values out of range become the nearest valid ones, NaN the default.
LensSettings lensWithinRange(LensSettings settings);

} // namespace host
