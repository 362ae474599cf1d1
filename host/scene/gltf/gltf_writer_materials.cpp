// The writer's pictures, textures and materials, and what every node of ours carries.
#include <cmath>
#include <map>

#include "file_reference.h"
#include "gltf_writer.h"
#include "parameters.h"

namespace host {

int GltfWriter::pictureIndex(const PicturePtr& picture) {
  const auto known = pictures_.find(picture->id);
  if (known != pictures_.end()) return known->second;
  Json image = Json::object();
  if (isUtf8(picture->name)) image["name"] = picture->name;
  if (!picture->mimeType.empty()) image["mimeType"] = picture->mimeType;
  const std::optional<std::string> outside =
      !picture->bytes || !packed_ ? outsideReference(*picture, folder_) : std::nullopt;
  if (outside) {
    image["uri"] = *outside;
  } else if (picture->bytes) {
    image["bufferView"] = addView(*picture->bytes);
    if (!picture->uri.empty()) image["extras"]["lumenara"]["uri"] = textJson(picture->uri);
  } else {
    image["uri"] = isUtf8(picture->uri) ? picture->uri : "";
  }
  const int index = append("images", std::move(image));
  pictures_.emplace(picture->id, index);
  return index;
}

int GltfWriter::textureIndex(const ShaderState& bitmap) {
  Json texture = Json::object();
  if (bitmap.picture) texture["source"] = pictureIndex(bitmap.picture);
  if (Json sampler = samplerJson(bitmap); !sampler.is_null())
    texture["sampler"] = shared("samplers", std::move(sampler));
  return shared("textures", std::move(texture));
}

// The same value stands in a list once.
int GltfWriter::shared(const char* list, Json value) {
  const std::string key = list + value.dump();
  const auto known = shared_.find(key);
  if (known != shared_.end()) return known->second;
  const int index = append(list, std::move(value));
  shared_.emplace(key, index);
  return index;
}

// What every node of ours carries, against what the file's own words give.
void GltfWriter::writeCommon(const NodeState& node, const BaseContainer& derived, Json& to) {
  if (node.bits != 0) to["bits"] = node.bits;
  writeDifference(derived, node.data, links(), to);
}

Json GltfWriter::entry(const NodeState& node, bool withType) {
  Json to = Json::object();
  if (withType) to["type"] = node.type;
  if (!node.name.GetUTF8().empty()) to["name"] = textJson(node.name.GetUTF8());
  writeCommon(node, BaseContainer(), to);
  to["ref"] = refPlaceholder(node.identity);
  return to;
}

// Only a node that something links to keeps its reference: see `dropRefs`.
std::string GltfWriter::refPlaceholder(Identity identity) {
  return "#" + std::to_string(identity);
}

Json GltfWriter::shaderEntry(const ShaderState& shader) {
  Json to = entry(shader);
  if (shader.picture) to["image"] = pictureIndex(shader.picture);
  for (const NodeState* child = shader.children.first(); child; child = child->next)
    to["children"].push_back(shaderEntry(static_cast<const ShaderState&>(*child)));
  return to;
}

const NodeState* GltfWriter::shaderOf(const MaterialState& material, int slot) {
  const Identity wanted = material.shaderSlots[static_cast<std::size_t>(slot)];
  for (const NodeState* shader = wanted ? material.shaders.first() : nullptr; shader; shader = shader->next)
    if (shader->identity == wanted) return shader;
  return nullptr;
}

// Whether loading the texture references alone gives exactly this shader list.
bool GltfWriter::isPlain(const MaterialState& material) {
  const NodeState* shader = material.shaders.first();
  for (const TextureSlot& place : textureSlots()) {
    const NodeState* in = shaderOf(material, place.slot);
    if (!in) continue;
    if (in != shader || !isPlainBitmap(*in)) return false;
    shader = shader->next;
  }
  for (const int slot : {CHANNEL_ENVIRONMENT, CHANNEL_BUMP, CHANNEL_ALPHA, CHANNEL_DISPLACEMENT})
    if (shaderOf(material, slot)) return false;
  return shader == nullptr;
}

bool GltfWriter::isPlainBitmap(const NodeState& shader) {
  const auto& bitmap = static_cast<const ShaderState&>(shader);
  if (shader.type != Xbitmap || shader.bits != 0 || !bitmap.picture || shader.children.first()) return false;
  return shader.name.GetUTF8() == bitmap.picture->name &&
         shader.data == bitmapParameters(textureInfoJson(shader), samplerJson(shader));
}

void GltfWriter::writeMaterials() {
  for (const NodeState* node = document_.materials.first(); node; node = node->next) {
    const auto& material = static_cast<const MaterialState&>(*node);
    Json json = materialJson(material);
    Json extras = Json::object();
    putName(material, json, extras);
    const bool plain = isPlain(material);
    for (const TextureSlot& place : textureSlots()) {
      const NodeState* shader = shaderOf(material, place.slot);
      if (!shader || shader->type != Xbitmap || !static_cast<const ShaderState*>(shader)->picture) continue;
      Json info = textureInfoJson(*shader);
      info["index"] = textureIndex(static_cast<const ShaderState&>(*shader));
      putStrengths(material, place, info);
      textureInfo(json, place) = std::move(info);
    }
    writeCommon(material, materialParameters(json), extras);
    if (!plain) writeShaders(material, extras);
    putExtras(material, std::move(extras), json);
    append("materials", std::move(json));
  }
}

void GltfWriter::putStrengths(const MaterialState& material, const TextureSlot& place, Json& info) {
  const auto put = [&](const char* key, LONG id) {
    const GeData& value = material.data.GetData(id);
    if (value.GetType() == DA_REAL && std::isfinite(value.GetReal())) info[key] = value.GetReal();
  };
  if (place.slot == CHANNEL_NORMAL) put("scale", param::normalScale);
  if (place.slot == CHANNEL_DIFFUSION) put("strength", param::occlusionStrength);
}

void GltfWriter::writeShaders(const MaterialState& material, Json& extras) {
  std::map<Identity, int> indices;
  extras["shaders"] = Json::array();
  for (const NodeState* shader = material.shaders.first(); shader; shader = shader->next) {
    indices.emplace(shader->identity, static_cast<int>(indices.size()));
    extras["shaders"].push_back(shaderEntry(static_cast<const ShaderState&>(*shader)));
  }
  Json& slots = extras["slots"];
  for (int slot = 0; slot < slotCount; ++slot)
    if (const NodeState* shader = shaderOf(material, slot))
      slots[std::to_string(slot)] = indices[shader->identity];
  if (slots.is_null()) slots = Json::object();
}

void GltfWriter::putName(const NodeState& node, Json& json, Json& extras) {
  const std::string& name = node.name.GetUTF8();
  if (!name.empty() && isUtf8(name))
    json["name"] = name;
  else if (!name.empty() || node.kind == NodeKind::object)
    extras["name"] = textJson(name);
}

void GltfWriter::putExtras(const NodeState& node, Json extras, Json& json) {
  if (node.foreignExtras) json["extras"] = parseJson(*node.foreignExtras);
  if (extras.empty()) return;
  if (!json["extras"].is_object()) json["extras"] = Json::object();
  json["extras"]["lumenara"] = std::move(extras);
}

} // namespace host
