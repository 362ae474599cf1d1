// Scattering at a surface: a clear coat over sheen, over a microfacet reflection, over diffuse reflection and
// transmission or refracting glass, which is a solid body or a thin sheet. Lobes are scaled so that a white
// surface of any roughness returns all light. Any thread.
#pragma once

#include <array>
#include <cstdint>

#include "albedo_tables.h"
#include "ggx.h"
#include "vecmath.h"

namespace host::render {

enum Lobe : std::uint8_t {
  coatLobe,
  sheenLobe,
  specularLobe,
  diffuseLobe,
  throughLobe, // diffuse transmission
  glassLobe,
  lobeCount
};

/// The parameters of a material at one point.
struct SurfaceLook {
  Vec3 baseColor{1, 1, 1};
  float metallic = 0, roughness = 1;
  float transmission = 0, ior = 1.5f;
  float specular = 1;
  Vec3 specularColor{1, 1, 1};
  float clearcoat = 0, clearcoatRoughness = 0;
  Vec3 sheenColor;
  float sheenRoughness = 0;
  float anisotropy = 0;                                   // 0 to 1, along the tangent
  float iridescence = 0, iridescenceIor = 1.3f, film = 0; // film: nanometres
  float diffuseTransmission = 0;
  Vec3 diffuseTransmissionColor{1, 1, 1};
  bool thin = true; // transmission is that of a thin sheet: it bends no light
  bool diffuseOn = true, reflectionOn = true;
  /// Transmission passes straight through and is handled before scattering (`straightPass`).
  bool straight = false;
  const AlbedoTable* glassFront = nullptr; // for `ior`, entering and leaving; required with a body
  const AlbedoTable* glassBack = nullptr;
};

/// Directions at a surface: unit vectors on the side of the viewer. `normal` is the shading normal and
/// `geometric` the surface's. The tangent is the direction of anisotropy (null: none); the coat has a normal
/// of its own (null: the shading normal).
struct SurfaceAxes {
  Vec3 normal, geometric, tangent{}, coatNormal{};
};

/// Shares of light by the kind of lobe that scatters it; the sum is 1 in every channel. Sheen counts as
/// diffuse, coats and the mirror image in glass as specular, diffuse transmission as transmission.
struct LobeShares {
  Vec3 diffuse{1, 1, 1}, specular{}, transmission{};
};

struct BsdfSample {
  Vec3 wi;       // unit, world
  Vec3 weight;   // value times cosine over density; zero when nothing was sampled
  float pdf = 0; // 0 for a mirror-like lobe
  float roughness = 0;
  Lobe lobe = diffuseLobe;
  bool delta = false;
};

/// Below this roughness a lobe is a perfect mirror.
inline constexpr float mirrorRoughness = 0.03f;

class Bsdf {
 public:
  /// `wo` is a unit vector towards the viewer. `entering`: the viewer is outside. `separate` weighs every
  /// lobe on its own, for callers that treat lobes differently.
  Bsdf(const SurfaceLook& look, const SurfaceAxes& axes, Vec3 wo, bool entering, bool separate);

  /// Value times |cosine| of the lobes that are not mirror-like, for a light sampled in direction `wi` with
  /// density `lightPdf`, weighed against `sample` by the power heuristic. `lightPdf` 0: only the light sample
  /// can find the light, weight 1.
  Vec3 towardsLight(Vec3 wi, float lightPdf) const;
  /// Value times |cosine| of all lobes that are not mirror-like, and the density of `sample`.
  Vec3 evaluate(Vec3 wi, float* pdf) const;
  BsdfSample sample(float lobeChoice, Vec2 u) const;
  /// Shares of the lobes in the value of `towardsLight`.
  LobeShares shares(Vec3 wi, float lightPdf) const;
  /// Shares of the lobes in the weight of a sample.
  LobeShares shares(const BsdfSample& sample) const;

  /// True when lights can be sampled: a lobe is not mirror-like.
  bool hasSmoothPart() const { return smooth_; }

 private:
  struct Value {
    Vec3 f; // times |cosine|
    float pdf = 0;
  };
  using Values = std::array<Value, lobeCount>;
  void values(Vec3 wi, Values& out) const;
  void valuesAbove(Vec3 local, Values& out) const;
  static Value reflectionValue(Vec3 wo, Vec3 wi, GgxAlpha alpha, Vec3 f0, Vec3 f90);
  static Value total(const Values& values);
  LobeShares sharesOf(const Values& values, Vec3 wi) const;
  Value glassValue(Vec3 wi) const;
  Value sheetValue(Vec3 wi) const;
  bool sampleDirection(Lobe lobe, Vec2 u, Vec3& wi, Vec3& weight, bool& delta) const;
  bool sampleGlass(float choice, Vec2 u, Vec3& wi, Vec3& weight) const;
  bool sampleSheet(Vec2 u, Vec3& wi, Vec3& weight) const;
  void setGlass(const SurfaceLook& look, float share, bool entering);
  void setCoat(const SurfaceLook& look, const SurfaceAxes& axes, Vec3 wo);
  void setSheen(const SurfaceLook& look);
  Vec3 setSpecular(const SurfaceLook& look, float bodyPart);
  float evenRoughness() const;
  float roughnessOf(Lobe lobe) const;
  void setProbabilities();

  Frame frame_, coatFrame_;
  Vec3 geometric_, wo_, coatWo_; // the latter two are local
  float coat_ = 0, coatAlpha_ = 0, coatScale_ = 1;
  float sheenAlpha_ = 1;
  Vec3 sheen_; // scaled; `sheenAlbedo_` is the share of light that it reflects
  Vec3 sheenAlbedo_;
  Vec3 f0_, f90_, specularScale_{1, 1, 1}, specularAlbedo_;
  GgxAlpha alpha_ = 1;
  float roughness_ = 1, coatRoughness_ = 0;
  float underCoat_ = 1, under_ = 1; // under_: below coat and sheen
  Vec3 diffuse_, through_, glassTint_;
  float glass_ = 0, eta_ = 1, glassScale_ = 1;
  bool glassReflects_ = true, thin_ = false, separate_ = false, smooth_ = false;
  std::array<float, lobeCount> probability_{};
  std::array<bool, lobeCount> mirror_{};
};

/// Light that passes straight through a surface.
struct StraightPass {
  float share = 0; // a probability
  Vec3 tint;       // factor of its colour
};
/// For `SurfaceLook::straight`. `cosine`: of the ray and the normal.
StraightPass straightPass(const SurfaceLook& look, float cosine);

/// The weight of a sample with density `own` where another way has density `other` (power heuristic, Veach
/// 1997).
inline float powerHeuristic(float own, float other) {
  if (!(own < 1e15f)) return 1;
  return own * own / (own * own + other * other);
}

} // namespace host::render
