#include "look_job.h"

#include <new>
#include <utility>

#include "background_job.h"
#include "film.h"

namespace host {

struct LookJob::Job {
  SharedBitmap bitmap;
  std::shared_ptr<PictureRows> rows; // null: made by the job
  CanvasLook look;
  LookImage made;
  std::unique_ptr<BackgroundJob> thread;

  void run() {
    if (!rows) {
      rows = std::make_shared<PictureRows>(bitmap, look);
      try {
        rows->keep(look.desk);
      } catch (const std::bad_alloc&) {
        rows = nullptr;
        return;
      }
    }
    made = {lookImage(*rows, look), rows->isThere(), rows->faults()};
  }
};

LookJob::LookJob(Done done) : done_(std::move(done)) {
}

LookJob::~LookJob() {
  lifetime_.end();
}

void LookJob::start(const SharedBitmap& bitmap, const CanvasLook& look, bool changed) {
  if (changed || bitmap != source_ || look.layer != layer_ || look.filmOnly != filmOnly_ ||
      look.desk != desk_) {
    rows_ = nullptr;
    stale_ = true;
  }
  source_ = bitmap;
  desk_ = look.desk;
  layer_ = look.layer;
  filmOnly_ = look.filmOnly;
  if (job_) {
    next_ = Wish{bitmap, look};
    return;
  }
  dropped_ = stale_ = false;
  job_ = std::make_shared<Job>();
  job_->bitmap = bitmap;
  job_->rows = rows_;
  job_->look = look;
  Job* job = job_.get();
  job->thread = std::make_unique<BackgroundJob>(
      "picture view", [job](BaseThread&) { job->run(); },
      [self = lifetime_.ref(), watched = std::weak_ptr(job_)] {
        if (self && self->job_ && self->job_ == watched.lock()) self->ended();
      });
  if (job->thread->Start(THREADMODE_ASYNC, THREADPRIORITY_NORMAL)) return;
  job->run(); // without threads the picture is shown late
  ended();
}

void LookJob::drop() {
  dropped_ = job_ != nullptr;
  next_.reset();
  source_ = nullptr;
  rows_ = nullptr;
}

void LookJob::ended() {
  job_->thread->Wait(TRUE);
  const std::shared_ptr<Job> job = std::exchange(job_, nullptr);
  if (!stale_ && job->bitmap == source_) rows_ = job->rows;
  const bool wanted = !std::exchange(dropped_, false);
  if (next_) {
    const Wish wish = *std::exchange(next_, std::nullopt);
    start(wish.bitmap, wish.look, false);
  }
  if (wanted) done_(job->bitmap, std::move(job->made));
}

} // namespace host
