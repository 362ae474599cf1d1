// Animations and skins of a glTF file.
#pragma once

#include <map>

#include "animation.h"
#include "deformation.h"
#include "gltf_file.h"

namespace host {

/// Tracks by the index of what they set; a list has no entry for what does not move.
struct FileTracks {
  std::map<int, Tracks> nodes, lights, cameras;
};
/// Channels that set nodes, and those of KHR_animation_pointer. A pointer to something that is not in the
/// file or does not move here is left out with a warning. Throws SceneError for a wrong node or sampler.
FileTracks readTracks(const GltfFile& file, LoadContext& context);
/// A skin; `identities` are those of the nodes. Throws SceneError.
SkinPtr readSkin(const GltfFile& file, int index, const std::vector<Identity>& identities,
                 LoadContext& context);

} // namespace host
