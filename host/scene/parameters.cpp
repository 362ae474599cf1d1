#include "parameters.h"

#include <unordered_map>

#include "c4d_render.h"
#include "light_source.h"

namespace host::param {

namespace {

using Key = std::uint64_t;
using Table = std::unordered_map<Key, GeData>;

constexpr Key keyOf(NodeKind kind, LONG type, LONG id) noexcept {
  // Types and IDs are below 2^30.
  return (static_cast<Key>(kind) << 60) ^ (static_cast<Key>(static_cast<ULONG>(type)) << 30) ^
         static_cast<ULONG>(id);
}

class Filler {
 public:
  Filler(Table& table, NodeKind kind, LONG type) : table_(table), kind_(kind), type_(type) {}
  Filler& add(LONG id, GeData value) {
    table_.insert_or_assign(keyOf(kind_, type_, id), std::move(value));
    return *this;
  }
  Filler& integer(LONG id, LONG value) { return add(id, GeData(value)); }
  Filler& real(LONG id, Real value) { return add(id, GeData(value)); }
  Filler& flag(LONG id, Bool value) { return add(id, GeData::FromBool(value)); }
  Filler& vector(LONG id, const Vector& value) { return add(id, GeData(value)); }
  Filler& text(LONG id) { return add(id, GeData(String())); }
  Filler& link(LONG id) { return add(id, GeData(BaseLink())); }

