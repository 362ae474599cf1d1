// Programs, uniforms and textures for the draws of one tile. Every call needs the context to be current.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "gl_cache.h"
#include "gl_scene.h"

namespace host::render {

/// A tile of a picture, in pixels.
struct GlTile {
  int left, top, width, height;
};

class GlTileState {
 public:
  /// Of a picture of this size. The scene and the cache must outlive it.
  GlTileState(const GlScene& scene, GlCache& cache, int width, int height);
  ~GlTileState();
  GlTileState(const GlTileState&) = delete;
  GlTileState& operator=(const GlTileState&) = delete;

  /// `reversed`: the driver's depth runs from 0 to 1, else from -1 to 1.
  void begin(const GlTile& tile, bool reversed);

  /// The program of the material's surfaces, compiled at its first use.
  GlProgram& surfaceProgram(const GlMaterial& material);
  /// Binds the sky's program, for a triangle over the whole tile.
  void useSky();
  /// Binds the program of the draw's material, with its uniforms and textures.
  void useSurface(const GlDraw& draw);
  /// True when the draw's bounds lie outside the tile.
  bool outside(const GlDraw& draw) const;

 private:
  void bind(int unit, GLuint texture, GLuint sampler) const;
  void setSky(GlProgram& program);
  void setTile(GlProgram& program);
  void setMaterial(GlProgram& program, const GlMaterial& material);

  const GlScene& scene_;
  GlCache& cache_;
  const int width_, height_; // of the picture
  const std::string vertexSource_;
  Vec2 scale_, offset_; // from the picture's -1..1 to the tile's
  std::array<float, 16> clip_{};
  std::vector<GLuint> ready_; // programs whose uniforms are those of this tile
};

} // namespace host::render
