#include "texture_thumbnails.h"

#include <algorithm>
#include <utility>

#include "background_job.h"
#include "picture_decode.h"
#include "thumbnails.h"

namespace host {

struct TextureThumbnails::Job {
  PicturePtr picture;
  ThumbnailPtr thumbnail;
  std::unique_ptr<BackgroundJob> thread;

  void run() {
    const auto decoded = decodePicture(*picture->bytes, picture->name, nullptr, PictureUse::colors);
    if (decoded && !thread->stopped()) thumbnail = thumbnailOf(*decoded);
  }
};

TextureThumbnails::TextureThumbnails() = default;

TextureThumbnails::~TextureThumbnails() {
  cancel();
  lifetime_.end();
}

ThumbnailPtr TextureThumbnails::thumbnail(const PicturePtr& picture) {
  if (!picture || !picture->bytes) return nullptr;
  if (const auto known = kept_.find(picture->id); known != kept_.end()) return known->second;
  for (const auto& job : queue_)
    if (job->picture->id == picture->id) return nullptr;
  auto job = std::make_shared<Job>();
  job->picture = picture;
  queue_.push_back(std::move(job));
  if (queue_.size() == 1) start();
  return nullptr;
}

void TextureThumbnails::start() {
  const std::shared_ptr<Job> job = queue_.front();
  job->thread = std::make_unique<BackgroundJob>(
      "texture thumbnail", [job = job.get()](BaseThread&) { job->run(); },
      [self = lifetime_.ref(), watched = std::weak_ptr(job)] {
        if (self && self->isBusy() && self->queue_.front() == watched.lock()) self->ended();
      });
  if (!job->thread->Start(THREADMODE_ASYNC, THREADPRIORITY_BELOW)) queue_.clear(); // asked for again later
}

void TextureThumbnails::ended() {
  const std::shared_ptr<Job> job = std::move(queue_.front());
  queue_.pop_front();
  job->thread.reset();
  kept_[job->picture->id] = job->thumbnail;
  order_.push_back(job->picture->id);
  if (order_.size() > mostKept) {
    kept_.erase(order_.front());
    order_.pop_front();
  }
  if (!queue_.empty()) start();
  ready.call(job->picture->id);
}

void TextureThumbnails::finish() {
  while (isBusy()) {
    queue_.front()->thread->Wait(TRUE);
    ended();
  }
}

void TextureThumbnails::cancel() {
  while (!queue_.empty()) {
    const std::shared_ptr<Job> job = std::move(queue_.front());
    queue_.pop_front();
    job->thread.reset(); // asks it to stop and waits
  }
}

} // namespace host
