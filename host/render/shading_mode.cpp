#include "shading_mode.h"

#include <algorithm>
#include <array>

namespace host::render {
namespace {

constexpr std::array<ShadingModeInfo, 8> modes{{
    {ShadingMode::standard, "standard", "Standard"},
    {ShadingMode::clay, "clay", "Clay"},
    {ShadingMode::albedo, "albedo", "Albedo"},
    {ShadingMode::normals, "normals", "Normals"},
    {ShadingMode::uvChecker, "uv", "UV Checker"},
    {ShadingMode::wireframe, "wireframe", "Wireframe"},
    {ShadingMode::facing, "facing", "Facing"},
    {ShadingMode::overlaps, "overlaps", "Overlapping Objects"},
}};

} // namespace

std::span<const ShadingModeInfo> shadingModes() noexcept {
  return modes;
}

std::optional<ShadingMode> shadingModeOf(std::string_view name) noexcept {
  const auto found = std::find_if(modes.begin(), modes.end(),
                                  [&](const ShadingModeInfo& info) { return info.name == name; });
  return found == modes.end() ? std::nullopt : std::optional(found->mode);
}

} // namespace host::render
