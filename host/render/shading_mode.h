// Shading modes of a render: the scene's light, or one property of its surfaces.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace host::render {

/// Stored in documents: the numbers never change. All but `standard` and `clay` need no light: they are
/// noise-free and shown through the view as any picture.
enum class ShadingMode : std::uint8_t {
  standard = 0,  // the scene's materials in its light
  clay = 1,      // every surface matt and grey in the scene's light; glowing surfaces glow
  albedo = 2,    // base colour
  normals = 3,   // shading normal in the world: x, y, z from -1 to 1 as red, green, blue codes
  uvChecker = 4, // first texture coordinates: ten squares a unit
  wireframe = 5, // edges of triangles
  facing = 6,    // front sides blue, back sides red
  overlaps = 7   // a colour for each object; white where two objects have the same place
};

struct ShadingModeInfo {
  ShadingMode mode;
  const char* name;  // on the command line
  const char* label; // for users
};

/// In the order of the numbers.
std::span<const ShadingModeInfo> shadingModes() noexcept;
std::optional<ShadingMode> shadingModeOf(std::string_view name) noexcept;

} // namespace host::render
