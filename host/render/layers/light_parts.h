// The light of one camera path by the ways that it took and by its sources, for layers of the film.
#pragma once

#include <algorithm>
#include <array>
#include <vector>

#include "bsdf.h"

namespace host::render {

/// In the order of their layers (layer_table.h).
enum class LightWay : std::uint8_t {
  diffuseDirect,
  diffuseIndirect,
  specularDirect,
  specularIndirect,
  transmission,
  emission,
  sky,
  count
};
inline constexpr std::size_t lightWays = static_cast<std::size_t>(LightWay::count);

/// The first surface that scatters a path decides: its lobes share the path's light, which is direct when it
/// comes straight from a light. All light behind glass is transmission. Sums are those of the path's colour,
/// up to rounding. Used by one thread, path after path.
class LightParts {
 public:
  /// For so many groups of lights; with 0 groups are not kept.
  explicit LightParts(std::size_t groups) : groups_(groups), lamps_(groups) {}

  /// A new path, without light so far.
  void begin() {
    ways_ = {};
    std::fill(groups_.begin(), groups_.end(), Vec3());
    shares_ = {};
    open_ = arrived_ = {};
    behindGlass_ = false;
  }

  /// The camera looks straight through clear glass; all that follows lies behind it.
  void passGlass() {
    behindGlass_ = true;
    shares_ = {Vec3(), Vec3(), Vec3(1.0f)};
  }
  /// The first surface scatters the path on.
  void scatter(const LobeShares& shares) {
    if (!behindGlass_) shares_ = shares;
  }

  /// Light that the path met after so many scatterings. `visible`: its way when the camera sees it.
  void met(Vec3 light, int bounces, LightWay visible) {
    if (bounces == 0 && !behindGlass_)
      way(visible) += light;
    else
      split(light, shares_, bounces == 1);
  }
  /// Light of a light sample at a surface after so many scatterings. `here`: shares of its lobes, only used
  /// at the first surface.
  void sampled(Vec3 light, int bounces, const LobeShares& here) {
    split(light, bounces == 0 && !behindGlass_ ? here : shares_, bounces == 0);
  }
  bool wantsShares(int bounces) const { return bounces == 0 && !behindGlass_; }

  bool hasGroups() const { return !groups_.empty(); }
  void addToGroup(std::size_t group, Vec3 light) { groups_[group] += light; }
  /// Light of lamps along a ray, whose sum is scaled before it counts.
  void noteLamp(std::size_t group, Vec3 light) { lamps_[group] += light; }
  void addLamps(Vec3 factor) {
    for (std::size_t i = 0; i < lamps_.size(); ++i) {
      groups_[i] += lamps_[i] * factor;
      lamps_[i] = {};
    }
  }

  /// Light at the first surface, when it catches shadows: without anything in its way, and as it arrives.
  void catchOpen(Vec3 light) { open_ += light; }
  void catchArrived(Vec3 light) { arrived_ += light; }
  Vec3 openLight() const { return open_; }
  Vec3 arrivedLight() const { return arrived_; }

  const std::array<Vec3, lightWays>& ways() const { return ways_; }
  const std::vector<Vec3>& groups() const { return groups_; }

 private:
  Vec3& way(LightWay which) { return ways_[static_cast<std::size_t>(which)]; }
  void split(Vec3 light, const LobeShares& shares, bool direct) {
    way(direct ? LightWay::diffuseDirect : LightWay::diffuseIndirect) += light * shares.diffuse;
    way(direct ? LightWay::specularDirect : LightWay::specularIndirect) += light * shares.specular;
    way(LightWay::transmission) += light * shares.transmission;
  }

  std::array<Vec3, lightWays> ways_{};
  std::vector<Vec3> groups_, lamps_;
  Vec3 open_, arrived_;
  LobeShares shares_;
  bool behindGlass_ = false;
};

} // namespace host::render
