// Node parameters from glTF's own properties and back. Saving writes the properties, reads them back and puts
// only the differences into extras.
#pragma once

#include "gltf_json.h"
#include "node_state.h"

namespace host {

BaseContainer cameraParameters(const Json& camera);
Json cameraJson(const NodeState& camera);

BaseContainer lightParameters(const Json& light);
Json lightJson(const NodeState& light);

BaseContainer materialParameters(const Json& material);
/// The properties of a material, without textures.
Json materialJson(const NodeState& material);

/// A document's variants from the file's root, and the root's KHR_materials_variants for them; a null value
/// without variants.
BaseContainer variantParameters(const Json& root);
Json variantsJson(const NodeState& document);

/// A bitmap's parameters from a texture reference and the texture's sampler.
BaseContainer bitmapParameters(const Json& textureInfo, const Json& sampler);
/// The texture reference without its index, and the sampler; a null value when all is default.
Json textureInfoJson(const NodeState& bitmap);
Json samplerJson(const NodeState& bitmap);

/// A slot with a texture in glTF, and its place in the material.
struct TextureSlot {
  int slot;
  const char* extension; // null: in the material; "" in pbrMetallicRoughness
  const char* name;
};
std::span<const TextureSlot> textureSlots();
/// The texture reference of a slot; a null value without one.
const Json& textureInfo(const Json& material, const TextureSlot& slot);
/// The place for the texture reference of a slot, which is made if needed.
Json& textureInfo(Json& material, const TextureSlot& slot);

} // namespace host
