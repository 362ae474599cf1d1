// The sheen of cloth: Estevez and Kulla 2017, "Production Friendly Microfacet Sheen BRDF", with the
// parameters of KHR_materials_sheen. Directions are in the surface's frame, the normal is +z. Any thread.
#pragma once

#include "vecmath.h"

namespace host::render {

/// Fibres narrower than this would need more samples than any picture takes.
inline float sheenAlpha(float roughness) {
  return std::max(0.01f, roughness * roughness);
}

/// Density of microfacet normals at a half vector with this z.
inline float sheenD(float z, float alpha) {
  const float power = 1 / alpha, sin2 = std::max(1e-7f, 1 - z * z);
  return (2 + power) * std::pow(sin2, 0.5f * power) / (2 * pi);
}

/// The paper's fit of the masking term.
inline float sheenLambda(float cosine, float alpha) {
  const float t = sqr(1 - alpha);
  const auto fit = [t](float x) {
    const float a = lerp(21.5473f, 25.3245f, t), b = lerp(3.82987f, 3.32435f, t);
    const float c = lerp(0.19823f, 0.16801f, t), d = lerp(-1.97760f, -1.27393f, t);
    const float e = lerp(-4.32054f, -4.85967f, t);
    return a / (1 + b * std::pow(x, c)) + d * x + e;
  };
  return cosine < 0.5f ? std::exp(fit(std::max(1e-4f, cosine)))
                       : std::exp(2 * fit(0.5f) - fit(std::max(1e-4f, 1 - cosine)));
}

/// The value times the cosine of `wi`, for white; both directions above the surface.
inline float sheenValue(Vec3 wo, Vec3 wi, float alpha) {
  const Vec3 h = normalize(wo + wi);
  const float shade = 1 / (1 + sheenLambda(wo.z, alpha) + sheenLambda(wi.z, alpha));
  return sheenD(h.z, alpha) * shade / (4 * wo.z);
}

} // namespace host::render
