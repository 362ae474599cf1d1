// Programs of materials: shader trees become program text and their values uniforms, so that materials of one
// shape share a program. Any thread; needs no context.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "render_settings.h"
#include "texture.h"

namespace host::render {

/// Limit of the lights in the programs.
inline constexpr int mostGlLights = 32;
/// Texture units before those of the materials: sky and albedo.
inline constexpr int skyUnit = 0, albedoUnit = 1, firstMaterialUnit = 2;

struct GlMaterial {
  struct Slot {
    Identity picture = 0;
    TexturePtr texture;
    TextureUse use;
  };
  std::string fragment;              // program text
  std::vector<Float4> constants;     // uShade
  std::vector<Slot> textures;        // uTexture0...; each on unit firstMaterialUnit + its place
  std::array<Float4, 6> values{};    // uMaterial
  std::array<std::int32_t, 4> how{}; // uHow: alpha mode, diffuse, reflection, unlit
  bool blended = false;              // shows surfaces behind it
  bool oneSided = false;             // its backs are not drawn
};

/// Returns the decoded picture; null when it is missing.
using FindTexture = std::function<TexturePtr(const PicturePtr&, ColorSpace)>;

/// `units`: texture units of the driver. Pictures beyond them are replaced by their mean colour. Ambient
/// occlusion shaders have their bright colour.
GlMaterial makeGlMaterial(const SurfaceMaterial& material, const RenderSettings& settings, int units,
                          const FindTexture& find);

/// The vertex program of all materials, and the programs of the sky.
std::string surfaceVertexSource();
std::string skyVertexSource();
std::string skyFragmentSource();

} // namespace host::render
