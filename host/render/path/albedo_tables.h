// Tables of the single-scattering albedo of rough surfaces. The difference to 1 is light that bounces between
// facets; lobes are scaled to restore it (Turquin 2019, "Practical multiple scattering compensation for
// microfacet models"). Any thread.
#pragma once

#include <memory>
#include <vector>

#include "vecmath.h"

namespace host::render {

/// A table over the cosine of the viewing direction and the roughness, both 0 to 1.
class AlbedoTable {
 public:
  static constexpr int size = 32;
  template <class Value>
  explicit AlbedoTable(Value&& value) {
    for (int r = 0; r < size; ++r)
      for (int c = 0; c < size; ++c)
        values_[r * size + c] = value(std::max(1e-3f, sqr(static_cast<float>(c) / (size - 1))),
                                      static_cast<float>(r) / (size - 1));
  }
  /// Bilinear; cells are narrower at grazing directions.
  float at(float cosine, float roughness) const {
    const float x = std::sqrt(clamp01(cosine)) * (size - 1), y = clamp01(roughness) * (size - 1);
    const int ix = std::min(static_cast<int>(x), size - 2), iy = std::min(static_cast<int>(y), size - 2);
    const float tx = x - static_cast<float>(ix), ty = y - static_cast<float>(iy);
    const float* p = values_ + iy * size + ix;
    return lerp(lerp(p[0], p[1], tx), lerp(p[size], p[size + 1], tx), ty);
  }

 private:
  float values_[size * size];
};

/// Reflection: albedo = F0 * base + F90 * edge, for Schlick's Fresnel term between F0 and F90.
struct ReflectionAlbedo {
  AlbedoTable base, edge;
};
const ReflectionAlbedo& reflectionAlbedo();

/// Sheen of white cloth, over the roughness of KHR_materials_sheen.
const AlbedoTable& sheenAlbedo();

/// Reflection and refraction together, for one relative index of refraction (behind over front).
std::shared_ptr<const AlbedoTable> glassAlbedo(float eta);

} // namespace host::render
