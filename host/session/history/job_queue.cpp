#include "job_queue.h"

#include <utility>

namespace host {

void JobQueue::push(Work work, MainLoop::Task done) {
  auto item = std::make_shared<Item>();
  item->work = std::move(work);
  item->done = std::move(done);
  queue_.push_back(std::move(item));
  if (!job_) start();
}

void JobQueue::start() {
  job_ = std::move(queue_.front());
  queue_.pop_front();
  Item* item = job_.get();
  item->thread = std::make_unique<BackgroundJob>(
      name_, [item](BaseThread&) { item->work(); },
      [self = lifetime_.ref(), watched = std::weak_ptr(job_)] {
        if (self && self->job_ && self->job_ == watched.lock()) self->ended();
      });
  if (!item->thread->Start(THREADMODE_ASYNC, THREADPRIORITY_BELOW)) ended();
}

void JobQueue::ended() {
  job_->thread->Wait(TRUE);
  const std::shared_ptr<Item> item = std::exchange(job_, nullptr);
  if (item->done) item->done();
  if (!job_ && !queue_.empty()) start();
}

void JobQueue::finish() {
  while (job_)
    ended();
}

} // namespace host
