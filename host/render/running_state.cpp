#include "running_state.h"

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace host {
namespace {

std::array<std::atomic<int>, CHECKISRUNNING_MATERIALPREVIEWRUNNING + 1> running{};

std::atomic<int>* counter(CHECKISRUNNING activity) noexcept {
  const auto i = static_cast<std::size_t>(activity);
  return i < running.size() ? &running[i] : nullptr;
}

struct Background {
  std::mutex mutex;
  std::condition_variable ended;
  std::list<std::function<void()>> renders;
};
Background& background() {
  static Background state;
  return state;
}

} // namespace

RunningScope::RunningScope(CHECKISRUNNING activity) noexcept : activity_(activity) {
  if (auto* count = counter(activity_)) ++*count;
}
RunningScope::~RunningScope() {
  if (auto* count = counter(activity_)) --*count;
}

BackgroundRender::BackgroundRender(std::function<void()> askToEnd) {
  Background& b = background();
  const std::lock_guard lock(b.mutex);
  place_ = b.renders.insert(b.renders.end(), std::move(askToEnd));
}
BackgroundRender::~BackgroundRender() {
  Background& b = background();
  const std::lock_guard lock(b.mutex);
  b.renders.erase(place_);
  b.ended.notify_all();
}

} // namespace host

Bool CheckIsRunning(CHECKISRUNNING activity) {
  const auto* count = host::counter(activity);
  return count && *count > 0;
}

Bool GeStopBackgroundThreads(LONG timeout, LONG) {
  host::Background& b = host::background();
  std::unique_lock lock(b.mutex);
  for (const auto& askToEnd : b.renders)
    askToEnd();
  return b.ended.wait_for(lock, std::chrono::milliseconds(timeout > 0 ? timeout : 0),
                          [&] { return b.renders.empty(); });
}
