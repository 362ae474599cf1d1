// What caches of immutable scene data are keyed by.
#pragma once

#include "texture.h"

namespace host::render {

/// The data's identity, and what was made of it: a mesh, or a texture in one of the colour spaces.
struct CacheKey {
  enum class Kind { mesh, srgbTexture, linearTexture } kind;
  Identity id;

  static CacheKey ofMesh(Identity mesh) { return {Kind::mesh, mesh}; }
  static CacheKey ofTexture(Identity picture, ColorSpace space) {
    return {space == ColorSpace::srgb ? Kind::srgbTexture : Kind::linearTexture, picture};
  }
  friend auto operator<=>(const CacheKey&, const CacheKey&) = default;
};

} // namespace host::render
