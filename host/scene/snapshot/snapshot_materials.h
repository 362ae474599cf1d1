// Materials as a renderer sees them: channel switches applied, shader trees resolved.
#pragma once

#include "node_state.h"

namespace host {

/// The look of what has no material.
SurfaceMaterialPtr defaultMaterial();
/// `missing` gets the names of the pictures that the material shows and that are not there.
SurfaceMaterialPtr resolveMaterial(const MaterialState& material, bool textures,
                                   std::vector<std::string>& missing);
/// The top shader in a slot; null when there is none.
const ShaderState* shaderIn(const MaterialState& material, int slot) noexcept;

} // namespace host
