// Compiled materials: shader trees with decoded textures, and their values at a point. Built once a render,
// read by every worker.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "bsdf.h"
#include "render_settings.h"
#include "sampler.h"
#include "scene_cache.h"
#include "snapshot.h"

namespace host::render {

/// Query for the openness of a point's surroundings; implemented by the scene.
class OcclusionQuery {
 public:
  /// 0 (closed) to 1, over the hemisphere around `normal` as far as `distance`. `position` lies off the
  /// surface. `u` picks the direction. `time` is that of the ray that met the point.
  virtual float openness(Vec3 position, Vec3 normal, float distance, Vec2 u, float time) const = 0;

 protected:
  ~OcclusionQuery() = default;
};

/// The point at which shader trees are evaluated.
struct ShadePoint {
  Vec2 uv[2];
  float footprint[2] = {0, 0}; // width of the seen area in texture coordinates
  Vec3 position, normal;       // a little off the surface; the geometric normal on the viewer's side
  const OcclusionQuery* scene = nullptr;
  Sampler* sampler = nullptr; // null: openness is averaged over fixed directions
  float time = 0;             // of the ray
  // Filtered; single texels where a picture is made smaller; single texels everywhere.
  enum class Texels : std::uint8_t { filtered, someSingle, single } texels = Texels::filtered;
  Vec3 jitter; // of single texels, in the unit cube
};

/// A shader tree.
class CompiledShade {
 public:
  bool constant() const { return kind_ == Kind::constant; }
  bool present() const { return present_; }
  Rgba at(const ShadePoint& point) const { return constant() ? color_ : evaluate(point); }
  /// Approximate mean over the picture, for choosing among lights.
  Rgba mean() const;
  /// The single texture of a bitmap shader; null otherwise.
  const Texture* texture() const { return kind_ == Kind::bitmap ? texture_.get() : nullptr; }
  const TextureUse& use() const { return use_; }
  /// True when the value depends on a set of texture coordinates.
  bool reads(int uvSet) const;

 private:
  friend class MaterialCompiler;
  Rgba weighed(const Rgba& texel) const;
  enum class Kind : std::uint8_t { constant, bitmap, occlusion, stack };
  Rgba evaluate(const ShadePoint& point) const;
  Kind kind_ = Kind::constant;
  bool present_ = false;
  Rgba color_, bias_{0, 0, 0, 0};
  TexturePtr texture_;
  TextureUse use_;
  float footprintScale_ = 1;
  float distance_ = 1;
  Vec3 dark_, bright_;
  ShadeMix mix_ = ShadeMix::normal;
  float amount_ = 1;
  std::vector<CompiledShade> children_;
};

struct CompiledMaterial {
  SurfaceMaterialPtr source; // constants are read from here
  CompiledShade baseColor, metallicRoughness, occlusion, emission, normal, bump, transmission, specular,
      specularColor, clearcoat, clearcoatRoughness, clearcoatNormal, sheenColor, sheenRoughness, anisotropy,
      iridescence, film, diffuseTransmission, diffuseTransmissionColor;
  /// A body of glass, for red, green and blue: the index, and the albedo when entering and when leaving.
  struct Glass {
    float ior = 1.5f;
    std::shared_ptr<const AlbedoTable> front, back;
  };
  std::array<Glass, 3> glass; // with transmission
  bool disperses = false;     // the three differ
  Vec3 absorption;            // inside of a body, per metre
  bool absorbs = false;
  std::array<bool, 2> readsUv{}; // some shader, for each set of texture coordinates
  bool textured = false;         // some shader has a picture
  bool emits = false;
  bool hasAlpha = false; // alpha may let rays through
  bool transmits = false;
};

/// The alpha of a point: 0 or 1 for masks, 1 for opaque materials.
float alphaAt(const CompiledMaterial& material, const ShadePoint& point, float vertexAlpha);
/// All parameters but alpha and normals, with the settings applied. `vertexColor` is linear.
SurfaceLook lookAt(const CompiledMaterial& material, const ShadePoint& point, Vec3 vertexColor,
                   const RenderSettings& settings);

/// Chooses single texels by the point's sampler: at the surface that the camera sees where many samples a
/// pixel filter textures themselves, and beyond. Until the first wide scatter pictures seen from near are
/// filtered: mirrors show them as the eye does.
void chooseTexels(const CompiledMaterial& material, ShadePoint& point, int samples, int bounces,
                  int wideScatters);

/// The share of light that is left after a way through the body, in metres.
Vec3 passedThrough(const CompiledMaterial& material, float distance);
/// Gives the look the glass of one channel: 0 red, 1 green, 2 blue.
void setChannel(SurfaceLook& look, const CompiledMaterial& material, int channel);

/// Compiles materials in two steps: collects the textures to decode, then builds the materials.
class MaterialCompiler {
 public:
  /// The materials of the list for which `used` is true; others stay empty. `colorConfig` as in ViewSettings:
  /// its rules for file names tell the colours of pictures.
  MaterialCompiler(const std::vector<SurfaceMaterialPtr>& materials, const std::vector<bool>& used,
                   std::string colorConfig);
  const std::vector<SceneCache::TextureRequest>& requests() const { return requests_; }
  /// Adds a picture outside of materials (a sky); returns its place among the requests.
  std::size_t request(const PicturePtr& picture, ColorSpace space);
  /// `textures` in the order of the requests; without a texture a shader has its factor as value.
  std::vector<CompiledMaterial> compile(const std::vector<TexturePtr>& textures,
                                        const RenderSettings& settings) const;

 private:
  void collect(const Shade* shade, ColorSpace space);
  CompiledShade make(const Shade* shade, ColorSpace space, const std::vector<TexturePtr>& textures) const;
  const std::vector<SurfaceMaterialPtr>& materials_;
  const std::vector<bool>& used_;
  const std::string colorConfig_;
  std::vector<SceneCache::TextureRequest> requests_;
  std::map<std::pair<Identity, ColorSpace>, std::size_t> places_;
};

} // namespace host::render
