#include "bsdf.h"

#include "sheen.h"
#include "thin_film.h"

namespace host::render {
namespace {

constexpr float coatF0 = 0.04f; // index of refraction 1.5

float alphaOf(float roughness) {
  return std::max(1e-4f, roughness * roughness);
}

// The albedo's two parts at one cosine and roughness: of F0 and of F90.
struct Albedo {
  float base, edge;
  Albedo(float cosine, float roughness) {
    const ReflectionAlbedo& table = reflectionAlbedo();
    base = table.base.at(cosine, roughness);
    edge = table.edge.at(cosine, roughness);
  }
  float single(float f0, float f90) const { return f0 * base + f90 * edge; }
  /// With the light between facets restored: times 1 + F0 (1 - E) / E.
  float full(float f0, float f90) const {
    const float whole = std::max(1e-4f, base + edge);
    return std::min(1.0f, single(f0, f90) * (1 + f0 * (1 - whole) / whole));
  }
  Vec3 full(Vec3 f0, float f90) const { return {full(f0.x, f90), full(f0.y, f90), full(f0.z, f90)}; }
};

bool isNull(Vec3 v) {
  return dot(v, v) < 0.25f; // else it has unit length
}

Vec3 sheenAlbedoOf(const SurfaceLook& look, float cosine) {
  if (isBlack(look.sheenColor)) return {};
  return look.sheenColor * std::min(1.0f, sheenAlbedo().at(cosine, look.sheenRoughness));
}

// The reflectance at normal incidence with a thin film over it.
Vec3 withFilm(const SurfaceLook& look, Vec3 f0, float cosine) {
  if (!(look.iridescence > 0) || !(look.film > 0)) return f0;
  return lerp(f0, filmF0(cosine, look.iridescenceIor, look.film, f0), look.iridescence);
}

Vec3 dielectricF0(const SurfaceLook& look, float cosine) {
  const float r = (look.ior - 1) / (look.ior + 1);
  const Vec3 f0 = look.specularColor * (r * r);
  const Vec3 bare = Vec3(std::min(1.0f, f0.x), std::min(1.0f, f0.y), std::min(1.0f, f0.z)) * look.specular;
  return withFilm(look, bare, cosine);
}

Vec3 squareRoot(Vec3 c) {
  return {std::sqrt(c.x), std::sqrt(c.y), std::sqrt(c.z)};
}

Vec3 divide(Vec3 a, Vec3 b) {
  return {b.x > 1e-6f ? a.x / b.x : 1, b.y > 1e-6f ? a.y / b.y : 1, b.z > 1e-6f ? a.z / b.z : 1};
}

// Half of a body's colour at each of its two surfaces; all of it at a sheet.
Vec3 passTint(const SurfaceLook& look) {
  return look.thin ? look.baseColor : squareRoot(look.baseColor);
}

} // namespace

StraightPass straightPass(const SurfaceLook& look, float cosine) {
  if (look.transmission <= 0) return {};
  float above = 1; // passes coat and sheen
  float reflected = 0;
  if (look.reflectionOn) {
    above = 1 - look.clearcoat * Albedo(cosine, look.clearcoatRoughness).full(coatF0, 1);
    above *= 1 - maxComponent(sheenAlbedoOf(look, cosine));
    reflected = maxComponent(Albedo(cosine, look.roughness).full(dielectricF0(look, cosine), look.specular));
  }
  return {above * (1 - look.metallic) * look.transmission * (1 - reflected), passTint(look)};
}

Bsdf::Bsdf(const SurfaceLook& look, const SurfaceAxes& axes, Vec3 wo, bool entering, bool separate)
    : frame_(axes.normal), geometric_(axes.geometric), separate_(separate) {
  if (look.anisotropy > 0 && !isNull(axes.tangent)) {
    frame_.s = normalize(axes.tangent - frame_.n * dot(axes.tangent, frame_.n));
    frame_.t = cross(frame_.n, frame_.s);
  }
  wo_ = frame_.toLocal(wo);
  wo_.z = std::max(wo_.z, 1e-4f);
  roughness_ = look.roughness;
  alpha_ = alphaOf(roughness_);
  if (look.anisotropy > 0 && !isNull(axes.tangent))
    alpha_.x = lerp(alpha_.x, 1, sqr(look.anisotropy)); // KHR_materials_anisotropy
  const float metallic = look.reflectionOn ? look.metallic : 0;
  const float glassPart = look.straight ? 0 : look.transmission;
  const float bodyPart = look.thin ? 0 : glassPart; // reflects by itself

  setCoat(look, axes, wo);
  setSheen(look);
  const Vec3 dielectric = look.reflectionOn ? setSpecular(look, bodyPart) : Vec3();
  const float behind = 1 - maxComponent(dielectric);
  if (look.diffuseOn) {
    const float share = (1 - metallic) * (1 - look.transmission) * behind;
    diffuse_ = look.baseColor * (share * (1 - look.diffuseTransmission));
    through_ = look.diffuseTransmissionColor * (share * look.diffuseTransmission);
  }
  if (glassPart > 0) setGlass(look, (1 - metallic) * glassPart * (look.thin ? behind : 1), entering);
  setProbabilities();
}

// The coat takes its share first.
void Bsdf::setCoat(const SurfaceLook& look, const SurfaceAxes& axes, Vec3 wo) {
  if (!look.reflectionOn || !(look.clearcoat > 0)) return;
  coatFrame_ = isNull(axes.coatNormal) ? frame_ : Frame(axes.coatNormal);
  coatWo_ = coatFrame_.toLocal(wo);
  coatWo_.z = std::max(coatWo_.z, 1e-4f);
  coatRoughness_ = look.clearcoatRoughness;
  coatAlpha_ = alphaOf(coatRoughness_);
  const Albedo albedo(coatWo_.z, coatRoughness_);
  const float full = albedo.full(coatF0, 1);
  coatScale_ = look.clearcoat * full / std::max(1e-4f, albedo.single(coatF0, 1));
  coat_ = look.clearcoat * full;
  underCoat_ = under_ = 1 - coat_;
}

void Bsdf::setSheen(const SurfaceLook& look) {
  if (!look.reflectionOn || isBlack(look.sheenColor)) return;
  sheenAlpha_ = sheenAlpha(look.sheenRoughness);
  const float albedo = sheenAlbedo().at(wo_.z, look.sheenRoughness);
  sheen_ = look.sheenColor * (albedo > 1 ? 1 / albedo : 1);
  sheenAlbedo_ = sheen_ * albedo;
  under_ = underCoat_ * (1 - maxComponent(sheenAlbedo_));
}

// One microfacet reflection serves metal and dielectric, each with its share; gives the albedo of the
// dielectric.
Vec3 Bsdf::setSpecular(const SurfaceLook& look, float bodyPart) {
  const float plain = (1 - look.metallic) * (1 - bodyPart);
  const Vec3 d0 = dielectricF0(look, wo_.z), m0 = withFilm(look, look.baseColor, wo_.z);
  const Albedo albedo(wo_.z, evenRoughness());
  const Vec3 dielectric = albedo.full(d0, look.specular);
  const Vec3 metal = look.metallic > 0 ? albedo.full(m0, 1) : Vec3();
  f0_ = d0 * plain + m0 * look.metallic;
  f90_ = Vec3(look.specular * plain + look.metallic);
  specularAlbedo_ = dielectric * plain + metal * look.metallic;
  specularScale_ = divide(specularAlbedo_, f0_ * albedo.base + f90_ * albedo.edge);
  if (alpha_.x != alpha_.y) specularScale_ *= 0.97f; // the estimate's largest excess
  return dielectric;
}

// The roughness of an even surface with about the same albedo: a fit, whose excess is at most 3 %.
float Bsdf::evenRoughness() const {
  return alpha_.x == alpha_.y ? roughness_ : std::sqrt(0.8f * std::sqrt(alpha_.x * alpha_.y));
}

void Bsdf::setGlass(const SurfaceLook& look, float share, bool entering) {
  glass_ = share;
  glassTint_ = passTint(look);
  thin_ = look.thin;
  if (thin_) {
    const Albedo albedo(wo_.z, evenRoughness());
    glassScale_ = 1 / std::max(1e-4f, albedo.single(1, 1));
    return;
  }
  eta_ = entering ? look.ior : 1 / look.ior;
  glassReflects_ = look.reflectionOn;
  const AlbedoTable* table = entering ? look.glassFront : look.glassBack;
  if (table && glassReflects_) glassScale_ = 1 / std::max(0.05f, table->at(wo_.z, evenRoughness()));
}

void Bsdf::setProbabilities() {
  mirror_[coatLobe] = coatRoughness_ < mirrorRoughness;
  mirror_[specularLobe] = mirror_[glassLobe] = roughness_ < mirrorRoughness && alpha_.x == alpha_.y;
  probability_[coatLobe] = coat_;
  probability_[sheenLobe] = underCoat_ * maxComponent(sheenAlbedo_);
  probability_[specularLobe] = under_ * maxComponent(specularAlbedo_);
  probability_[diffuseLobe] = under_ * maxComponent(diffuse_);
  probability_[throughLobe] = under_ * maxComponent(through_);
  probability_[glassLobe] = under_ * glass_;
  float total = 0;
  for (const float p : probability_)
    total += p;
  if (!(total > 0)) return;
  for (std::size_t i = 0; i < lobeCount; ++i) {
    probability_[i] /= total;
    smooth_ = smooth_ || (probability_[i] > 0 && !mirror_[i]);
  }
}

Bsdf::Value Bsdf::reflectionValue(Vec3 wo, Vec3 wi, GgxAlpha alpha, Vec3 f0, Vec3 f90) {
  const Vec3 h = normalize(wo + wi);
  const float d = ggxD(h, alpha), s = schlick(dot(wo, h));
  const float lambda = ggxLambda(wo, alpha);
  const float g2 = 1 / (1 + lambda + ggxLambda(wi, alpha));
  return {(f0 * (1 - s) + f90 * s) * (d * g2 / (4 * wo.z)), d / ((1 + lambda) * 4 * wo.z)};
}

// Walter et al. 2007, equations 20 and 21; radiance is not scaled by the squared index, which cancels over a
// closed body.
Bsdf::Value Bsdf::glassValue(Vec3 wi) const {
  const bool reflects = wi.z > 0;
  Vec3 h = reflects ? wo_ + wi : wo_ + wi * eta_;
  h = normalize(h);
  if (h.z < 0) h = -h;
  const float co = dot(wo_, h), ci = dot(wi, h);
  if (co <= 0 || (reflects ? ci <= 0 : ci >= 0)) return {};
  float f = fresnel(co, eta_);
  if (!glassReflects_ && f < 1) f = 0;
  const float pdf = visibleNormalPdf(wo_, h, alpha_);
  const float shade = ggxG2(wo_, wi, alpha_) / ggxG1(wo_, alpha_) * glassScale_;
  if (reflects) {
    const float p = f * pdf / (4 * co);
    return {Vec3(p * shade), p};
  }
  const float p = (1 - f) * pdf * eta_ * eta_ * -ci / sqr(co + eta_ * ci);
  return {glassTint_ * (p * shade), p};
}

// A thin sheet passes light as it would reflect it, mirrored to the other side (KHR_materials_transmission).
Bsdf::Value Bsdf::sheetValue(Vec3 wi) const {
  if (wi.z >= 0) return {};
  Value v = reflectionValue(wo_, {wi.x, wi.y, -wi.z}, alpha_, Vec3(1.0f), Vec3(1.0f));
  v.f = v.f * glassTint_ * glassScale_;
  return v;
}

void Bsdf::values(Vec3 wi, Values& out) const {
  const Vec3 local = frame_.toLocal(wi);
  const bool above = dot(wi, geometric_) > 0;
  if (above && probability_[coatLobe] > 0 && !mirror_[coatLobe]) {
    const Vec3 onCoat = coatFrame_.toLocal(wi);
    if (onCoat.z > 0) {
      Value& v = out[coatLobe] = reflectionValue(coatWo_, onCoat, coatAlpha_, Vec3(coatF0), Vec3(1.0f));
      v.f *= coatScale_;
      v.pdf *= probability_[coatLobe];
    }
  }
  if (local.z == 0 || above != (local.z > 0)) return;
  if (above)
    valuesAbove(local, out);
  else if (probability_[throughLobe] > 0)
    out[throughLobe] = {through_ * (under_ * -local.z / pi), probability_[throughLobe] * -local.z / pi};
  if (probability_[glassLobe] > 0 && !mirror_[glassLobe]) {
    Value& v = out[glassLobe] = thin_ ? sheetValue(local) : glassValue(local);
    v.f *= under_ * glass_;
    v.pdf *= probability_[glassLobe];
  }
}

void Bsdf::valuesAbove(Vec3 local, Values& out) const {
  if (probability_[sheenLobe] > 0)
    out[sheenLobe] = {sheen_ * (underCoat_ * sheenValue(wo_, local, sheenAlpha_)),
                      probability_[sheenLobe] / (2 * pi)};
  if (probability_[specularLobe] > 0 && !mirror_[specularLobe]) {
    Value& v = out[specularLobe] = reflectionValue(wo_, local, alpha_, f0_, f90_);
    v.f *= specularScale_ * under_;
    v.pdf *= probability_[specularLobe];
  }
  out[diffuseLobe] = {diffuse_ * (under_ * local.z / pi), probability_[diffuseLobe] * local.z / pi};
}

Bsdf::Value Bsdf::total(const Values& values) {
  Value sum;
  for (const Value& one : values)
    sum.f += one.f, sum.pdf += one.pdf;
  return sum;
}

Vec3 Bsdf::evaluate(Vec3 wi, float* pdf) const {
  Values v{};
  values(wi, v);
  const Value sum = total(v);
  *pdf = sum.pdf;
  return sum.f;
}

Vec3 Bsdf::towardsLight(Vec3 wi, float lightPdf) const {
  Values v{};
  values(wi, v);
  if (!separate_ || lightPdf <= 0) {
    const Value sum = total(v);
    return lightPdf <= 0 ? sum.f : sum.f * powerHeuristic(lightPdf, sum.pdf);
  }
  Vec3 sum;
  for (const Value& one : v)
    sum += one.f * powerHeuristic(lightPdf, one.pdf);
  return sum;
}

LobeShares Bsdf::sharesOf(const Values& values, Vec3 wi) const {
  const Vec3 glass = values[glassLobe].f;
  const bool reflected = dot(wi, geometric_) > 0;
  const Vec3 diffuse = values[diffuseLobe].f + values[sheenLobe].f;
  const Vec3 specular = values[coatLobe].f + values[specularLobe].f + (reflected ? glass : Vec3());
  const Vec3 passed = values[throughLobe].f + (reflected ? Vec3() : glass);
  const Vec3 sum = diffuse + specular + passed;
  const auto share = [&sum](Vec3 part, float empty) {
    const auto one = [empty](float a, float b) { return b > 1e-30f ? a / b : empty; };
    return Vec3(one(part.x, sum.x), one(part.y, sum.y), one(part.z, sum.z));
  };
  return {share(diffuse, 1), share(specular, 0), share(passed, 0)};
}

LobeShares Bsdf::shares(Vec3 wi, float lightPdf) const {
  Values v{};
  values(wi, v);
  if (separate_ && lightPdf > 0)
    for (Value& one : v)
      one.f *= powerHeuristic(lightPdf, one.pdf);
  return sharesOf(v, wi);
}

LobeShares Bsdf::shares(const BsdfSample& sample) const {
  Values v{};
  if (sample.delta || separate_)
    v[sample.lobe].f = Vec3(1.0f);
  else
    values(sample.wi, v);
  return sharesOf(v, sample.wi);
}

bool Bsdf::sampleGlass(float choice, Vec2 u, Vec3& wi, Vec3& weight) const {
  const bool mirror = mirror_[glassLobe];
  const Vec3 h = mirror ? Vec3(0, 0, 1) : sampleVisibleNormal(wo_, alpha_, u);
  const float c = dot(wo_, h);
  if (c <= 0) return false;
  float f = fresnel(c, eta_);
  if (!glassReflects_ && f < 1) f = 0;
  if (choice < f) {
    wi = h * (2 * c) - wo_;
    weight = Vec3(under_ * glass_);
    return wi.z > 0;
  }
  const float sin2 = (1 - c * c) / (eta_ * eta_);
  if (sin2 >= 1) return false;
  wi = h * (c / eta_ - std::sqrt(1 - sin2)) - wo_ * (1 / eta_);
  weight = glassTint_ * (under_ * glass_);
  return wi.z < 0;
}

bool Bsdf::sampleSheet(Vec2 u, Vec3& wi, Vec3& weight) const {
  const Vec3 h = mirror_[glassLobe] ? Vec3(0, 0, 1) : sampleVisibleNormal(wo_, alpha_, u);
  wi = h * (2 * dot(wo_, h)) - wo_;
  if (wi.z <= 0) return false;
  wi.z = -wi.z;
  weight = glassTint_ * (under_ * glass_);
  return true;
}

// Samples a local direction of the lobe; `weight` is set for mirror-like lobes only.
bool Bsdf::sampleDirection(Lobe lobe, Vec2 u, Vec3& wi, Vec3& weight, bool& delta) const {
  delta = mirror_[lobe];
  if (lobe == diffuseLobe || lobe == throughLobe) {
    wi = squareToCosineHemisphere(u);
    if (lobe == throughLobe) wi.z = -wi.z;
    return wi.z != 0;
  }
  if (lobe == sheenLobe) {
    const float z = 1 - u.x, r = std::sqrt(std::max(0.0f, 1 - z * z)), angle = 2 * pi * u.y;
    wi = {r * std::cos(angle), r * std::sin(angle), z};
    return z > 0;
  }
  const bool coat = lobe == coatLobe;
  const Vec3 wo = coat ? coatWo_ : wo_;
  const Vec3 h = delta ? Vec3(0, 0, 1) : sampleVisibleNormal(wo, coat ? GgxAlpha(coatAlpha_) : alpha_, u);
  wi = h * (2 * dot(wo, h)) - wo;
  const float s = schlick(wo.z);
  if (coat)
    weight = Vec3((coatF0 * (1 - s) + s) * coatScale_);
  else
    weight = (f0_ * (1 - s) + f90_ * s) * specularScale_ * under_;
  return wi.z > 0;
}

float Bsdf::roughnessOf(Lobe lobe) const {
  if (lobe == coatLobe) return coatRoughness_;
  return lobe == specularLobe || lobe == glassLobe ? roughness_ : 1;
}

BsdfSample Bsdf::sample(float lobeChoice, Vec2 u) const {
  BsdfSample s;
  std::size_t lobe = 0;
  while (lobe + 1 < lobeCount && lobeChoice >= probability_[lobe])
    lobeChoice -= probability_[lobe++];
  const float p = probability_[lobe];
  if (!(p > 0)) return {};
  s.lobe = static_cast<Lobe>(lobe);
  s.roughness = roughnessOf(s.lobe);
  Vec3 wi;
  if (lobe == glassLobe) {
    s.delta = mirror_[glassLobe];
    const bool passed = thin_ ? sampleSheet(u, wi, s.weight)
                              : sampleGlass(std::min(lobeChoice / p, 0.99999994f), u, wi, s.weight);
    if (!passed) return {};
  } else if (!sampleDirection(s.lobe, u, wi, s.weight, s.delta)) {
    return {};
  }
  const Vec3 world = normalize((lobe == coatLobe ? coatFrame_ : frame_).toWorld(wi));
  if ((dot(world, geometric_) > 0) != (wi.z > 0)) return {};
  if (s.delta) {
    s.weight = s.weight * (1 / p);
    s.wi = world;
    return s;
  }
  Values v{};
  values(world, v);
  const Value value = separate_ ? v[lobe] : total(v);
  if (!(value.pdf > 0)) return {};
  s.pdf = value.pdf;
  s.weight = value.f * (1 / s.pdf);
  s.wi = world;
  return s;
}

} // namespace host::render
