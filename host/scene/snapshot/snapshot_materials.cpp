#include "snapshot_materials.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "parameters.h"

namespace host {

namespace {

float number(const NodeState& node, LONG id) {
  const Real value = param::real(node, id);
  return std::isfinite(value) ? static_cast<float>(std::clamp(value, -1e30, 1e30)) : 0.0F;
}

float unitNumber(const NodeState& node, LONG id) {
  return std::clamp(number(node, id), 0.0F, 1.0F);
}

// An index of refraction of 0 stands for an infinite one (KHR_materials_ior).
constexpr float endlessIor = 1e6F;

Float3 color(const Vector& v, Real factor = 1) {
  const auto part = [factor](Real value) {
    value *= factor;
    return std::isfinite(value) ? static_cast<float>(std::clamp(value, 0.0, 1e30)) : 0.0F;
  };
  return {part(v.x), part(v.y), part(v.z)};
}

Float3 unitColor(const Vector& v) {
  const Float3 c = color(v);
  return {std::min(c[0], 1.0F), std::min(c[1], 1.0F), std::min(c[2], 1.0F)};
}

Wrap wrapOf(LONG value) {
  return value == 1 ? Wrap::mirror : value == 2 ? Wrap::clamp : Wrap::repeat;
}

TextureColors colorsOf(LONG value) {
  return value == 1 ? TextureColors::colors : value == 2 ? TextureColors::data : TextureColors::byRule;
}

// The colour of a texture without effect in a slot: no bend, no direction of its own, else a factor of 1.
Float4 neutralIn(int slot) {
  if (slot == CHANNEL_NORMAL || slot == slotClearcoatNormal) return {0.5F, 0.5F, 1, 1};
  return slot == slotAnisotropy ? Float4{1, 0.5F, 1, 1} : Float4{1, 1, 1, 1};
}

class ShadeBuilder {
 public:
  ShadeBuilder(bool textures, std::vector<std::string>& missing) : textures_(textures), missing_(missing) {}

  // Null when the shader contributes nothing. A weak bitmap at the top is mixed with `neutral`.
  ShadePtr build(const ShaderState& shader, const Float4& neutral, int depth = 0) const {
    if (depth > 64) return nullptr;
    auto shade = std::make_shared<Shade>();
    shade->mix = static_cast<ShadeMix>(std::clamp<LONG>(param::integer(shader, param::shaderMix), 0, 3));
    shade->amount = unitNumber(shader, param::shaderAmount);
    switch (shader.type) {
    case Xcolor:
      fillColor(shader, *shade);
      break;
    case Xbitmap:
      return fillBitmap(shader, neutral, *shade) ? shade : nullptr;
    case Xambientocclusion:
      fillOcclusion(shader, *shade);
      break;
    case Xfusion:
    case Xlayer:
      return fillChildren(shader, *shade, depth) ? shade : nullptr;
    default:
      return nullptr;
    }
    return shade;
  }

 private:
  static void fillColor(const ShaderState& shader, Shade& shade) {
    const Float3 c = color(param::vector(shader, param::colorValue));
    shade.kind = ShadeKind::color;
    shade.color = {c[0], c[1], c[2], unitNumber(shader, param::colorAlpha)};
  }

  bool fillBitmap(const ShaderState& shader, const Float4& neutral, Shade& shade) const {
    if (!shader.picture || param::flag(shader, param::bitmapOff)) return false;
    fillFactor(shader, neutral, shade);
    if (textures_ && !shader.picture->bytes) {
      missing_.push_back(shader.picture->name);
      return false;
    }
    if (!textures_) {
      shade.kind = ShadeKind::color;
      for (std::size_t i = 0; i < 4; ++i)
        shade.color[i] += std::exchange(shade.bias[i], 0.0F);
      return true;
    }
    shade.kind = ShadeKind::bitmap;
    TextureUse& use = shade.texture;
    use.picture = shader.picture;
    use.uvSet = param::integer(shader, param::bitmapUvSet) == 1 ? 1 : 0;
    const Vector offset = param::vector(shader, param::bitmapOffset);
    const Vector scale = param::vector(shader, param::bitmapScale);
    use.offset = {finite(offset.x), finite(offset.y)};
    use.scale = {finite(scale.x), finite(scale.y)};
    use.rotation = number(shader, param::bitmapRotation);
    use.wrapU = wrapOf(param::integer(shader, param::bitmapWrapU));
    use.wrapV = wrapOf(param::integer(shader, param::bitmapWrapV));
    use.nearest = param::flag(shader, param::bitmapNearest);
    use.colors = colorsOf(param::integer(shader, param::bitmapColors));
    return true;
  }

