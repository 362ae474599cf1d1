#include "render_stats.h"

#include <mutex>

namespace host {
namespace {

thread_local RenderStats ownStats;
std::mutex statsMutex;
RenderStats sharedStats;

} // namespace

RenderStats lastRenderStats() noexcept {
  return ownStats;
}

RenderStats latestRenderStats() noexcept {
  const std::lock_guard lock(statsMutex);
  return sharedStats;
}

void render::publishStats(const RenderStats& stats) noexcept {
  ownStats = stats;
  const std::lock_guard lock(statsMutex);
  sharedStats = stats;
}

} // namespace host
