// Threads for the renderer's work: the host's own, at lower priority, kept between renders.
#pragma once

#include <functional>

namespace host {

/// Runs `work(0)` to `work(count - 1)`, each on a worker of its own, all at the same time, and returns when
/// all have returned. The caller only waits. Calls may come from any thread, from several at a time and from
/// within work. Workers have the caller's thread context: break tests and `GeGetPluginPath` work in them. The
/// first exception is thrown again here, after all have returned. Throws std::system_error when no thread can
/// be made; then no work has run. A count below 1 does nothing.
void runOnWorkers(int count, const std::function<void(int index)>& work);

/// Processors that workers may use: what was set, else what the machine has; at least 1. Any thread.
int workerCount() noexcept;
/// 0 means all of the machine's.
void setWorkerCount(int count) noexcept;

} // namespace host
