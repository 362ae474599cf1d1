#include "latest_job.h"

#include <utility>

namespace host {

LatestJob::~LatestJob() {
  lifetime_.end();
}

void LatestJob::start(Task work, Task done) {
  if (job_) {
    next_ = Wish{std::move(work), std::move(done)};
    return;
  }
  running_ = {std::move(work), std::move(done)};
  job_ = std::make_unique<BackgroundJob>(
      name_, [run = running_.work](BaseThread&) { run(); },
      [self = lifetime_.ref()] {
        if (self && self->job_) self->ended();
      });
  if (job_->Start(THREADMODE_ASYNC, THREADPRIORITY_BELOW)) return;
  running_.work(); // without threads it is late
  ended();
}

void LatestJob::drop() {
  next_.reset();
  running_.done = nullptr;
}

void LatestJob::ended() {
  job_->Wait(TRUE);
  job_.reset();
  const Wish finished = std::exchange(running_, {});
  if (next_) {
    Wish wish = std::move(*next_);
    next_.reset();
    start(std::move(wish.work), std::move(wish.done));
  }
  if (finished.done) finished.done();
}

} // namespace host
