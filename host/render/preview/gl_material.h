// From a material to the program that draws it: shader trees become program text, their values uniforms, so
// that materials of one shape share a program. Any thread, no context needed.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "render_settings.h"
#include "texture.h"

namespace host::render {

/// The most lights that the programs sum up.
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
  bool blended = false;              // lets through what is behind it
  bool oneSided = false;             // its backs are not drawn
};

/// Gives the decoded picture; null when it is not there.
using FindTexture = std::function<TexturePtr(const PicturePtr&, ColorSpace)>;

/// `units`: texture units that the driver has. Pictures beyond them stand as their mean. Openness shaders
/// give their bright colour.
GlMaterial makeGlMaterial(const SurfaceMaterial& material, const RenderSettings& settings, int units,
                          const FindTexture& find);

/// The vertex program of every material, and the two of the sky behind everything.
std::string surfaceVertexSource();
std::string skyVertexSource();
std::string skyFragmentSource();

} // namespace host::render