 private:
  Table& table_;
  NodeKind kind_;
  LONG type_;
};

constexpr Vector white{1, 1, 1};
// A clear day, dim enough not to overexpose a white object.
constexpr Vector zenithBlue{0.16, 0.33, 0.68}, horizonHaze{0.66, 0.74, 0.82}, groundBrown{0.16, 0.14, 0.12};

void fillObjects(Table& table) {
  for (const LONG type : {Opolygon, Olight, Ocamera, Ofloor, Osky, Onull, Osds})
    Filler(table, NodeKind::object, type).flag(objectVisibleEditor, TRUE).flag(objectVisibleRender, TRUE);
  for (const LONG type : {Opolygon, Ofloor, Onull})
    Filler(table, NodeKind::object, type).flag(objectShadowCatcher, FALSE);
  Filler(table, NodeKind::object, Ocamera)
      .integer(cameraProjection, 0)
      .real(cameraYfov, 0.8)
      .real(cameraYmag, 1)
      .real(cameraXmag, 1)
      .real(cameraAspect, 0)
      .real(cameraNear, 0.01)
      .real(cameraFar, 0)
      .real(cameraFitAspect, 0)
      .real(cameraAperture, 0)
      .real(cameraFocusDistance, 5)
      .integer(cameraBlades, 0)
      .real(cameraBladeRotation, 0)
      .real(cameraShiftX, 0)
      .real(cameraShiftY, 0)
      .flag(cameraLocked, FALSE);
  Filler(table, NodeKind::object, Olight)
      .integer(lightKind, 0)
      .vector(lightColor, white)
      .real(lightIntensity, 1)
      .real(lightRange, 0)
      .real(lightInnerCone, 0)
      .real(lightOuterCone, 0.78539816339744831)
      .real(lightRadius, 0)
      .integer(lightShadow, 2)
      .real(lightWidth, 1)
      .real(lightHeight, 1)
      .text(lightGroup)
      .real(lightTemperature, 0)
      .flag(lightMuted, FALSE)
      .flag(lightSolo, FALSE);
  Filler(table, NodeKind::object, Osky)
      .integer(skyKind, 1)
      .vector(skyColor, white)
      .vector(skyHorizon, horizonHaze)
      .vector(skyGround, groundBrown)
      .real(skyRotation, 0)
      .real(skyStrength, 1)
      .flag(skySeen, TRUE)
      .text(skyGroup);
  Filler(table, NodeKind::object, Ofloor).real(floorSize, 1000);
  Filler(table, NodeKind::object, Osds).integer(subdivisionLevel, 2);
}

void fillTags(Table& table) {
  Filler(table, NodeKind::tag, Ttexture)
      .link(textureMaterial)
      .integer(textureGroup, -1)
      .integer(textureVariant, -1);
  Filler(table, NodeKind::tag, Tcompositing).flag(compositingSeen, TRUE).flag(compositingShadows, TRUE);
  Filler(table, NodeKind::tag, Ttargetexpression).link(targetLink).flag(EXPRESSION_ENABLE, TRUE);
  Filler(table, NodeKind::tag, Tphong).flag(phongLimit, FALSE).real(phongAngle, 1.3962634015954636);
  for (const LONG type : {Taligntopath, Taligntospline})
    Filler(table, NodeKind::tag, type).link(alignLink).flag(EXPRESSION_ENABLE, TRUE);
}

void fillMaterials(Table& table) {
  Filler material(table, NodeKind::material, Mmaterial);
  for (LONG id = switchColor; id <= switchNormal; ++id) {
    const bool inert =
        id == switchEnvironment || id == switchFog || id == switchGlow || id == switchDisplacement;
    material.flag(id, inert ? FALSE : TRUE);
  }
  material.vector(baseColor, white)
      .real(baseAlpha, 1)
      .real(metallic, 0)
      .real(roughness, 0.5)
      .real(occlusionStrength, 1)
      .vector(emission, Vector())
      .real(emissionStrength, 1)
      .real(normalScale, 1)
      .integer(alphaMode, 0)
      .real(alphaCutoff, 0.5)
      .real(transmission, 0)
      .real(ior, 1.5)
      .real(specular, 1)
      .vector(specularColor, white)
      .real(clearcoat, 0)
      .real(clearcoatRoughness, 0)
      .flag(doubleSided, TRUE)
      .flag(unlit, FALSE)
      .real(bumpHeight, 0.01)
      .real(thickness, 0)
      .vector(attenuationColor, white)
      .real(attenuationDistance, 0)
      .real(dispersion, 0)
      .vector(sheenColor, Vector())
      .real(sheenRoughness, 0)
      .real(anisotropy, 0)
      .real(anisotropyRotation, 0)
      .real(iridescence, 0)
      .real(iridescenceIor, 1.3)
      .real(filmThin, 100)
      .real(filmThick, 400)
      .real(diffuseTransmission, 0)
      .vector(diffuseTransmissionColor, white)
      .real(clearcoatNormalScale, 1)
      .text(materialLightGroup);
}

void fillShaders(Table& table) {
  for (const LONG type : {Xcolor, Xbitmap, Xambientocclusion, Xfusion, Xlayer})
    Filler(table, NodeKind::shader, type).integer(shaderMix, 0).real(shaderAmount, 1);
  Filler(table, NodeKind::shader, Xcolor).vector(colorValue, white).real(colorAlpha, 1);
  Filler(table, NodeKind::shader, Xbitmap)
      .integer(bitmapUvSet, 0)
      .vector(bitmapOffset, Vector())
      .vector(bitmapScale, white)
      .real(bitmapRotation, 0)
      .integer(bitmapWrapU, 0)
      .integer(bitmapWrapV, 0)
      .flag(bitmapNearest, FALSE)
      .vector(bitmapFactor, white)
      .real(bitmapAlpha, 1)
      .flag(bitmapOff, FALSE)
      .real(bitmapStrength, 1)
      .integer(bitmapColors, 0);
  Filler(table, NodeKind::shader, Xambientocclusion)
      .real(aoDistance, 1)
      .vector(aoDark, Vector())
      .vector(aoBright, white);
}

// Of the view, see view_setting.h.
constexpr LONG viewSetting = 7120, exposureSetting = 7121, gammaSetting = 7122, whiteBalanceSetting = 7123,
               colorConfigSetting = 7124;
// Of the lens, see lens_setting.h.
constexpr LONG lensEffectsSetting = 7130, lensThresholdSetting = 7131, lensStrengthSetting = 7132,
               bloomRadiusSetting = 7133, glareStreaksSetting = 7134, glareLengthSetting = 7135,
               glareAngleSetting = 7136, vignetteAmountSetting = 7137, vignetteSizeSetting = 7138,
               vignetteRoundnessSetting = 7139;
// Of the renderer, see render_settings.h.
constexpr LONG denoiseSetting = 7103, layersSetting = 7104, spreadSetting = 7106, shadingSetting = 7107,
               motionBlurSetting = 7110, shutterOpenSetting = 7111, shutterCloseSetting = 7112,
               motionStepsSetting = 7113, radianceCacheSetting = 7115;

void fillRenderData(Table& table) {
  Filler data(table, NodeKind::renderData, 0);
  data.integer(RDATA_ANTIALIASING, 2)
      .integer(RDATA_AAFILTER, 0)
      .integer(RDATA_XRES, 1280)
      .integer(RDATA_YRES, 720)
      .integer(RDATA_FRAMESEQUENCE, 0)
      .add(RDATA_FRAMEFROM, GeData(BaseTime()))
      .add(RDATA_FRAMETO, GeData(BaseTime()))
      .real(RDATA_LOD, 1)
      .integer(RDATA_RENDERENGINE, RDATA_RENDERENGINE_STANDARD)
      .integer(RDATA_MAXSAMPLES, 64)
      .real(RDATA_NOISETHRESHOLD, 0.01)
      .integer(denoiseSetting, 0)
      .integer(spreadSetting, 0)
      .add(viewSetting, GeData(String("sRGB")))
      .real(exposureSetting, 0)
      .real(gammaSetting, 1)
      .real(whiteBalanceSetting, 6500)
      .add(colorConfigSetting, GeData(String()))
      .integer(lensEffectsSetting, 0)
      .real(lensThresholdSetting, 1)
      .real(lensStrengthSetting, 0.3)
      .real(bloomRadiusSetting, 0.08)
      .integer(glareStreaksSetting, 6)
      .real(glareLengthSetting, 0.2)
      .real(glareAngleSetting, 15)
      .real(vignetteAmountSetting, 0.5)
      .real(vignetteSizeSetting, 1)
      .real(vignetteRoundnessSetting, 1)
      .flag(motionBlurSetting, FALSE)
      .real(shutterOpenSetting, -0.25)
      .real(shutterCloseSetting, 0.25)
      .integer(motionStepsSetting, 2)
      .flag(radianceCacheSetting, TRUE)
      .integer(layersSetting, 0)
      .integer(shadingSetting, 0)
      .integer(RDATA_RENDERREGION_LEFT, 0)
      .integer(RDATA_RENDERREGION_TOP, 0)
      .integer(RDATA_RENDERREGION_RIGHT, 0)
      .integer(RDATA_RENDERREGION_BOTTOM, 0);
  for (const LONG id : {RDATA_VOLUMETRICLIGHTING, RDATA_TEXTURES, RDATA_ENABLEBLURRY, RDATA_SSS,
                        RDATA_POSTEFFECTS_ENABLE, RDATA_SUBPOLYGON_DISPLACEMENT, RDATA_OPTION_TRANSPARENCY,
                        RDATA_OPTION_REFRACTION, RDATA_OPTION_REFLECTION, RDATA_OPTION_SHADOW})
    data.flag(id, TRUE);
  for (const LONG id :
       {RDATA_ACTIVEOBJECTONLY, RDATA_MULTIPASS_ENABLE, RDATA_SAVEIMAGE, RDATA_MULTIPASS_SAVEIMAGE,
        RDATA_OPTION_LIMITREFLECTION, RDATA_OPTION_LIMITSHADOW, RDATA_RENDERREGION})
    data.flag(id, FALSE);
}

const Table& table() {
  static const Table* const filled = [] {
    auto* t = new Table;
    fillObjects(*t);
    fillTags(*t);
    fillMaterials(*t);
    fillShaders(*t);
    fillRenderData(*t);
    Filler(*t, NodeKind::document, 0).integer(documentVariant, -1);
    return t;
  }();
  return *filled;
}

} // namespace

const GeData& defaultValue(NodeKind kind, LONG type, LONG id) {
  static const GeData nothing;
  const auto found = table().find(keyOf(kind, type, id));
  return found == table().end() ? nothing : found->second;
}

const GeData& defaultValue(const NodeState& node, LONG id) {
  static const GeData zenith(zenithBlue);
  const bool isZenith = id == skyColor && node.kind == NodeKind::object && node.type == Osky &&
                        node.data.GetLong(skyKind, 1) == 2;
  return isZenith ? zenith : defaultValue(node.kind, node.type, id);
}

GeData value(const NodeState& node, LONG id) {
  const GeData& stored = node.data.GetData(id);
  return stored.GetType() != DA_NIL ? stored : defaultValue(node, id);
}

Real real(const NodeState& node, LONG id) {
  return node.data.GetReal(id, defaultValue(node, id).GetReal());
}

LONG integer(const NodeState& node, LONG id) {
  return node.data.GetLong(id, defaultValue(node, id).GetLong());
}

bool flag(const NodeState& node, LONG id) {
  return node.data.GetBool(id, defaultValue(node, id).GetBool()) != FALSE;
}

Vector vector(const NodeState& node, LONG id) {
  return node.data.GetVector(id, defaultValue(node, id).GetVector());
}

String text(const NodeState& node, LONG id) {
  return value(node, id).GetString();
}

} // namespace host::param
