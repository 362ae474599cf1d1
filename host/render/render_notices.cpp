#include "render_notices.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <vector>

namespace host::render {

namespace {

// Read-locked during calls, so that a watcher is not removed while it is called.
struct Watchers {
  std::shared_mutex mutex;
  std::vector<RenderWatcher*> list;
};

Watchers& watchers() {
  static auto* const all = new Watchers;
  return *all;
}

} // namespace

void addRenderWatcher(RenderWatcher* watcher) {
  const std::unique_lock lock(watchers().mutex);
  watchers().list.push_back(watcher);
}

void removeRenderWatcher(RenderWatcher* watcher) {
  const std::unique_lock lock(watchers().mutex);
  std::erase(watchers().list, watcher);
}

std::uint64_t newRenderId() noexcept {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

void tellRenderStarted(const RenderNotice& notice) {
  const std::shared_lock lock(watchers().mutex);
  for (RenderWatcher* watcher : watchers().list)
    watcher->renderStarted(notice);
}

void tellRenderVisible(const RenderNotice& notice) {
  const std::shared_lock lock(watchers().mutex);
  for (RenderWatcher* watcher : watchers().list)
    watcher->renderVisible(notice);
}

void tellRenderProgressed(const RenderProgress& progress) {
  const std::shared_lock lock(watchers().mutex);
  for (RenderWatcher* watcher : watchers().list)
    watcher->renderProgressed(progress);
}

void tellRenderEnded(const RenderNotice& notice) {
  const std::shared_lock lock(watchers().mutex);
  for (RenderWatcher* watcher : watchers().list)
    watcher->renderEnded(notice);
}

} // namespace host::render
