// A mix of the light groups of a film: a fader and a colour for each. Any thread.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "film.h"

namespace host {

/// Linear factors of red, green and blue.
using LightGain = std::array<float, 3>;

struct LightFader {
  static constexpr double mostStops = 20;

  std::string group; // NAME of the layer lightgroup_NAME
  double stops = 0;  // -20 to 20
  bool mute = false, solo = false;
  LightGain color{1, 1, 1}; // linear, 0 and up

  bool operator==(const LightFader& other) const = default;
};

/// Groups without a fader have one that changes nothing.
struct LightMix {
  std::vector<LightFader> faders;

  /// True when no group changes.
  bool isNeutral() const;
  bool operator==(const LightMix& other) const = default;
};

/// The factor of a group: 0 when it is muted, or when others are solo and it is not; else the colour times
/// 2^stops. Numbers that are not finite count as neutral, negative colours as 0.
LightGain gainOf(const LightMix& mix, const std::string& group);

/// The names of the light groups that a film has layers of, in its order.
std::vector<std::string> lightGroupsOf(const Film& film);

/// A film's colour, mixed anew from its layers: the sum of gain times layer. Where a denoised colour is
/// shown, it is multiplied by that sum over the noisy colour, each channel alone and never beyond the least
/// and the largest factor of the groups; a channel without noisy light by the mean of those two. A neutral
/// mix, and a film without light groups, show what the film shows. A layer's NaN and infinities stay in their
/// pixel, and a factor of 0 removes them.
class LightMixer {
 public:
  LightMixer(const Film& film, const LightMix& mix);
  bool changes() const noexcept { return !layers_.empty(); }
  /// Red, green and blue of each pixel of a row, in place: what the film shows becomes the mix. Several rows
  /// at a time.
  void mixRow(int y, float* rgb) const noexcept;

 private:
  struct Layer {
    FilmLayerPtr light;
    LightGain gain;
  };
  void mixPixel(int x, int y, float* rgb) const noexcept;

  const Film& film_;
  std::vector<Layer> layers_; // empty: nothing changes
  LightGain least_{}, most_{};
  bool denoised_;
};

} // namespace host
