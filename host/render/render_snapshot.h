// Renders a snapshot into a bitmap: the renderer's inner entry, below documents and video posts.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "c4d_bitmap.h"
#include "render_settings.h"
#include "render_stats.h"
#include "snapshot.h"

namespace host::render {

using SteadyTime = std::chrono::steady_clock::time_point;

/// What a render tells while it runs. Every function may be empty. All but `stopped` are called one at a
/// time, from the caller's thread or a worker, and never after the render has returned.
struct RenderHooks {
  std::function<bool()> stopped;                // asked often and from every worker
  std::function<void(double)> progress;         // 0 to 1, never falling
  std::function<void()> beginPasses, endPasses; // around all that is drawn
  std::function<void()> beginTile, endTile;     // around the writing of a tile into the bitmap
};

/// Draws the region of the settings, refining in place: blocks of 8, then of 4 pixels, then whole passes
/// of 1, 1, 2, 4... samples a pixel. Pixels outside the region are neither drawn nor computed. The float film
/// is kept with the bitmap. The result is 0, 1, 2 (a picture that a material needs is not there or does not
/// decode: the material is shown without it) or 6. `problems` gets sentences for the user. `started` is the
/// time of the request, for the statistics.
RENDERRESULT renderSnapshot(const SnapshotPtr& snapshot, const RenderSettings& settings, BaseBitmap& bitmap,
                            const RenderHooks& hooks, RenderStats& stats, std::vector<std::string>& problems,
                            SteadyTime started = std::chrono::steady_clock::now());

} // namespace host::render
