#include "gltf_material_reader.h"

#include "gltf_derive.h"
#include "gltf_pictures.h"

namespace host {

void MaterialReader::makeMaterials(NodeList& materials) {
  const Json& list = member(file_.root, "materials");
  for (std::size_t i = 0; i < countOf(list); ++i) {
    auto* material = static_cast<MaterialState*>(makeNode(NodeKind::material, Mmaterial));
    material->identity = extras_.materials()[i];
    material->name = String(textIn(list[i], "name"));
    material->data = materialParameters(list[i]);
    materials.append(*material);
  }
}

void MaterialReader::fillMaterials(NodeList& materials) {
  const Json& list = member(file_.root, "materials");
  NodeState* node = materials.first();
  for (std::size_t i = 0; node; ++i, node = node->next) {
    auto& material = static_cast<MaterialState&>(*node);
    keepForeign(list[i], material);
    if (ours(list[i]).is_object()) extras_.applyCommon(ours(list[i]), material);
    fillSlots(list[i], material);
  }
}

// Slots that the extras set win over glTF's own textures.
void MaterialReader::fillSlots(const Json& json, MaterialState& material) {
  addOwnShaders(ours(json), material);
  const Json& slots = member(ours(json), "slots");
  for (const TextureSlot& place : textureSlots()) {
    if (slots.is_object() && slots.contains(std::to_string(place.slot))) continue;
    const Json& info = textureInfo(json, place);
    if (!info.is_object()) continue;
    NodeState* bitmap = makeBitmap(info);
    if (!bitmap) continue;
    material.shaders.append(*bitmap);
    material.shaderSlots[static_cast<std::size_t>(place.slot)] = bitmap->identity;
  }
}

void MaterialReader::addOwnShaders(const Json& extras, MaterialState& material) {
  std::vector<NodeState*> own;
  const Json& shaders = member(extras, "shaders");
  for (std::size_t i = 0; i < countOf(shaders); ++i) {
    own.push_back(makeShader(shaders[i]));
    if (own.back()) material.shaders.append(*own.back());
  }
  const Json& slots = member(extras, "slots");
  for (int slot = 0; slot < slotCount; ++slot) {
    const std::string key = std::to_string(slot);
    if (!slots.is_object() || !slots.contains(key)) continue;
    const int shader = indexIn(slots, key.c_str(), own.size(), "shader");
    if (shader >= 0 && own[static_cast<std::size_t>(shader)])
      material.shaderSlots[static_cast<std::size_t>(slot)] = own[static_cast<std::size_t>(shader)]->identity;
  }
}

NodeState* MaterialReader::makeBitmap(const Json& textureInfo) {
  const Json& textures = member(file_.root, "textures");
  const int texture = indexIn(textureInfo, "index", countOf(textures), "texture");
  if (texture < 0) return nullptr;
  const Json& from = textures[static_cast<std::size_t>(texture)];
  const Json& samplers = member(file_.root, "samplers");
  const int sampler = indexIn(from, "sampler", countOf(samplers), "sampler");
  const int source = textureSource(file_, from);
  auto* bitmap = static_cast<ShaderState*>(makeNode(NodeKind::shader, Xbitmap));
  if (source >= 0) bitmap->picture = file_.images[static_cast<std::size_t>(source)];
  static const Json none;
  bitmap->data =
      bitmapParameters(textureInfo, sampler >= 0 ? samplers[static_cast<std::size_t>(sampler)] : none);
  if (bitmap->picture) bitmap->name = String(bitmap->picture->name);
  return bitmap;
}

NodeState* MaterialReader::makeShader(const Json& from, int depth) {
  if (!from.is_object() || depth > 64) return nullptr;
  NodePtr<ShaderState> shader(static_cast<ShaderState*>(extras_.makeEntry(NodeKind::shader, from)));
  if (!shader) return nullptr;
  const int image = indexIn(from, "image", file_.images.size(), "picture");
  if (image >= 0) shader->picture = file_.images[static_cast<std::size_t>(image)];
  const Json& children = member(from, "children");
  for (std::size_t i = 0; i < countOf(children); ++i)
    if (NodeState* child = makeShader(children[i], depth + 1)) shader->children.append(*child);
  return shader.release();
}

} // namespace host
