// One picture of the hardware preview, tile by tile. Every call needs the context to be current.
#pragma once

#include <cstdint>
#include <vector>

#include "film_writer.h"
#include "gl_cache.h"
#include "gl_target.h"
#include "gl_tile_state.h"
#include "progress_steps.h"
#include "render_snapshot.h"

namespace host::render {

/// Thrown when a break ends the drawing.
struct GlStopped {};

/// Throws GlError and GlStopped.
class GlDrawing {
 public:
  /// All must outlive it.
  GlDrawing(const GlScene& scene, GlCache& cache, const RenderRequest& request);
  ~GlDrawing();
  GlDrawing(const GlDrawing&) = delete;
  GlDrawing& operator=(const GlDrawing&) = delete;

  struct Uploads {
    std::uint32_t uploaded = 0, reused = 0; // meshes
  };
  /// Brings meshes, textures and programs into the context.
  Uploads upload();
  /// Draws the region; returns the number of samples.
  std::uint64_t draw();

 private:
  std::vector<GlTile> tiles(int side) const;
  void breakTest() const;
  void finish();
  void drawTile(const GlTarget& target, const GlTile& tile);
  void drawSky();
  void drawGroup(const GlDraw& draw);
  void drawTriangles(const GlDraw& draw);
  void commit(const GlTile& tile);

  const GlScene& scene_;
  GlCache& cache_;
  const RenderSettings& settings_;
  const RenderHooks& hooks_;
  FilmWriter film_;
  GlTileState state_;
  ProgressSteps progress_; // in groups and tiles
  std::vector<float> pixels_;
  GLuint sorted_ = 0, empty_ = 0;
  bool reversed_ = false;   // depth from 0 to 1
  std::uint32_t ahead_ = 0; // triangles queued in the driver
};

} // namespace host::render
