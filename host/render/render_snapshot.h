// Renders a snapshot into a bitmap: the renderer's inner entry, below documents and video posts.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "c4d_bitmap.h"
#include "film_samples.h"
#include "render_settings.h"
#include "render_stats.h"
#include "snapshot.h"
#include "stopwatch.h"

namespace host::render {

/// Calls out of a running render. Every function may be empty. All but `stopped` are called one at a time,
/// from the caller's thread or a worker, and never after the render has returned.
struct RenderHooks {
  std::function<bool()> stopped;                // asked often and from every worker
  std::function<void(double)> progress;         // 0 to 1, never falling
  std::function<void(double)> noise;            // a new measure, see `RenderProgress`
  std::function<void()> visible;                // the first picture of the whole region is complete; once
  std::function<void()> beginPasses, endPasses; // around all drawing
  std::function<void()> beginTile, endTile;     // around the writing of a tile into the bitmap
};

struct RenderRequest {
  SnapshotPtr snapshot;
  RenderSettings settings;
  BaseBitmap* bitmap = nullptr; // not null; `settings.region` lies inside it
  RenderHooks hooks{};
  Stopwatch since{};        // the request, for the statistics
  FilmSamplesPtr samples{}; // to go on from; null: begins anew. The settings count their number as well
  int level = 0;            // samples a pixel that those have
};

enum class RenderOutcome {
  finished,
  assetMissing, // finished; a material is shown without a picture that is absent or does not decode
  stopped,
  outOfMemory,
  refused, // nothing was drawn: the render cannot go on from the samples of the bitmap's film
};
/// The outcome as RenderDocument returns it.
RENDERRESULT interfaceResult(RenderOutcome outcome);

struct RenderReport {
  RenderOutcome outcome = RenderOutcome::finished;
  RenderStats stats;
  std::vector<std::string> problems; // sentences for the user
  std::string refusal{};             // the reason, such as "it holds no samples ... Render it with ... first"
};

/// Draws the region of the settings, refining in place: blocks of 8, then of 4 pixels, then whole passes of
/// 1, 1, 2, 4... samples a pixel. Pixels outside the region are neither drawn nor computed. The float film is
/// kept with the bitmap.
RenderReport renderSnapshot(const RenderRequest& request);

} // namespace host::render
