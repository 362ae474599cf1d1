#include "gltf_material_writer.h"

#include <cmath>
#include <map>

#include "file_reference.h"
#include "gltf_derive.h"
#include "gltf_pictures.h"
#include "parameters.h"

namespace host {

namespace {

const NodeState* shaderOf(const MaterialState& material, int slot) {
  const Identity wanted = material.shaderSlots[static_cast<std::size_t>(slot)];
  for (const NodeState* shader = wanted ? material.shaders.first() : nullptr; shader; shader = shader->next)
    if (shader->identity == wanted) return shader;
  return nullptr;
}

bool isPlainBitmap(const NodeState& shader) {
  const auto& bitmap = static_cast<const ShaderState&>(shader);
  if (shader.type != Xbitmap || shader.bits != 0 || !bitmap.picture || shader.children.first()) return false;
  if (const PicturePtr& other = bitmap.picture->fallback; // loading the texture would show the other picture
      other && !isReadable(*bitmap.picture) && isReadable(*other))
    return false;
  return shader.name.GetUTF8() == bitmap.picture->name &&
         shader.data == bitmapParameters(textureInfoJson(shader), samplerJson(shader));
}

// Whether loading the texture references alone gives exactly this shader list.
bool isPlain(const MaterialState& material) {
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

void putStrengths(const MaterialState& material, const TextureSlot& place, Json& info) {
  const auto put = [&](const char* key, LONG id) {
    const GeData& value = material.data.GetData(id);
    if (value.GetType() == DA_REAL && std::isfinite(value.GetReal())) info[key] = value.GetReal();
  };
  if (place.slot == CHANNEL_NORMAL) put("scale", param::normalScale);
  if (place.slot == slotClearcoatNormal) put("scale", param::clearcoatNormalScale);
  if (place.slot == CHANNEL_DIFFUSION) put("strength", param::occlusionStrength);
}

} // namespace

void MaterialWriter::writeMaterials(const NodeList& materials) {
  for (const NodeState* node = materials.first(); node; node = node->next)
    writeMaterial(static_cast<const MaterialState&>(*node));
}

void MaterialWriter::writeMaterial(const MaterialState& material) {
  Json json = materialJson(material);
  Json extras = Json::object();
  putName(material, json, extras);
  const bool plain = isPlain(material);
  for (const TextureSlot& place : textureSlots()) {
    const NodeState* shader = shaderOf(material, place.slot);
    if (!shader || shader->type != Xbitmap || !static_cast<const ShaderState*>(shader)->picture) continue;
    if (param::flag(*shader, param::bitmapOff)) continue; // other programs show it off as well
    Json info = textureInfoJson(*shader);
    info["index"] = textureIndex(static_cast<const ShaderState&>(*shader));
    putStrengths(material, place, info);
    textureInfo(json, place) = std::move(info);
  }
  extras_.writeCommon(material, materialParameters(json), extras);
  if (!plain) writeShaders(material, extras);
  putExtras(material, std::move(extras), json);
  output_.append("materials", std::move(json));
}

void MaterialWriter::writeShaders(const MaterialState& material, Json& extras) {
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

Json MaterialWriter::shaderEntry(const ShaderState& shader) {
  Json to = extras_.entry(shader);
  if (shader.picture) to["image"] = pictureIndex(shader.picture);
  for (const NodeState* child = shader.children.first(); child; child = child->next)
    to["children"].push_back(shaderEntry(static_cast<const ShaderState&>(*child)));
  return to;
}

int MaterialWriter::pictureIndex(const PicturePtr& picture) {
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
    image["bufferView"] = output_.addView(*picture->bytes);
    if (!picture->uri.empty()) image["extras"]["lumenara"]["uri"] = textJson(picture->uri);
  } else {
    image["uri"] = isUtf8(picture->uri) ? picture->uri : "";
  }
  const int index = output_.append("images", std::move(image));
  pictures_.emplace(picture->id, index);
  if (picture->fallback) { // a texture names both, whatever shader shows the picture
    Json texture = Json::object();
    putSource(*picture, texture, index);
    output_.shared("textures", std::move(texture));
  }
  return index;
}

void MaterialWriter::putSource(const Picture& picture, Json& texture, int index) {
  const std::string type = picture.bytes ? mimeTypeOf(*picture.bytes) : picture.mimeType;
  if (!picture.fallback && type != webpType) {
    texture["source"] = index;
    return;
  }
  texture["extensions"]["EXT_texture_webp"]["source"] = index;
  if (picture.fallback) texture["source"] = pictureIndex(picture.fallback);
}

int MaterialWriter::textureIndex(const ShaderState& bitmap) {
  Json texture = Json::object();
  if (bitmap.picture) putSource(*bitmap.picture, texture, pictureIndex(bitmap.picture));
  if (Json sampler = samplerJson(bitmap); !sampler.is_null())
    texture["sampler"] = output_.shared("samplers", std::move(sampler));
  return output_.shared("textures", std::move(texture));
}

} // namespace host
