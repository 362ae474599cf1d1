// What a render cost, for programs that print it. Values, any thread.
#pragma once

#include <cstdint>

namespace host {

struct RenderStats {
  double build_ms = 0;        // from the request until the first ray could be shot, evaluation included
  double first_pixels_ms = 0; // from the request until the first complete coarse picture was in the bitmap
  double render_ms = 0;       // from the request until the end
  std::uint64_t camera_samples = 0;
  std::uint64_t rays = 0;                            // of every kind, camera rays among them
  std::uint64_t triangles = 0;                       // of all instances
  std::uint32_t meshes_built = 0, meshes_reused = 0; // acceleration structures of meshes
  std::uint32_t textures_decoded = 0, textures_reused = 0;
};

/// Of the last RenderDocument that returned on the calling thread.
RenderStats lastRenderStats() noexcept;
/// Of the last RenderDocument that returned on any thread.
RenderStats latestRenderStats() noexcept;

namespace render {
void publishStats(const RenderStats& stats) noexcept;
} // namespace render

} // namespace host
