#include "shading.h"

namespace host::render {
namespace {

Rgba toRgba(const Float4& v) {
  return {v[0], v[1], v[2], v[3]};
}
Vec3 rgb(const Rgba& v) {
  return {v.r, v.g, v.b};
}
Rgba toRgba(Vec3 v) {
  return {v.x, v.y, v.z, 1};
}
Rgba times(Rgba a, Rgba b) {
  return {a.r * b.r, a.g * b.g, a.b * b.b, a.a * b.a};
}

float mixChannel(float below, float above, ShadeMix how) {
  switch (how) {
  case ShadeMix::multiply:
    return below * above;
  case ShadeMix::add:
    return below + above;
  case ShadeMix::screen:
    return 1 - (1 - below) * (1 - above);
  case ShadeMix::normal:
    break;
  }
  return above;
}

// Mixes a node's colour onto the colour below, by its alpha and amount.
Rgba putOnto(Rgba below, Rgba above, ShadeMix how, float amount) {
  const float t = clamp01(amount * above.a);
  return {lerp(below.r, mixChannel(below.r, above.r, how), t),
          lerp(below.g, mixChannel(below.g, above.g, how), t),
          lerp(below.b, mixChannel(below.b, above.b, how), t), lerp(below.a, 1, t)};
}

// Openness without noise: sixteen fixed directions.
float steadyOpenness(const ShadePoint& p, float distance) {
  constexpr int side = 4;
  float sum = 0;
  for (int i = 0; i < side * side; ++i)
    sum += p.scene->openness(
        p.position, p.normal, distance,
        {(static_cast<float>(i % side) + 0.5f) / side, (static_cast<float>(i / side) + 0.5f) / side}, p.time);
  return sum / (side * side);
}

// A shader of a material, and the space of its pictures' colours.
struct MaterialShade {
  ShadePtr SurfaceMaterial::*from;
  CompiledShade CompiledMaterial::*to;
  ColorSpace space = ColorSpace::data;
};
using From = SurfaceMaterial;
using To = CompiledMaterial;
constexpr MaterialShade materialShades[] = {
    {&From::baseColorShade, &To::baseColor, ColorSpace::srgb},
    {&From::emissionShade, &To::emission, ColorSpace::srgb},
    {&From::specularColorShade, &To::specularColor, ColorSpace::srgb},
    {&From::sheenColorShade, &To::sheenColor, ColorSpace::srgb},
    {&From::diffuseTransmissionColorShade, &To::diffuseTransmissionColor, ColorSpace::srgb},
    {&From::metallicRoughnessShade, &To::metallicRoughness},
    {&From::occlusionShade, &To::occlusion},
    {&From::normalShade, &To::normal},
    {&From::bumpShade, &To::bump},
    {&From::transmissionShade, &To::transmission},
    {&From::specularShade, &To::specular},
    {&From::clearcoatShade, &To::clearcoat},
    {&From::clearcoatRoughnessShade, &To::clearcoatRoughness},
    {&From::clearcoatNormalShade, &To::clearcoatNormal},
    {&From::sheenRoughnessShade, &To::sheenRoughness},
    {&From::anisotropyShade, &To::anisotropy},
    {&From::iridescenceShade, &To::iridescence},
    {&From::filmShade, &To::film},
    {&From::diffuseTransmissionShade, &To::diffuseTransmission},
};

// KHR_materials_dispersion: red bends less and blue more, by the Abbe number 20 / dispersion.
void setGlass(CompiledMaterial& material) {
  const SurfaceMaterial& m = *material.source;
  const float spread = (m.ior - 1) * 0.025f * m.dispersion;
  material.disperses = spread > 0;
  for (std::size_t channel = 0; channel < 3; ++channel) {
    CompiledMaterial::Glass& glass = material.glass[channel];
    glass.ior = std::max(1.0f, m.ior + spread * (static_cast<float>(channel) - 1));
    glass.front = glassAlbedo(glass.ior);
    glass.back = glassAlbedo(1 / glass.ior);
  }
}

// Beer and Lambert's law: white light has the attenuation colour after the attenuation distance.
void setAbsorption(CompiledMaterial& material) {
  const SurfaceMaterial& m = *material.source;
  if (!(m.attenuationDistance > 0)) return;
  const auto part = [&](float share) {
    return std::min(1e6f, -std::log(std::clamp(share, 1e-6f, 1.0f)) / m.attenuationDistance);
  };
  material.absorption = {part(m.attenuationColor[0]), part(m.attenuationColor[1]),
                         part(m.attenuationColor[2])};
  material.absorbs = !isBlack(material.absorption);
}

bool nonZero(const Float3& c) {
  return c[0] > 0 || c[1] > 0 || c[2] > 0;
}

// Parts of the reflection that few materials have.
void setFinish(SurfaceLook& look, const CompiledMaterial& material, const ShadePoint& point,
               const RenderSettings& settings) {
  const SurfaceMaterial& m = *material.source;
  if (nonZero(m.sheenColor)) {
    look.sheenColor = Vec3(m.sheenColor) * rgb(material.sheenColor.at(point));
    look.sheenRoughness = clamp01(m.sheenRoughness * material.sheenRoughness.at(point).a);
  }
  if (m.anisotropy > 0 && settings.blurry)
    look.anisotropy = clamp01(m.anisotropy * material.anisotropy.at(point).b);
  if (m.iridescence > 0) {
    look.iridescence = clamp01(m.iridescence * material.iridescence.at(point).r);
    look.iridescenceIor = m.iridescenceIor;
    look.film = lerp(m.filmThin, m.filmThick, clamp01(material.film.at(point).g));
  }
}

} // namespace

bool CompiledShade::reads(int uvSet) const {
  if (kind_ == Kind::bitmap) return use_.uvSet == uvSet;
  return std::any_of(children_.begin(), children_.end(),
                     [&](const CompiledShade& child) { return child.reads(uvSet); });
}

Rgba CompiledShade::weighed(const Rgba& texel) const {
  const Rgba v = times(color_, texel);
  return {v.r + bias_.r, v.g + bias_.g, v.b + bias_.b, v.a + bias_.a};
}

Rgba CompiledShade::evaluate(const ShadePoint& point) const {
  switch (kind_) {
  case Kind::constant:
    return color_;
  case Kind::bitmap: {
    const auto set = static_cast<std::size_t>(use_.uvSet);
    const Vec2 uv = transformUv(use_, point.uv[set]);
    const float footprint = point.footprint[set] * footprintScale_;
    using Texels = ShadePoint::Texels;
    if (use_.nearest) return weighed(texture_->nearest(uv, use_.wrapU, use_.wrapV));
    if (point.texels == Texels::filtered)
      return weighed(texture_->sample(uv, footprint, use_.wrapU, use_.wrapV));
    return weighed(texture_->sampleOne(uv, footprint, use_.wrapU, use_.wrapV, point.jitter,
                                       point.texels == Texels::someSingle));
  }
  case Kind::occlusion: {
    if (!point.scene) return toRgba(bright_);
    const float open = point.sampler ? point.scene->openness(point.position, point.normal, distance_,
                                                             point.sampler->next2(), point.time)
                                     : steadyOpenness(point, distance_);
    return toRgba(lerp(dark_, bright_, open));
  }
  case Kind::stack:
    break;
  }
  Rgba value = children_.empty() ? color_ : Rgba{0, 0, 0, 0};
  bool first = true;
  for (const CompiledShade& child : children_) {
    const Rgba v = child.at(point);
    // The bottom layer is not mixed: nothing lies below it.
    value = first && child.amount_ >= 1 && v.a >= 1
                ? v
                : putOnto(value, v, first ? ShadeMix::normal : child.mix_, child.amount_);
    first = false;
  }
  return value;
}

Rgba CompiledShade::mean() const {
  switch (kind_) {
  case Kind::constant:
    return color_;
  case Kind::bitmap:
    return weighed(texture_->texel(texture_->levelCount() - 1, 0, 0));
  case Kind::occlusion:
    return toRgba(lerp(dark_, bright_, 0.5f));
  case Kind::stack:
    break;
  }
  Rgba value = children_.empty() ? color_ : Rgba{0, 0, 0, 0};
  for (const CompiledShade& child : children_)
    value = putOnto(value, child.mean(), child.mix_, child.amount_);
  return value;
}

float alphaAt(const CompiledMaterial& material, const ShadePoint& point, float vertexAlpha) {
  const SurfaceMaterial& m = *material.source;
  if (m.alphaMode == AlphaMode::opaque) return 1;
  const float a = m.baseColor[3] * vertexAlpha * material.baseColor.at(point).a;
  if (m.alphaMode == AlphaMode::mask) return a >= m.alphaCutoff ? 1.0f : 0.0f;
  return clamp01(a);
}

SurfaceLook lookAt(const CompiledMaterial& material, const ShadePoint& point, Vec3 vertexColor,
                   const RenderSettings& settings) {
  const SurfaceMaterial& m = *material.source;
  SurfaceLook look;
  Vec3 base(m.baseColor[0], m.baseColor[1], m.baseColor[2]);
  if (settings.shading != ShadingMode::clay) base *= vertexColor * rgb(material.baseColor.at(point));
  look.baseColor = {clamp01(base.x), clamp01(base.y), clamp01(base.z)};
  const Rgba mr = material.metallicRoughness.at(point);
  look.metallic = clamp01(m.metallic * mr.b);
  look.roughness = settings.blurry ? clamp01(m.roughness * mr.g) : 0;
  look.transmission = material.transmits ? clamp01(m.transmission * material.transmission.at(point).r) : 0;
  look.ior = m.ior;
  look.specular = clamp01(m.specular * material.specular.at(point).a);
  look.specularColor = Vec3(m.specularColor) * rgb(material.specularColor.at(point));
  if (m.clearcoat > 0) {
    look.clearcoat = clamp01(m.clearcoat * material.clearcoat.at(point).r);
    look.clearcoatRoughness =
        settings.blurry ? clamp01(m.clearcoatRoughness * material.clearcoatRoughness.at(point).g) : 0;
  }
  look.diffuseOn = m.colorOn;
  look.reflectionOn = m.reflectionOn && settings.reflection;
  if (!look.reflectionOn) look.metallic = 0;
  look.thin = m.thickness <= 0;
  look.straight =
      look.transmission > 0 && (!settings.refraction || (look.thin && look.roughness < mirrorRoughness));
  setChannel(look, material, 1);
  look.ior = m.ior;
  if (m.diffuseTransmission > 0) {
    look.diffuseTransmission = clamp01(m.diffuseTransmission * material.diffuseTransmission.at(point).a);
    look.diffuseTransmissionColor =
        Vec3(m.diffuseTransmissionColor) * rgb(material.diffuseTransmissionColor.at(point));
  }
  setFinish(look, material, point, settings);
  return look;
}

void chooseTexels(const CompiledMaterial& material, ShadePoint& point, int samples, int bounces,
                  int wideScatters) {
  constexpr int manySamples = 16;
  if (!material.textured || (bounces == 0 && samples < manySamples)) return;
  point.texels = wideScatters > 0 ? ShadePoint::Texels::single : ShadePoint::Texels::someSingle;
  const Vec2 u = point.sampler->next2();
  point.jitter = {u.x, u.y, point.sampler->next1()};
}

void setChannel(SurfaceLook& look, const CompiledMaterial& material, int channel) {
  const CompiledMaterial::Glass& glass = material.glass[static_cast<std::size_t>(channel)];
  look.ior = glass.ior;
  look.glassFront = glass.front.get();
  look.glassBack = glass.back.get();
}

Vec3 passedThrough(const CompiledMaterial& material, float distance) {
  const Vec3 depth = material.absorption * distance;
  return {std::exp(-depth.x), std::exp(-depth.y), std::exp(-depth.z)};
}

MaterialCompiler::MaterialCompiler(const std::vector<SurfaceMaterialPtr>& materials,
                                   const std::vector<bool>& used, std::string colorConfig)
    : materials_(materials), used_(used), colorConfig_(std::move(colorConfig)) {
  for (std::size_t i = 0; i < materials.size(); ++i) {
    if (!used[i] || !materials[i]) continue;
    const SurfaceMaterial& m = *materials[i];
    for (const MaterialShade& shade : materialShades)
      collect((m.*shade.from).get(), shade.space);
  }
}

namespace {

/// As rules for file names see it: embedded pictures get the suffix of their kind.
std::string nameForRules(const Picture& picture) {
  if (picture.file.Content()) return picture.file.GetString().GetUTF8();
  const std::size_t slash = picture.mimeType.find('/');
  if (picture.name.find('.') != std::string::npos || slash == std::string::npos) return picture.name;
  return picture.name + "." + picture.mimeType.substr(slash + 1);
}

} // namespace

std::size_t MaterialCompiler::request(const PicturePtr& picture, ColorSpace space) {
  const auto [place, fresh] = places_.try_emplace({picture->id, space}, requests_.size());
  if (fresh) {
    const bool colors = space == ColorSpace::srgb;
    requests_.push_back(
        {picture, space, colors ? inputColors(colorConfig_, nameForRules(*picture)) : nullptr});
  }
  return place->second;
}

void MaterialCompiler::collect(const Shade* shade, ColorSpace space) {
  if (!shade) return;
  if (shade->kind == ShadeKind::bitmap && shade->texture.picture && shade->texture.picture->bytes)
    request(shade->texture.picture, spaceOf(shade->texture, space));
  for (const ShadePtr& child : shade->children)
    collect(child.get(), space);
}

CompiledShade MaterialCompiler::make(const Shade* shade, ColorSpace space,
                                     const std::vector<TexturePtr>& textures) const {
  using Kind = CompiledShade::Kind;
  CompiledShade s;
  if (!shade) return s;
  s.present_ = true;
  s.color_ = toRgba(shade->color);
  s.bias_ = toRgba(shade->bias);
  s.mix_ = shade->mix;
  s.amount_ = clamp01(shade->amount);
  switch (shade->kind) {
  case ShadeKind::color:
    break;
  case ShadeKind::bitmap: {
    const PicturePtr& picture = shade->texture.picture;
    const auto place = picture ? places_.find({picture->id, spaceOf(shade->texture, space)}) : places_.end();
    if (place == places_.end() || !textures[place->second]) {
      s.color_ = s.weighed({1, 1, 1, 1});
      break;
    }
    s.kind_ = Kind::bitmap;
    s.texture_ = textures[place->second];
    s.use_ = shade->texture;
    s.use_.uvSet = s.use_.uvSet == 1 ? 1 : 0;
    s.footprintScale_ = std::sqrt(std::abs(s.use_.scale[0] * s.use_.scale[1]));
    break;
  }
  case ShadeKind::ambientOcclusion:
    s.kind_ = Kind::occlusion;
    s.distance_ = std::max(1e-6f, shade->aoDistance);
    s.dark_ = Vec3(shade->aoDark);
    s.bright_ = Vec3(shade->aoBright);
    break;
  case ShadeKind::fusion:
  case ShadeKind::layer:
    s.kind_ = Kind::stack;
    for (const ShadePtr& child : shade->children)
      if (child) s.children_.push_back(make(child.get(), space, textures));
    break;
  }
  return s;
}

std::vector<CompiledMaterial> MaterialCompiler::compile(const std::vector<TexturePtr>& textures,
                                                        const RenderSettings& settings) const {
  std::vector<CompiledMaterial> out(materials_.size());
  for (std::size_t i = 0; i < materials_.size(); ++i) {
    if (!used_[i] || !materials_[i]) continue;
    const SurfaceMaterial& m = *materials_[i];
    CompiledMaterial& c = out[i];
    c.source = materials_[i];
    c.readsUv[0] = (settings.wantedLayers() & uvLayer) != 0 || settings.shading == ShadingMode::uvChecker;
    for (const MaterialShade& shade : materialShades) {
      c.*shade.to = make((m.*shade.from).get(), shade.space, textures);
      for (const int set : {0, 1}) {
        const bool reads = (c.*shade.to).reads(set);
        c.readsUv[static_cast<std::size_t>(set)] |= reads;
        c.textured |= reads;
      }
    }
    c.emits = nonZero(m.emission) && !m.unlit;
    c.hasAlpha = m.alphaMode != AlphaMode::opaque;
    c.transmits = m.transmission > 0 && settings.transparency && !m.unlit;
    if (c.transmits && m.thickness > 0) {
      setGlass(c);
      setAbsorption(c);
    }
  }
  return out;
}

} // namespace host::render
