#include "bsdf.h"

#include "ggx.h"

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

Vec3 dielectricF0(const SurfaceLook& look) {
  const float r = (look.ior - 1) / (look.ior + 1);
  const Vec3 f0 = look.specularColor * (r * r);
  return Vec3(std::min(1.0f, f0.x), std::min(1.0f, f0.y), std::min(1.0f, f0.z)) * look.specular;
}

Vec3 squareRoot(Vec3 c) {
  return {std::sqrt(c.x), std::sqrt(c.y), std::sqrt(c.z)};
}

Vec3 divide(Vec3 a, Vec3 b) {
  return {b.x > 1e-6f ? a.x / b.x : 1, b.y > 1e-6f ? a.y / b.y : 1, b.z > 1e-6f ? a.z / b.z : 1};
}

} // namespace

StraightPass straightPass(const SurfaceLook& look, float cosine) {
  if (look.transmission <= 0) return {};
  const float coat =
      look.reflectionOn ? look.clearcoat * Albedo(cosine, look.clearcoatRoughness).full(coatF0, 1) : 0;
  const float reflected =
      look.reflectionOn ? maxComponent(Albedo(cosine, look.roughness).full(dielectricF0(look), look.specular))
                        : 0;
  return {(1 - coat) * (1 - look.metallic) * look.transmission * (1 - reflected), squareRoot(look.baseColor)};
}

Bsdf::Bsdf(const SurfaceLook& look, Vec3 normal, Vec3 geometric, Vec3 wo, bool entering, bool separate)
    : frame_(normal), geometric_(geometric), separate_(separate) {
  wo_ = frame_.toLocal(wo);
  wo_.z = std::max(wo_.z, 1e-4f);
  const float cosine = wo_.z;
  roughness_ = look.roughness;
  alpha_ = alphaOf(roughness_);
  const float metallic = look.reflectionOn ? look.metallic : 0;
  const float glassPart = look.straight ? 0 : look.transmission;

  // The coat takes its share first.
  if (look.reflectionOn && look.clearcoat > 0) {
    coatRoughness_ = look.clearcoatRoughness;
    coatAlpha_ = alphaOf(coatRoughness_);
    const Albedo albedo(cosine, coatRoughness_);
    const float full = albedo.full(coatF0, 1);
    coatScale_ = look.clearcoat * full / std::max(1e-4f, albedo.single(coatF0, 1));
    coat_ = look.clearcoat * full;
    under_ = 1 - coat_;
  }

  // One microfacet reflection serves metal and dielectric, each with its share.
  Vec3 dielectric;
  if (look.reflectionOn) {
    const float plain = (1 - metallic) * (1 - glassPart);
    const Vec3 d0 = dielectricF0(look);
    const Albedo albedo(cosine, roughness_);
    dielectric = albedo.full(d0, look.specular);
    const Vec3 metal = metallic > 0 ? albedo.full(look.baseColor, 1) : Vec3();
    f0_ = d0 * plain + look.baseColor * metallic;
    f90_ = Vec3(look.specular * plain + metallic);
    specularAlbedo_ = dielectric * plain + metal * metallic;
    specularScale_ = divide(specularAlbedo_, f0_ * albedo.base + f90_ * albedo.edge);
  }
  if (look.diffuseOn)
    diffuse_ = look.baseColor * ((1 - metallic) * (1 - look.transmission) * (1 - maxComponent(dielectric)));
  if (glassPart > 0) {
    glass_ = (1 - metallic) * glassPart;
    glassTint_ = squareRoot(look.baseColor); // half at each of the two surfaces of a body
    eta_ = entering ? look.ior : 1 / look.ior;
    glassReflects_ = look.reflectionOn;
    const AlbedoTable* table = entering ? look.glassFront : look.glassBack;
    if (table && glassReflects_) glassScale_ = 1 / std::max(0.05f, table->at(cosine, roughness_));
  }
  setProbabilities();
}

