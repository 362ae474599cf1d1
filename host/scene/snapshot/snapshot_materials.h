// Materials for the renderer: channel switches applied, shader trees resolved.
#pragma once

#include "node_state.h"

namespace host {

/// The material of surfaces without one.
SurfaceMaterialPtr defaultMaterial();
/// `missing` gets the names of the missing pictures that the material shows.
SurfaceMaterialPtr resolveMaterial(const MaterialState& material, bool textures,
                                   std::vector<std::string>& missing);
/// The top shader in a slot; null for an empty slot.
const ShaderState* shaderIn(const MaterialState& material, int slot) noexcept;

} // namespace host
