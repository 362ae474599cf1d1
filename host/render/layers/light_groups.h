// The named groups of a scene's lights: lamps, glowing materials and the sky. Built once a render.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "snapshot.h"

namespace host::render {

/// Names of the groups of lights that name none: lamps and glowing materials, and the sky.
inline constexpr char unnamedLights[] = "default", unnamedSky[] = "sky";
/// A group's name as a part of a layer's name; `otherwise` when it is empty.
std::string lightGroupName(const std::string& name, const char* otherwise);

class LightGroups {
 public:
  LightGroups() = default;
  /// Lights without a name are in the group "default", a sky without one in "sky". Groups beyond the 64th
  /// count as "default".
  explicit LightGroups(const Snapshot& snapshot);

  /// At least one; usable as a part of a layer's name. Each of them has a light in the snapshot.
  const std::vector<std::string>& names() const { return names_; }
  /// Indices into `names`; those of the arguments count in the snapshot.
  std::uint32_t ofLight(std::uint32_t light) const { return lights_[light]; }
  std::uint32_t ofMaterial(std::uint32_t material) const { return materials_[material]; }
  std::uint32_t ofSky() const { return sky_; }

 private:
  std::uint32_t add(const std::string& name, const char* otherwise);

  std::vector<std::string> names_;
  std::vector<std::uint32_t> lights_, materials_;
  std::uint32_t sky_ = 0;
};

} // namespace host::render