  static void fillFactor(const ShaderState& shader, const Float4& neutral, Shade& shade) {
    const Float3 c = color(param::vector(shader, param::bitmapFactor));
    shade.color = {c[0], c[1], c[2], unitNumber(shader, param::bitmapAlpha)};
    const float strength = unitNumber(shader, param::bitmapStrength);
    if (strength >= 1) return;
    for (std::size_t i = 0; i < 4; ++i) {
      shade.color[i] *= strength;
      shade.bias[i] = neutral[i] * (1 - strength);
    }
  }

  static void fillOcclusion(const ShaderState& shader, Shade& shade) {
    shade.kind = ShadeKind::ambientOcclusion;
    shade.aoDistance = std::max(number(shader, param::aoDistance), 0.0F);
    shade.aoDark = color(param::vector(shader, param::aoDark));
    shade.aoBright = color(param::vector(shader, param::aoBright));
  }

  bool fillChildren(const ShaderState& shader, Shade& shade, int depth) const {
    shade.kind = shader.type == Xfusion ? ShadeKind::fusion : ShadeKind::layer;
    for (const NodeState* child = shader.children.first(); child; child = child->next)
      if (ShadePtr part = build(static_cast<const ShaderState&>(*child), {1, 1, 1, 1}, depth + 1))
        shade.children.push_back(std::move(part));
    return !shade.children.empty();
  }

  static float finite(Real value) {
    return std::isfinite(value) ? static_cast<float>(std::clamp(value, -1e30, 1e30)) : 0.0F;
  }

  bool textures_;
  std::vector<std::string>& missing_;
};

class MaterialBuilder {
 public:
  MaterialBuilder(const MaterialState& material, bool textures, std::vector<std::string>& missing)
      : from_(material), textures_(textures), shades_(textures, missing) {}

  SurfaceMaterialPtr build() {
    to_.id = from_.identity;
    to_.name = from_.name.GetUTF8();
    fillColor();
    fillReflection();
    fillOcclusionAndLight();
    fillRelief();
    fillTransparency();
    fillSpecular();
    fillFinish();
    to_.doubleSided = param::flag(from_, param::doubleSided);
    to_.unlit = param::flag(from_, param::unlit);
    to_.lightGroup = param::text(from_, param::materialLightGroup).GetUTF8();
    return std::make_shared<const SurfaceMaterial>(std::move(to_));
  }

 private:
  bool on(LONG channelSwitch) const { return param::flag(from_, channelSwitch); }

  ShadePtr shade(int slot) const {
    const ShaderState* shader = shaderIn(from_, slot);
    return shader ? shades_.build(*shader, neutralIn(slot)) : nullptr;
  }

  // A bump map without its picture is flat.
  ShadePtr reliefShade(int slot) const {
    const ShaderState* shader = shaderIn(from_, slot);
    if (!shader || (shader->type == Xbitmap && !textures_)) return nullptr;
    return shades_.build(*shader, neutralIn(slot));
  }

  void fillColor() {
    const Float3 c = color(param::vector(from_, param::baseColor));
    to_.baseColor = {c[0], c[1], c[2], unitNumber(from_, param::baseAlpha)};
    to_.colorOn = on(param::switchColor);
    to_.baseColorShade = shade(CHANNEL_COLOR);
    if (on(param::switchAlpha)) {
      const LONG mode = param::integer(from_, param::alphaMode);
      to_.alphaMode = mode == 1 ? AlphaMode::mask : mode == 2 ? AlphaMode::blend : AlphaMode::opaque;
      to_.alphaCutoff = number(from_, param::alphaCutoff);
    }
  }

  void fillReflection() {
    to_.reflectionOn = on(param::switchReflection);
    to_.roughness = unitNumber(from_, param::roughness);
    to_.metallic = to_.reflectionOn ? unitNumber(from_, param::metallic) : 0;
    to_.metallicRoughnessShade = shade(CHANNEL_REFLECTION);
    if (!to_.reflectionOn) return;
    to_.clearcoat = unitNumber(from_, param::clearcoat);
    to_.clearcoatRoughness = unitNumber(from_, param::clearcoatRoughness);
    if (to_.clearcoat > 0) {
      to_.clearcoatShade = shade(slotClearcoat);
      to_.clearcoatRoughnessShade = shade(slotClearcoatRoughness);
      to_.clearcoatNormalScale = number(from_, param::clearcoatNormalScale);
      to_.clearcoatNormalShade = reliefShade(slotClearcoatNormal);
    }
  }

  void fillOcclusionAndLight() {
    if (on(param::switchDiffusion)) {
      to_.occlusionStrength = unitNumber(from_, param::occlusionStrength);
      to_.occlusionShade = shade(CHANNEL_DIFFUSION);
    }
    if (!on(param::switchLuminance)) return;
    to_.emission = color(param::vector(from_, param::emission), param::real(from_, param::emissionStrength));
    if (to_.emission != Float3{}) to_.emissionShade = shade(CHANNEL_LUMINANCE);
  }

