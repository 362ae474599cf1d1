#include "picture_opener.h"

#include <utility>

#include "background_job.h"
#include "film_file.h"

namespace host {

struct PictureOpener::Job {
  Filename file;
  Done done;
  SharedBitmap bitmap;
  std::string error;
  std::unique_ptr<BackgroundJob> thread;

  void run() {
    const FilmFile read = loadFilm(file.GetString().GetUTF8());
    error = read.error;
    if (!error.empty()) return;
    if (read.film) {
      bitmap = makeBitmap(read.film->width(), read.film->height(), read.hasAlpha ? 32 : 24);
      if (bitmap) fill(read);
    } else {
      bitmap.reset(BaseBitmap::Alloc(), BitmapDeleter());
      if (bitmap && bitmap->Init(file) != IMAGERESULT_OK) bitmap.reset();
    }
    if (!bitmap)
      error = "There is not enough memory for the picture \"" + file.GetString().GetUTF8() +
              "\". Close other programs, or use a smaller one.";
  }

  void fill(const FilmFile& read) {
    setFilm(*bitmap, read.film);
    drawFilm(*bitmap);
    for (int y = 0; read.hasAlpha && y < read.film->height(); ++y)
      for (int x = 0; x < read.film->width(); ++x) {
        float rgba[4];
        read.film->getColor(x, y, rgba);
        bitmap->SetAlpha(x, y, rgba[3] > 0 ? static_cast<LONG>(std::min(rgba[3], 1.0f) * 255 + 0.5f) : 0);
      }
  }
};

PictureOpener::PictureOpener(PictureList& pictures) : pictures_(pictures) {
}

PictureOpener::~PictureOpener() {
  finish();
  lifetime_.end();
}

void PictureOpener::open(const Filename& file, Done done) {
  auto job = std::make_shared<Job>();
  job->file = file;
  job->done = std::move(done);
  queue_.push_back(std::move(job));
  if (!job_) start();
}

void PictureOpener::start() {
  job_ = std::move(queue_.front());
  queue_.pop_front();
  Job* job = job_.get();
  job->thread = std::make_unique<BackgroundJob>(
      "open picture", [job](BaseThread&) { job->run(); },
      [self = lifetime_.ref(), watched = std::weak_ptr(job_)] {
        if (self && self->job_ && self->job_ == watched.lock()) self->ended();
      });
  if (job->thread->Start(THREADMODE_ASYNC, THREADPRIORITY_BELOW)) return;
  job->error = "The picture was not opened: no thread could be started. Close other programs and try again.";
  ended();
}

void PictureOpener::ended() {
  job_->thread->Wait(TRUE);
  const std::shared_ptr<Job> job = std::exchange(job_, nullptr);
  if (!queue_.empty()) start();
  if (job->error.empty()) pictures_.open(job->bitmap, job->file.GetFileString());
  if (job->done) job->done(job->error);
}

void PictureOpener::finish() {
  while (job_)
    ended();
}

} // namespace host
