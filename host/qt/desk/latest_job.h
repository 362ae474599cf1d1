// Work in the background of which only the latest matters. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "background_job.h"
#include "lifetime.h"

namespace host {

/// One job at a time; of the wishes that come meanwhile the last one is done next.
class LatestJob {
 public:
  using Task = std::function<void()>;

  explicit LatestJob(const char* name) : name_(name) {}
  ~LatestJob(); // waits for the job that runs
  LatestJob(const LatestJob&) = delete;
  LatestJob& operator=(const LatestJob&) = delete;

  /// Runs `work` on a thread of its own; the main loop runs `done` afterwards.
  void start(Task work, Task done);
  /// Neither a job that waits nor the outcome of the one that runs is wanted any more.
  void drop();
  bool isBusy() const { return job_ != nullptr; }

 private:
  struct Wish {
    Task work, done;
  };
  void ended();

  const char* name_;
  Wish running_;
  std::unique_ptr<BackgroundJob> job_;
  std::optional<Wish> next_;
  Lifetime<LatestJob> lifetime_{*this};
};

} // namespace host