void Bsdf::setProbabilities() {
  mirror_[coatLobe] = coatRoughness_ < mirrorRoughness;
  mirror_[specularLobe] = mirror_[glassLobe] = roughness_ < mirrorRoughness;
  probability_[coatLobe] = coat_;
  probability_[specularLobe] = under_ * maxComponent(specularAlbedo_);
  probability_[diffuseLobe] = under_ * maxComponent(diffuse_);
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

Bsdf::Value Bsdf::reflectionValue(Vec3 wi, float alpha, Vec3 f0, Vec3 f90) const {
  const Vec3 h = normalize(wo_ + wi);
  const float d = ggxD(h, alpha), s = schlick(dot(wo_, h));
  const float lambda = ggxLambda(wo_, alpha);
  const float g2 = 1 / (1 + lambda + ggxLambda(wi, alpha));
  return {(f0 * (1 - s) + f90 * s) * (d * g2 / (4 * wo_.z)), d / ((1 + lambda) * 4 * wo_.z)};
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

void Bsdf::values(Vec3 wi, Values& out) const {
  const Vec3 local = frame_.toLocal(wi);
  const bool above = dot(wi, geometric_) > 0;
  if (local.z == 0 || above != (local.z > 0)) return;
  if (above) {
    if (probability_[coatLobe] > 0 && !mirror_[coatLobe]) {
      Value& v = out[coatLobe] = reflectionValue(local, coatAlpha_, Vec3(coatF0), Vec3(1.0f));
      v.f *= coatScale_;
      v.pdf *= probability_[coatLobe];
    }
    if (probability_[specularLobe] > 0 && !mirror_[specularLobe]) {
      Value& v = out[specularLobe] = reflectionValue(local, alpha_, f0_, f90_);
      v.f *= specularScale_ * under_;
      v.pdf *= probability_[specularLobe];
    }
    out[diffuseLobe] = {diffuse_ * (under_ * local.z / pi), probability_[diffuseLobe] * local.z / pi};
  }
  if (probability_[glassLobe] > 0 && !mirror_[glassLobe]) {
    Value& v = out[glassLobe] = glassValue(local);
    v.f *= under_ * glass_;
    v.pdf *= probability_[glassLobe];
  }
}

Vec3 Bsdf::evaluate(Vec3 wi, float* pdf) const {
  Values v{};
  values(wi, v);
  *pdf = v[0].pdf + v[1].pdf + v[2].pdf + v[3].pdf;
  return v[0].f + v[1].f + v[2].f + v[3].f;
}

Vec3 Bsdf::towardsLight(Vec3 wi, float lightPdf) const {
  Values v{};
  values(wi, v);
  if (lightPdf <= 0) return v[0].f + v[1].f + v[2].f + v[3].f;
  if (!separate_)
    return (v[0].f + v[1].f + v[2].f + v[3].f) *
           powerHeuristic(lightPdf, v[0].pdf + v[1].pdf + v[2].pdf + v[3].pdf);
  Vec3 sum;
  for (const Value& one : v)
    sum += one.f * powerHeuristic(lightPdf, one.pdf);
  return sum;
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

// Samples a local direction of the lobe; `weight` is set for mirror-like lobes only.
bool Bsdf::sampleDirection(Lobe lobe, Vec2 u, Vec3& wi, Vec3& weight, bool& delta) const {
  delta = mirror_[lobe];
  if (lobe == diffuseLobe) {
    wi = squareToCosineHemisphere(u);
    return wi.z > 0;
  }
  const float alpha = lobe == coatLobe ? coatAlpha_ : alpha_;
  const Vec3 h = delta ? Vec3(0, 0, 1) : sampleVisibleNormal(wo_, alpha, u);
  wi = h * (2 * dot(wo_, h)) - wo_;
  const float s = schlick(wo_.z);
  if (lobe == coatLobe)
    weight = Vec3((coatF0 * (1 - s) + s) * coatScale_);
  else
    weight = (f0_ * (1 - s) + f90_ * s) * specularScale_ * under_;
  return wi.z > 0;
}

BsdfSample Bsdf::sample(float lobeChoice, Vec2 u) const {
  BsdfSample s;
  std::size_t lobe = 0;
  while (lobe + 1 < lobeCount && lobeChoice >= probability_[lobe])
    lobeChoice -= probability_[lobe++];
  const float p = probability_[lobe];
  if (!(p > 0)) return {};
  s.lobe = static_cast<Lobe>(lobe);
  s.roughness = lobe == diffuseLobe ? 1 : (lobe == coatLobe ? coatRoughness_ : roughness_);
  Vec3 wi;
  if (lobe == glassLobe) {
    s.delta = mirror_[glassLobe];
    if (!sampleGlass(std::min(lobeChoice / p, 0.99999994f), u, wi, s.weight)) return {};
  } else if (!sampleDirection(s.lobe, u, wi, s.weight, s.delta)) {
    return {};
  }
  const Vec3 world = normalize(frame_.toWorld(wi));
  if ((dot(world, geometric_) > 0) != (wi.z > 0)) return {};
  if (s.delta) {
    s.weight = s.weight * (1 / p);
    s.wi = world;
    return s;
  }
  Values v{};
  values(world, v);
  const Vec3 f = separate_ ? v[lobe].f : v[0].f + v[1].f + v[2].f + v[3].f;
  s.pdf = separate_ ? v[lobe].pdf : v[0].pdf + v[1].pdf + v[2].pdf + v[3].pdf;
  if (!(s.pdf > 0)) return {};
  s.weight = f * (1 / s.pdf);
  s.wi = world;
  return s;
}

} // namespace host::render
