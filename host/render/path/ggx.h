// The GGX microfacet distribution with Smith's masking and shadowing, height-correlated. Directions are in
// the surface's frame, the normal is +z. alpha is roughness squared, along x and along y. Walter et al. 2007,
// Heitz 2014.
#pragma once

#include "vecmath.h"

namespace host::render {

struct GgxAlpha {
  float x = 1, y = 1;
  GgxAlpha(float both) : x(both), y(both) {}
  GgxAlpha(float ax, float ay) : x(ax), y(ay) {}
};

/// Density of microfacet normals.
inline float ggxD(Vec3 h, GgxAlpha alpha) {
  const float a2 = alpha.x * alpha.y;
  float across = h.x * h.x + h.y * h.y;
  if (alpha.x != alpha.y) across = h.x * h.x * (alpha.y / alpha.x) + h.y * h.y * (alpha.x / alpha.y);
  const float d = across + h.z * h.z * a2;
  return a2 / (pi * d * d); // equals a2 / (pi ((a2 - 1) cos^2 + 1)^2) for a unit h where both are the same
}

inline float ggxLambda(Vec3 w, GgxAlpha alpha) {
  const float z2 = w.z * w.z;
  if (z2 <= 0) return 1e9f;
  return 0.5f * (std::sqrt(1 + (sqr(alpha.x * w.x) + sqr(alpha.y * w.y)) / z2) - 1);
}
inline float ggxG1(Vec3 w, GgxAlpha alpha) {
  return 1 / (1 + ggxLambda(w, alpha));
}
inline float ggxG2(Vec3 a, Vec3 b, GgxAlpha alpha) {
  return 1 / (1 + ggxLambda(a, alpha) + ggxLambda(b, alpha));
}

/// Samples a microfacet normal visible from `w` (above the surface): Dupuy and Benyoub 2023, "Sampling
/// Visible GGX Normals with Spherical Caps".
inline Vec3 sampleVisibleNormal(Vec3 w, GgxAlpha alpha, Vec2 u) {
  const Vec3 stretched = normalize({w.x * alpha.x, w.y * alpha.y, w.z});
  const float angle = 2 * pi * u.x;
  const float z = (1 - u.y) * (1 + stretched.z) - stretched.z;
  const float r = std::sqrt(std::max(0.0f, 1 - z * z));
  const Vec3 h = Vec3(r * std::cos(angle), r * std::sin(angle), z) + stretched;
  return normalize({h.x * alpha.x, h.y * alpha.y, std::max(1e-6f, h.z)});
}
/// Density of sampleVisibleNormal for a normal `h` with dot(w, h) > 0.
inline float visibleNormalPdf(Vec3 w, Vec3 h, GgxAlpha alpha) {
  return ggxD(h, alpha) * ggxG1(w, alpha) * std::max(0.0f, dot(w, h)) / w.z;
}

/// Schlick's weight (1 - cos)^5.
inline float schlick(float cosine) {
  const float m = clamp01(1 - cosine), m2 = m * m;
  return m2 * m2 * m;
}

/// Fresnel reflectance of a dielectric boundary at `cosine` (positive); `eta` is the index behind over the
/// index in front. 1 at total reflection.
inline float fresnel(float cosine, float eta) {
  const float sin2 = (1 - cosine * cosine) / (eta * eta);
  if (sin2 >= 1) return 1;
  const float behind = std::sqrt(1 - sin2);
  const float parallel = (eta * cosine - behind) / (eta * cosine + behind);
  const float perpendicular = (cosine - eta * behind) / (cosine + eta * behind);
  return 0.5f * (parallel * parallel + perpendicular * perpendicular);
}

} // namespace host::render
