#include "gltf_specular_glossiness.h"

#include "gltf_derive.h"
#include "gltf_pictures.h"
#include "gltf_values.h"
#include "node_state.h"
#include "parameters.h"

namespace host {

namespace {

constexpr const char* extensionName = "KHR_materials_pbrSpecularGlossiness";

void copy(const Json& from, const char* key, Json& to, const char* newKey) {
  if (const Json& value = member(from, key); !value.is_null()) to[newKey] = value;
}

// The part of an object with this key, of the wanted type.
Json& partOf(Json& object, const char* key, Json::value_t type) {
  Json& part = object[key];
  if (part.type() != type) part = Json(type);
  return part;
}

// A layer of the picture, black and as opaque as it is glossy, on white.
Json roughnessLayer(const GltfFile& file, const Json& textureInfo, int source, double glossiness) {
  const Json& texture = element(member(file.root, "textures"), sizeIn(textureInfo, "index"));
  const Json& samplers = member(file.root, "samplers");
  const int sampler = indexIn(texture, "sampler", countOf(samplers), "sampler");
  BaseContainer bitmap = bitmapParameters(textureInfo, element(samplers, static_cast<std::size_t>(sampler)));
  bitmap.SetVector(param::bitmapFactor, Vector());
  bitmap.SetReal(param::bitmapAlpha, glossiness);
  Json picture{{"type", Xbitmap}, {"image", source}};
  picture["container"] = containerToJson(bitmap, [](Identity) { return Json(); });
  return Json{{"type", Xlayer}, {"children", Json::array({Json{{"type", Xcolor}}, std::move(picture)})}};
}

// Whether the material got a layer for its roughness.
bool addRoughness(const GltfFile& file, const Json& textureInfo, double glossiness, Json& material) {
  const Json& textures = member(file.root, "textures");
  const int texture = indexIn(textureInfo, "index", countOf(textures), "texture");
  const int source = texture < 0 ? -1 : textureSource(file, textures[static_cast<std::size_t>(texture)]);
  if (source < 0) return false;
  Json& extras = partOf(partOf(material, "extras", Json::value_t::object), "lumenara", Json::value_t::object);
  const std::string slot = std::to_string(CHANNEL_REFLECTION);
  if (partOf(extras, "slots", Json::value_t::object).contains(slot)) return true;
  Json& shaders = partOf(extras, "shaders", Json::value_t::array);
  const std::size_t place = shaders.size();
  shaders.push_back(roughnessLayer(file, textureInfo, source, glossiness));
  extras["slots"][slot] = place;
  return true;
}

void convert(const GltfFile& file, Json& material) {
  const Json from = extension(material, extensionName);
  Json specular = Json::object(), pbr{{"metallicFactor", 0.0}};
  copy(from, "specularFactor", specular, "specularColorFactor");
  copy(from, "specularGlossinessTexture", specular, "specularColorTexture");
  copy(from, "diffuseFactor", pbr, "baseColorFactor");
  copy(from, "diffuseTexture", pbr, "baseColorTexture");
  const double glossiness = numberIn(from, "glossinessFactor", 1);
  const Json& texture = member(from, "specularGlossinessTexture");
  const bool layered = texture.is_object() && addRoughness(file, texture, glossiness, material);
  pbr["roughnessFactor"] = layered ? 1 : 1 - glossiness;
  material["pbrMetallicRoughness"] = std::move(pbr);
  Json& extensions = material["extensions"];
  extensions.erase(extensionName);
  extensions["KHR_materials_specular"] = std::move(specular);
  extensions["KHR_materials_ior"] = Json{{"ior", 0.0}};
}

} // namespace

void convertSpecularGlossiness(GltfFile& file) {
  if (countOf(member(file.root, "materials")) == 0) return;
  Json& materials = file.root["materials"];
  for (std::size_t i = 0; i < countOf(materials); ++i) {
    if (!extension(materials[i], extensionName).is_object()) continue;
    if (!extension(materials[i], "KHR_materials_unlit").is_object()) convert(file, materials[i]);
  }
}

} // namespace host
