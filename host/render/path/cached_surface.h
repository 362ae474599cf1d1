// Surfaces as the radiance cache sees them. Any thread.
#pragma once

#include "bsdf.h"

namespace host::render {

/// Whether light that the surface sends on is much the same in all directions.
inline bool looksAlikeFromAllSides(const SurfaceLook& look) {
  constexpr float smoothMetal = 0.4f; // roughness
  const bool mirrors = look.metallic > 0.5f && look.roughness < smoothMetal;
  return look.diffuseOn && !mirrors && look.transmission <= 0 && look.diffuseTransmission <= 0;
}

/// An estimate of the share of light that is sent on, at least 0.02. It tells dark places of a texture from
/// bright ones.
inline Vec3 reflectanceOf(const SurfaceLook& look) {
  constexpr float mirrored = 0.04f; // of surfaces that are no metals
  const Vec3 plain = look.baseColor * (1 - mirrored) + Vec3(mirrored);
  return highest(lerp(plain, look.baseColor, look.metallic), Vec3(0.02f));
}

} // namespace host::render
