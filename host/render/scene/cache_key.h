// Key of the caches of immutable scene data.
#pragma once

#include "texture.h"

namespace host::render {

/// Identity of the source data and the kind of the cached product: a mesh, its tangents for a
/// set of texture coordinates, or a texture in a colour space and read by a rule (may be null).
struct CacheKey {
  enum class Kind { mesh, tangents, secondTangents, srgbTexture, linearTexture } kind;
  Identity id;
  const InputColors* colors = nullptr;

  static CacheKey ofMesh(Identity mesh) { return {Kind::mesh, mesh}; }
  static CacheKey ofTangents(Identity mesh, std::size_t set) {
    return {set == 0 ? Kind::tangents : Kind::secondTangents, mesh};
  }
  static CacheKey ofTexture(Identity picture, ColorSpace space, const InputColors* colors) {
    return {space == ColorSpace::srgb ? Kind::srgbTexture : Kind::linearTexture, picture, colors};
  }
  friend auto operator<=>(const CacheKey&, const CacheKey&) = default;
};

} // namespace host::render
