// Copies of meshes: EXT_mesh_gpu_instancing.
#pragma once

#include "gltf_file.h"
#include "mesh_placements.h"

namespace host {

/// The copies of a node's mesh; null without the extension. Throws SceneError.
PlacementsPtr readPlacements(const GltfFile& file, const Json& node, LoadContext& context);

} // namespace host
