// A job on a thread of its own that can be asked to stop.
#pragma once

#include <atomic>
#include <functional>

#include "c4d_threading.h"
#include "main_loop.h"

namespace host {

/// Runs `work` once; the main loop runs `done` afterwards, also after a break. Made, started and destroyed on
/// the main thread; the destructor asks it to stop and waits.
class BackgroundJob final : public C4DThread {
 public:
  using Work = std::function<void(BaseThread&)>;

  BackgroundJob(const char* name, Work work, MainLoop::Task done)
      : name_(name), work_(std::move(work)), done_(std::move(done)) {}
  ~BackgroundJob() override {
    askToStop();
    End(TRUE);
  }

  /// Makes the thread's break test true. Any thread; does not wait.
  void askToStop() noexcept { stop_ = true; }
  bool stopped() const noexcept { return stop_; }

  Bool TestDBreak() override { return stop_ ? TRUE : FALSE; }
  const CHAR* GetThreadName() override { return reinterpret_cast<const CHAR*>(name_); }
  void Main() override {
    work_(*Get());
    mainLoop().post(done_);
  }

 private:
  const char* name_;
  Work work_;
  MainLoop::Task done_;
  std::atomic<bool> stop_{false};
};

} // namespace host
