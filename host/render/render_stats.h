// Times and counts of a render, for programs that print them. Values, any thread.
#pragma once

#include <cstdint>

namespace host {

/// The scene as it was made ready.
struct BuildCounts {
  std::uint64_t triangles = 0;                     // of all instances
  std::uint32_t meshesBuilt = 0, meshesReused = 0; // acceleration structures of meshes
  std::uint32_t topsBuilt = 0;                     // levels above the instances, for the first ray
  std::uint32_t lightTreesBuilt = 0;
  std::uint32_t texturesDecoded = 0, texturesReused = 0;
};

struct RenderStats : BuildCounts {
  double buildMs = 0;       // from the request until the first ray can be traced, evaluation included
  double firstPixelsMs = 0; // from the request until the first complete coarse picture is in the bitmap
  double renderMs = 0;      // from the request until the end
  std::uint64_t cameraSamples = 0;
  std::uint64_t rays = 0; // of every kind, camera rays among them
};

/// Of the last RenderDocument that returned on the calling thread.
RenderStats lastRenderStats() noexcept;
/// Of the last RenderDocument that returned on any thread.
RenderStats latestRenderStats() noexcept;

namespace render {
void publishStats(const RenderStats& stats) noexcept;
} // namespace render

} // namespace host
