// Animations and skins of a glTF file.
#pragma once

#include <map>

#include "animation.h"
#include "deformation.h"
#include "gltf_file.h"

namespace host {

/// The tracks of each node; none for most.
std::map<int, Tracks> readTracks(const GltfFile& file, LoadContext& context);
/// A skin; `identities` has that of each node. Throws SceneError.
SkinPtr readSkin(const GltfFile& file, int index, const std::vector<Identity>& identities,
                 LoadContext& context);

} // namespace host
