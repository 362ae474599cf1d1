// Background jobs one after another, each with a function that the main loop runs when it is done. Main
// thread, but for the work itself.
#pragma once

#include <deque>
#include <functional>
#include <memory>

#include "background_job.h"
#include "lifetime.h"

namespace host {

class JobQueue {
 public:
  using Work = std::function<void()>;

  explicit JobQueue(const char* name) : name_(name) {}
  ~JobQueue() { finish(); }
  JobQueue(const JobQueue&) = delete;
  JobQueue& operator=(const JobQueue&) = delete;

  /// `work` runs in the background, `done` (may be empty) on the main thread afterwards. Where no thread can
  /// be started, the work is dropped and `done` runs all the same.
  void push(Work work, MainLoop::Task done = {});
  bool isBusy() const noexcept { return job_ != nullptr; }
  std::size_t waiting() const noexcept { return queue_.size(); }
  /// Waits for all jobs and runs what follows them.
  void finish();

 private:
  struct Item {
    Work work;
    MainLoop::Task done;
    std::unique_ptr<BackgroundJob> thread;
  };
  void start();
  void ended();

  const char* name_;
  std::deque<std::shared_ptr<Item>> queue_;
  std::shared_ptr<Item> job_;
  Lifetime<JobQueue> lifetime_{*this};
};

} // namespace host
