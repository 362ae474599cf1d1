// What glTF's own words give as node parameters, and the words for a node's parameters. Loading reads with
// them; saving writes, reads back and puts into extras only what does not come back by itself.
#pragma once

#include "gltf_json.h"
#include "node_state.h"

namespace host {

BaseContainer cameraParameters(const Json& camera);
Json cameraJson(const NodeState& camera);

BaseContainer lightParameters(const Json& light);
Json lightJson(const NodeState& light);

BaseContainer materialParameters(const Json& material);
/// Without textures.
Json materialJson(const NodeState& material);

/// A bitmap's parameters from a texture reference and the texture's sampler.
BaseContainer bitmapParameters(const Json& textureInfo, const Json& sampler);
/// The reference, without its index, and the sampler (null for none).
Json textureInfoJson(const NodeState& bitmap);
Json samplerJson(const NodeState& bitmap);

/// The slots that have a texture of glTF's, and where in a material it stands.
struct TextureSlot {
  int slot;
  const char* extension; // null: in the material; "" in pbrMetallicRoughness
  const char* name;
};
std::span<const TextureSlot> textureSlots();
/// The texture reference of a slot; a null value when there is none.
const Json& textureInfo(const Json& material, const TextureSlot& slot);
/// The place for one.
Json& textureInfo(Json& material, const TextureSlot& slot);

} // namespace host
