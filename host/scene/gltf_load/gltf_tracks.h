// Animations and skins of a glTF file.
#pragma once

#include <map>

#include "animation.h"
#include "deformation.h"
#include "gltf_file.h"

namespace host {

/// Tracks by node; nodes without tracks have no entry.
std::map<int, Tracks> readTracks(const GltfFile& file, LoadContext& context);
/// A skin; `identities` are those of the nodes. Throws SceneError.
SkinPtr readSkin(const GltfFile& file, int index, const std::vector<Identity>& identities,
                 LoadContext& context);

} // namespace host
