// A material in glTF's words, without a file around it. Any thread.
#pragma once

#include <memory>
#include <vector>

#include "gltf_json.h"
#include "node_state.h"

namespace host {

struct OneMaterialDeleter {
  void operator()(NodeState* node) const noexcept { destroyNode(node); }
};
using OneMaterial = std::unique_ptr<MaterialState, OneMaterialDeleter>;

/// The node of a glTF material whose texture references hold indices into `textures`, an array of glTF
/// textures whose sources are indices into `pictures`. Throws SceneError.
OneMaterial readOneMaterial(const Json& material, const Json& textures, const Json& samplers,
                            const std::vector<PicturePtr>& pictures);

} // namespace host