  void fillRelief() {
    if (on(param::switchNormal)) {
      to_.normalScale = number(from_, param::normalScale);
      to_.normalShade = reliefShade(CHANNEL_NORMAL);
    }
    if (!on(param::switchBump)) return;
    to_.bumpShade = reliefShade(CHANNEL_BUMP);
    if (to_.bumpShade) to_.bumpStrength = number(from_, param::bumpHeight);
  }

  void fillTransparency() {
    const float ior = number(from_, param::ior);
    to_.ior = ior >= 1 ? ior : ior == 0 ? endlessIor : 1.5F;
    if (!on(param::switchTransparency)) return;
    to_.transmission = unitNumber(from_, param::transmission);
    if (to_.transmission > 0) to_.transmissionShade = shade(CHANNEL_TRANSPARENCY);
    to_.thickness = std::max(number(from_, param::thickness), 0.0F);
    to_.attenuationColor = unitColor(param::vector(from_, param::attenuationColor));
    to_.attenuationDistance = std::max(number(from_, param::attenuationDistance), 0.0F);
    to_.dispersion = std::clamp(number(from_, param::dispersion), 0.0F, 20.0F);
    to_.diffuseTransmission = unitNumber(from_, param::diffuseTransmission);
    if (to_.diffuseTransmission <= 0) return;
    to_.diffuseTransmissionShade = shade(slotDiffuseTransmission);
    to_.diffuseTransmissionColor = unitColor(param::vector(from_, param::diffuseTransmissionColor));
    to_.diffuseTransmissionColorShade = shade(slotDiffuseTransmissionColor);
  }

  void fillSpecular() {
    to_.specular = on(param::switchSpecular) ? unitNumber(from_, param::specular) : 0;
    if (to_.specular > 0) to_.specularShade = shade(slotSpecular);
    if (!on(param::switchSpecularColor)) return;
    to_.specularColor = color(param::vector(from_, param::specularColor));
    to_.specularColorShade = shade(CHANNEL_SPECULARCOLOR);
  }

  // Parts of the reflection that few materials have.
  void fillFinish() {
    if (!on(param::switchReflection)) return;
    to_.sheenColor = unitColor(param::vector(from_, param::sheenColor));
    to_.sheenRoughness = unitNumber(from_, param::sheenRoughness);
    if (to_.sheenColor != Float3{}) {
      to_.sheenColorShade = shade(slotSheenColor);
      to_.sheenRoughnessShade = shade(slotSheenRoughness);
    }
    to_.anisotropy = unitNumber(from_, param::anisotropy);
    to_.anisotropyRotation = number(from_, param::anisotropyRotation);
    if (to_.anisotropy > 0) to_.anisotropyShade = reliefShade(slotAnisotropy);
    to_.iridescence = unitNumber(from_, param::iridescence);
    to_.iridescenceIor = std::clamp(number(from_, param::iridescenceIor), 1.0F, 10.0F);
    to_.filmThin = std::clamp(number(from_, param::filmThin), 0.0F, 1e5F);
    to_.filmThick = std::clamp(number(from_, param::filmThick), 0.0F, 1e5F);
    if (to_.iridescence <= 0) return;
    to_.iridescenceShade = shade(slotIridescence);
    to_.filmShade = shade(slotFilm);
  }

  const MaterialState& from_;
  bool textures_;
  ShadeBuilder shades_;
  SurfaceMaterial to_;
};

} // namespace

const ShaderState* shaderIn(const MaterialState& material, int slot) noexcept {
  const Identity wanted = material.shaderSlots[static_cast<std::size_t>(slot)];
  for (const NodeState* shader = wanted ? material.shaders.first() : nullptr; shader; shader = shader->next)
    if (shader->identity == wanted) return static_cast<const ShaderState*>(shader);
  return nullptr;
}

SurfaceMaterialPtr defaultMaterial() {
  static const SurfaceMaterialPtr* const one = [] {
    SurfaceMaterial material;
    material.id = newIdentity();
    material.name = "Default";
    material.baseColor = {0.8F, 0.8F, 0.8F, 1};
    material.roughness = 0.6F;
    return new SurfaceMaterialPtr(std::make_shared<const SurfaceMaterial>(std::move(material)));
  }();
  return *one;
}

SurfaceMaterialPtr resolveMaterial(const MaterialState& material, bool textures,
                                   std::vector<std::string>& missing) {
  return MaterialBuilder(material, textures, missing).build();
}

} // namespace host
