#include "gltf_derive.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "light_source.h"
#include "parameters.h"

namespace host {

namespace {

using namespace param;

constexpr int nearestFilter = 9728, clampWrap = 33071, mirrorWrap = 33648, repeatWrap = 10497;

void setReal(BaseContainer& to, LONG id, const Json& from, const char* key) {
  if (const auto number = maybeNumber(from, key)) to.SetReal(id, *number);
}

void setVector(BaseContainer& to, LONG id, const Json& from, const char* key) {
  if (const auto vector = maybeVector(from, key)) to.SetVector(id, *vector);
}

bool isFinite(const Vector& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

Json vectorJson(const Vector& v) {
  return isFinite(v) ? Json::array({v.x, v.y, v.z}) : Json::array({0.0, 0.0, 0.0});
}

// A number of a node in `to`, when it is one that JSON can hold and the container has it.
void putReal(Json& to, const char* key, const NodeState& node, LONG id) {
  const GeData& value = node.data.GetData(id);
  if (value.GetType() != DA_NIL && std::isfinite(value.GetReal())) to[key] = value.GetReal();
}

bool has(const NodeState& node, LONG id) {
  return node.data.GetType(id) != DA_NIL;
}

} // namespace

// --- cameras ---

BaseContainer cameraParameters(const Json& camera) {
  BaseContainer to;
  const bool orthographic = textIn(camera, "type") == "orthographic";
  const Json& from = member(camera, orthographic ? "orthographic" : "perspective");
  to.SetLong(cameraProjection, orthographic ? 1 : 0);
  setReal(to, cameraYfov, from, "yfov");
  setReal(to, cameraYmag, from, "ymag");
  setReal(to, cameraXmag, from, "xmag");
  setReal(to, cameraAspect, from, "aspectRatio");
  setReal(to, cameraNear, from, "znear");
  setReal(to, cameraFar, from, "zfar");
  return to;
}

Json cameraJson(const NodeState& camera) {
  const bool orthographic = integer(camera, cameraProjection) == 1;
  Json part = Json::object();
  if (orthographic) {
    part["xmag"] = 1.0, part["ymag"] = 1.0, part["znear"] = 0.01,
    part["zfar"] = 1000.0; // the standard wants them
    putReal(part, "xmag", camera, cameraXmag);
    putReal(part, "ymag", camera, cameraYmag);
  } else {
    part["yfov"] = 0.8, part["znear"] = 0.01;
    putReal(part, "yfov", camera, cameraYfov);
    putReal(part, "aspectRatio", camera, cameraAspect);
    if (real(camera, cameraAspect) <= 0) part.erase("aspectRatio");
  }
  putReal(part, "znear", camera, cameraNear);
  if (real(camera, cameraFar) > 0) putReal(part, "zfar", camera, cameraFar);
  const char* type = orthographic ? "orthographic" : "perspective";
  return Json{{"type", type}, {type, std::move(part)}};
}

// --- lights ---

BaseContainer lightParameters(const Json& light) {
  BaseContainer to;
  const std::string type = textIn(light, "type");
  to.SetLong(lightKind, type == "spot" ? 1 : type == "directional" ? 2 : 0);
  setVector(to, lightColor, light, "color");
  setReal(to, lightIntensity, light, "intensity");
  setReal(to, lightRange, light, "range");
  const Json& spot = member(light, "spot");
  setReal(to, lightInnerCone, spot, "innerConeAngle");
  setReal(to, lightOuterCone, spot, "outerConeAngle");
  return to;
}

Json lightJson(const NodeState& light) {
  // Rectangles and discs are spots of a half space for other programs.
  static constexpr std::array names{"point", "spot", "directional", "spot", "spot"};
  constexpr double rightAngle = 1.57079632679489662;
  const LONG kind = integer(light, lightKind);
  Json to{{"type", names[kind >= 0 && kind < LONG(names.size()) ? static_cast<std::size_t>(kind) : 0]}};
  // Other programs know no temperature: they get the colour that it makes. Theirs lies within 0 and 1.
  Real strength = 1;
  if (real(light, lightTemperature) > 0) {
    const Vector shown = lightColorOf(light);
    strength = std::max({shown.x, shown.y, shown.z, 1.0});
    // Divided, so that the largest part is exactly 1.
    to["color"] = vectorJson({shown.x / strength, shown.y / strength, shown.z / strength});
  } else if (has(light, lightColor)) {
    to["color"] = vectorJson(vector(light, lightColor));
  }
  putReal(to, "intensity", light, lightIntensity);
  if (strength > 1 && std::isfinite(strength * real(light, lightIntensity)))
    to["intensity"] = strength * real(light, lightIntensity);
  if (real(light, lightRange) > 0) putReal(to, "range", light, lightRange);
  if (kind >= 3) to["spot"] = Json{{"innerConeAngle", 0.0}, {"outerConeAngle", rightAngle}};
  if (kind == 1) {
    Json spot = Json::object();
    putReal(spot, "innerConeAngle", light, lightInnerCone);
    putReal(spot, "outerConeAngle", light, lightOuterCone);
    to["spot"] = std::move(spot);
  }
  return to;
}

// --- materials ---

namespace {

// Sheen, anisotropy, iridescence and the coat's normal map.
void setFinish(BaseContainer& to, const Json& material) {
  const Json& coat = extension(material, "KHR_materials_clearcoat");
  setReal(to, clearcoatNormalScale, member(coat, "clearcoatNormalTexture"), "scale");
  const Json& sheen = extension(material, "KHR_materials_sheen");
  setVector(to, sheenColor, sheen, "sheenColorFactor");
  setReal(to, sheenRoughness, sheen, "sheenRoughnessFactor");
  const Json& brushed = extension(material, "KHR_materials_anisotropy");
  setReal(to, anisotropy, brushed, "anisotropyStrength");
  setReal(to, anisotropyRotation, brushed, "anisotropyRotation");
  const Json& film = extension(material, "KHR_materials_iridescence");
  setReal(to, iridescence, film, "iridescenceFactor");
  setReal(to, iridescenceIor, film, "iridescenceIor");
  setReal(to, filmThin, film, "iridescenceThicknessMinimum");
  setReal(to, filmThick, film, "iridescenceThicknessMaximum");
}

// Light that passes through the material.
void setBody(BaseContainer& to, const Json& material) {
  const Json& volume = extension(material, "KHR_materials_volume");
  setReal(to, thickness, volume, "thicknessFactor");
  setVector(to, attenuationColor, volume, "attenuationColor");
  setReal(to, attenuationDistance, volume, "attenuationDistance");
  setReal(to, dispersion, extension(material, "KHR_materials_dispersion"), "dispersion");
  const Json& through = extension(material, "KHR_materials_diffuse_transmission");
  setReal(to, diffuseTransmission, through, "diffuseTransmissionFactor");
  setVector(to, diffuseTransmissionColor, through, "diffuseTransmissionColorFactor");
}

} // namespace

BaseContainer materialParameters(const Json& material) {
  BaseContainer to;
  const Json& pbr = member(material, "pbrMetallicRoughness");
  const Json& factor = member(pbr, "baseColorFactor");
  to.SetVector(baseColor, maybeVector(pbr, "baseColorFactor").value_or(Vector(1, 1, 1)));
  to.SetReal(baseAlpha, element(factor, 3).is_number() ? element(factor, 3).get<double>() : 1);
  to.SetReal(metallic, numberIn(pbr, "metallicFactor", 1));
  to.SetReal(roughness, numberIn(pbr, "roughnessFactor", 1));
  setReal(to, occlusionStrength, member(material, "occlusionTexture"), "strength");
  setVector(to, emission, material, "emissiveFactor");
  setReal(to, emissionStrength, extension(material, "KHR_materials_emissive_strength"), "emissiveStrength");
  setReal(to, normalScale, member(material, "normalTexture"), "scale");
  const std::string mode = textIn(material, "alphaMode");
  if (!mode.empty()) to.SetLong(alphaMode, mode == "MASK" ? 1 : mode == "BLEND" ? 2 : 0);
  setReal(to, alphaCutoff, material, "alphaCutoff");
  setReal(to, transmission, extension(material, "KHR_materials_transmission"), "transmissionFactor");
  setReal(to, ior, extension(material, "KHR_materials_ior"), "ior");
  setReal(to, specular, extension(material, "KHR_materials_specular"), "specularFactor");
  setVector(to, specularColor, extension(material, "KHR_materials_specular"), "specularColorFactor");
  setReal(to, clearcoat, extension(material, "KHR_materials_clearcoat"), "clearcoatFactor");
  setReal(to, clearcoatRoughness, extension(material, "KHR_materials_clearcoat"), "clearcoatRoughnessFactor");
  setFinish(to, material);
  setBody(to, material);
  to.SetBool(doubleSided, flagIn(material, "doubleSided") ? TRUE : FALSE);
  if (extension(material, "KHR_materials_unlit").is_object()) to.SetBool(unlit, TRUE);
  return to;
}

namespace {

void putExtension(Json& material, const char* name, const NodeState& node,
                  std::initializer_list<std::pair<const char*, LONG>> numbers) {
  Json part = Json::object();
  for (const auto& [key, id] : numbers)
    putReal(part, key, node, id);
  if (!part.empty()) material["extensions"][name] = std::move(part);
}

void putExtensionColor(Json& material, const char* name, const char* key, const NodeState& node, LONG id) {
  if (has(node, id)) material["extensions"][name][key] = vectorJson(vector(node, id));
}

void putFinish(Json& to, const NodeState& m) {
  putExtension(to, "KHR_materials_sheen", m, {{"sheenRoughnessFactor", sheenRoughness}});
  putExtensionColor(to, "KHR_materials_sheen", "sheenColorFactor", m, sheenColor);
  putExtension(to, "KHR_materials_anisotropy", m,
               {{"anisotropyStrength", anisotropy}, {"anisotropyRotation", anisotropyRotation}});
  putExtension(to, "KHR_materials_iridescence", m,
               {{"iridescenceFactor", iridescence},
                {"iridescenceIor", iridescenceIor},
                {"iridescenceThicknessMinimum", filmThin},
                {"iridescenceThicknessMaximum", filmThick}});
}

void putBody(Json& to, const NodeState& m) {
  putExtension(to, "KHR_materials_volume", m, {{"thicknessFactor", thickness}});
  putExtensionColor(to, "KHR_materials_volume", "attenuationColor", m, attenuationColor);
  if (real(m, attenuationDistance) > 0) // the standard wants it above 0, or none
    putReal(to["extensions"]["KHR_materials_volume"], "attenuationDistance", m, attenuationDistance);
  putExtension(to, "KHR_materials_dispersion", m, {{"dispersion", dispersion}});
  putExtension(to, "KHR_materials_diffuse_transmission", m,
               {{"diffuseTransmissionFactor", diffuseTransmission}});
  putExtensionColor(to, "KHR_materials_diffuse_transmission", "diffuseTransmissionColorFactor", m,
                    diffuseTransmissionColor);
}

} // namespace

Json materialJson(const NodeState& m) {
  Json to = Json::object();
  const Vector color = vector(m, baseColor);
  Json& pbr = to["pbrMetallicRoughness"];
  const Real alpha = real(m, baseAlpha);
  if (isFinite(color) && std::isfinite(alpha)) pbr["baseColorFactor"] = {color.x, color.y, color.z, alpha};
  pbr["metallicFactor"] = std::isfinite(real(m, metallic)) ? real(m, metallic) : 0;
  pbr["roughnessFactor"] = std::isfinite(real(m, roughness)) ? real(m, roughness) : 1;
  if (has(m, emission)) to["emissiveFactor"] = vectorJson(vector(m, emission));
  if (has(m, alphaMode)) {
    const LONG mode = integer(m, alphaMode);
    to["alphaMode"] = mode == 1 ? "MASK" : mode == 2 ? "BLEND" : "OPAQUE";
  }
  putReal(to, "alphaCutoff", m, alphaCutoff);
  to["doubleSided"] = flag(m, doubleSided);
  putExtension(to, "KHR_materials_emissive_strength", m, {{"emissiveStrength", emissionStrength}});
  putExtension(to, "KHR_materials_transmission", m, {{"transmissionFactor", transmission}});
  putExtension(to, "KHR_materials_ior", m, {{"ior", ior}});
  putExtension(to, "KHR_materials_specular", m, {{"specularFactor", specular}});
  putExtensionColor(to, "KHR_materials_specular", "specularColorFactor", m, specularColor);
  putExtension(to, "KHR_materials_clearcoat", m,
               {{"clearcoatFactor", clearcoat}, {"clearcoatRoughnessFactor", clearcoatRoughness}});
  putFinish(to, m);
  putBody(to, m);
  if (flag(m, unlit)) to["extensions"]["KHR_materials_unlit"] = Json::object();
  return to;
}

// --- variants ---

BaseContainer variantParameters(const Json& root) {
  BaseContainer to, names;
  const Json& variants = member(extension(root, "KHR_materials_variants"), "variants");
  for (std::size_t i = 0; i < countOf(variants); ++i)
    names.SetString(static_cast<LONG>(i), String(textIn(variants[i], "name")));
  if (names.GetCount() > 0) to.SetContainer(documentVariants, names);
  return to;
}

Json variantsJson(const NodeState& document) {
  const BaseContainer names = document.data.GetContainer(documentVariants);
  Json variants = Json::array();
  for (LONG i = 0; names.GetType(i) == DA_STRING; ++i) {
    const std::string name = names.GetString(i).GetUTF8();
    variants.push_back(Json{{"name", isUtf8(name) ? name : std::string()}});
  }
  return variants.empty() ? Json() : Json{{"variants", std::move(variants)}};
}

// --- textures ---

namespace {

LONG wrapFrom(const Json& sampler, const char* key) {
  const double wrap = numberIn(sampler, key, repeatWrap);
  return wrap == mirrorWrap ? 1 : wrap == clampWrap ? 2 : 0;
}

int wrapCode(LONG wrap) {
  return wrap == 1 ? mirrorWrap : wrap == 2 ? clampWrap : repeatWrap;
}

std::optional<Vector> pairIn(const Json& from, const char* key, double z) {
  const Json& value = member(from, key);
  if (countOf(value) != 2 || !value[0].is_number() || !value[1].is_number()) return std::nullopt;
  const Vector v(value[0].get<double>(), value[1].get<double>(), z);
  return isFinite(v) ? std::optional(v) : std::nullopt;
}

} // namespace

BaseContainer bitmapParameters(const Json& info, const Json& sampler) {
  BaseContainer to;
  const Json& transform = extension(info, "KHR_texture_transform");
  const double set = numberIn(transform, "texCoord", numberIn(info, "texCoord"));
  if (set == 1) to.SetLong(bitmapUvSet, 1);
  if (const auto offset = pairIn(transform, "offset", 0)) to.SetVector(bitmapOffset, *offset);
  if (const auto scale = pairIn(transform, "scale", 1)) to.SetVector(bitmapScale, *scale);
  setReal(to, bitmapRotation, transform, "rotation");
  if (const LONG wrap = wrapFrom(sampler, "wrapS"); wrap != 0) to.SetLong(bitmapWrapU, wrap);
  if (const LONG wrap = wrapFrom(sampler, "wrapT"); wrap != 0) to.SetLong(bitmapWrapV, wrap);
  if (numberIn(sampler, "magFilter") == nearestFilter) to.SetBool(bitmapNearest, TRUE);
  return to;
}

Json textureInfoJson(const NodeState& bitmap) {
  Json to = Json::object();
  if (integer(bitmap, bitmapUvSet) == 1) to["texCoord"] = 1;
  Json transform = Json::object();
  const Vector offset = vector(bitmap, bitmapOffset), scale = vector(bitmap, bitmapScale);
  if (has(bitmap, bitmapOffset) && isFinite(offset)) transform["offset"] = {offset.x, offset.y};
  if (has(bitmap, bitmapScale) && isFinite(scale)) transform["scale"] = {scale.x, scale.y};
  putReal(transform, "rotation", bitmap, bitmapRotation);
  if (!transform.empty()) to["extensions"]["KHR_texture_transform"] = std::move(transform);
  return to;
}

Json samplerJson(const NodeState& bitmap) {
  const LONG u = integer(bitmap, bitmapWrapU), v = integer(bitmap, bitmapWrapV);
  const bool nearest = flag(bitmap, bitmapNearest);
  if (u == 0 && v == 0 && !nearest) return nullptr;
  Json to{{"wrapS", wrapCode(u)}, {"wrapT", wrapCode(v)}};
  if (nearest) to["magFilter"] = nearestFilter;
  return to;
}

std::span<const TextureSlot> textureSlots() {
  static constexpr std::array slots{
      TextureSlot{CHANNEL_COLOR, "", "baseColorTexture"},
      TextureSlot{CHANNEL_LUMINANCE, nullptr, "emissiveTexture"},
      TextureSlot{CHANNEL_TRANSPARENCY, "KHR_materials_transmission", "transmissionTexture"},
      TextureSlot{CHANNEL_REFLECTION, "", "metallicRoughnessTexture"},
      TextureSlot{CHANNEL_SPECULARCOLOR, "KHR_materials_specular", "specularColorTexture"},
      TextureSlot{CHANNEL_DIFFUSION, nullptr, "occlusionTexture"},
      TextureSlot{CHANNEL_NORMAL, nullptr, "normalTexture"},
      TextureSlot{slotSpecular, "KHR_materials_specular", "specularTexture"},
      TextureSlot{slotClearcoat, "KHR_materials_clearcoat", "clearcoatTexture"},
      TextureSlot{slotClearcoatRoughness, "KHR_materials_clearcoat", "clearcoatRoughnessTexture"},
      TextureSlot{slotClearcoatNormal, "KHR_materials_clearcoat", "clearcoatNormalTexture"},
      TextureSlot{slotThickness, "KHR_materials_volume", "thicknessTexture"},
      TextureSlot{slotSheenColor, "KHR_materials_sheen", "sheenColorTexture"},
      TextureSlot{slotSheenRoughness, "KHR_materials_sheen", "sheenRoughnessTexture"},
      TextureSlot{slotAnisotropy, "KHR_materials_anisotropy", "anisotropyTexture"},
      TextureSlot{slotIridescence, "KHR_materials_iridescence", "iridescenceTexture"},
      TextureSlot{slotFilm, "KHR_materials_iridescence", "iridescenceThicknessTexture"},
      TextureSlot{slotDiffuseTransmission, "KHR_materials_diffuse_transmission",
                  "diffuseTransmissionTexture"},
      TextureSlot{slotDiffuseTransmissionColor, "KHR_materials_diffuse_transmission",
                  "diffuseTransmissionColorTexture"},
  };
  return slots;
}

const Json& textureInfo(const Json& material, const TextureSlot& slot) {
  if (!slot.extension) return member(material, slot.name);
  return member(*slot.extension ? extension(material, slot.extension)
                                : member(material, "pbrMetallicRoughness"),
                slot.name);
}

Json& textureInfo(Json& material, const TextureSlot& slot) {
  if (!slot.extension) return material[slot.name];
  return (*slot.extension ? material["extensions"][slot.extension]
                          : material["pbrMetallicRoughness"])[slot.name];
}

} // namespace host
