#include "render_snapshot.h"

#include <new>
#include <system_error>

#include "hardware_preview.h"
#include "refinement.h"
#include "worker_threads.h"

namespace host::render {
namespace {

double sinceMs(SteadyTime start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

RENDERRESULT draw(const SnapshotPtr& snapshot, const RenderSettings& settings, BaseBitmap& bitmap,
                  const RenderHooks& hooks, RenderStats& stats, std::vector<std::string>& problems,
                  SteadyTime started) {
  for (const std::string& name : snapshot->missingAssets)
    problems.push_back("The picture \"" + name + "\" is missing. Materials are shown without it.");
  const bool missing = !problems.empty();
  problems.insert(problems.end(), snapshot->problems.begin(), snapshot->problems.end());
  std::vector<std::string> undecoded;
  if (settings.hardware) {
    const auto drawn = drawHardwarePreview(snapshot, settings, bitmap, hooks, stats, undecoded, started);
    if (drawn) {
      problems.insert(problems.end(), undecoded.begin(), undecoded.end());
      return *drawn == RENDERRESULT_OK && (missing || !undecoded.empty()) ? RENDERRESULT_ASSETMISSING
                                                                          : *drawn;
    }
    undecoded.clear();
  }
  const auto scene = RayScene::build(snapshot, settings, workerCount(), hooks.stopped, stats, undecoded);
  problems.insert(problems.end(), undecoded.begin(), undecoded.end());
  stats.build_ms = sinceMs(started);
  if (!scene) return RENDERRESULT_USERBREAK;
  Refinement refinement(*scene, settings, bitmap, hooks, stats, started);
  if (hooks.beginPasses) hooks.beginPasses();
  const bool whole = refinement.run();
  if (hooks.endPasses) hooks.endPasses();
  if (!whole) return RENDERRESULT_USERBREAK;
  return missing || !undecoded.empty() ? RENDERRESULT_ASSETMISSING : RENDERRESULT_OK;
}

} // namespace

RENDERRESULT renderSnapshot(const SnapshotPtr& snapshot, const RenderSettings& settings, BaseBitmap& bitmap,
                            const RenderHooks& hooks, RenderStats& stats, std::vector<std::string>& problems,
                            SteadyTime started) {
  RENDERRESULT result = RENDERRESULT_OK;
  try {
    if (!settings.region.empty()) result = draw(snapshot, settings, bitmap, hooks, stats, problems, started);
  } catch (const std::bad_alloc&) {
    problems.push_back(
        "Not enough memory to render this scene. A smaller picture or fewer objects need less.");
    result = RENDERRESULT_OUTOFMEMORY;
  } catch (const std::exception& e) {
    problems.push_back(std::string("The system gave no means to render (") + e.what() + "). Try again.");
    result = RENDERRESULT_OUTOFMEMORY;
  }
  stats.render_ms = sinceMs(started);
  return result;
}

} // namespace host::render
