// The host's threads for the renderer's work, at lower priority, kept between renders.
#pragma once

#include <algorithm>
#include <atomic>
#include <functional>

namespace host {

/// Runs `work(0)` to `work(count - 1)` at the same time, each on a worker of its own, and returns when all
/// have returned. Any thread, several at a time, also from within work. Workers have the caller's thread
/// context: break tests and `GeGetPluginPath` work in them. Rethrows the first exception after all have
/// returned. Throws std::system_error, before any work has run, when no thread can be made. A count below 1
/// does nothing.
void runOnWorkers(int count, const std::function<void(int index)>& work);

/// The number of processors for workers, at least 1: the number set, else all of the machine's. Any thread.
int workerCount() noexcept;
/// 0: all of the machine's.
void setWorkerCount(int count) noexcept;

/// Calls `work(row)` for rows 0 to `rows` - 1, each on whichever worker is free. As `runOnWorkers`.
template <class Work>
void eachRow(int rows, Work&& work) {
  std::atomic<int> next{0};
  runOnWorkers(std::min(workerCount(), rows), [&](int) {
    for (int row; (row = next.fetch_add(1)) < rows;)
      work(row);
  });
}

} // namespace host
