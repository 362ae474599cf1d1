#include "picture_saver.h"

#include <utility>

#include "background_job.h"
#include "console.h"
#include "failures.h"
#include "film.h"
#include "picture_formats.h"
#include "picture_origin.h"
#include "viewed_bitmap.h"

namespace host {

const std::vector<PictureFormat>& pictureFormats() {
  static const std::vector<PictureFormat> formats = [] {
    std::vector<PictureFormat> chosen;
    for (const LONG filter : {FILTER_PNG, FILTER_TIF, FILTER_JPG, FILTER_EXR, filterWebp})
      if (const PictureFileFormat* format = formatOfFilter(filter))
        chosen.push_back({format->name, format->suffixes[0], filter});
    return chosen;
  }();
  return formats;
}

namespace {

const PictureFormat* formatOf(const Filename& file) {
  const PictureFileFormat* written = formatOfSuffix(file.GetSuffix().GetUTF8());
  for (const PictureFormat& format : pictureFormats())
    if (written && format.filter == written->filter) return &format;
  return nullptr;
}

// The latest failure with this file.
std::string failureWith(const Filename& file) {
  const std::vector<Failure> all = failures();
  for (auto failure = all.rbegin(); failure != all.rend(); ++failure)
    if (failure->file == file) return failure->sentence;
  return {};
}

} // namespace

bool savePicture(const BaseBitmap& picture, const Filename& file, std::string* error,
                 const ViewSettings& view, const DeskLook& look) {
  const auto refuse = [error](std::string sentence) {
    if (error) *error = std::move(sentence);
    return false;
  };
  const std::string name = "The picture \"" + file.GetString().GetUTF8() + "\" ";
  const PictureFormat* format = formatOf(file);
  if (!format) {
    return refuse(
        name + "cannot be saved: its kind is unknown. Choose a name that ends in .png, .tif, .jpg, .exr or "
               ".webp.");
  }
  AutoAlloc<BaseBitmap> viewed;
  const bool plain = (isShownThrough(picture, view) && look.isPlain()) || format->filter == FILTER_EXR;
  const bool straight = formatOfFilter(format->filter)->alpha;
  if (!plain && !(viewed && viewedCopy(picture, ViewTransform(view), straight, *viewed, look)))
    return refuse(name + "was not saved: not enough memory. Use a smaller picture.");
  const std::size_t before = failureCount();
  BaseContainer options;
  putOrigin(options, picture);
  if ((plain ? picture : *viewed).Save(file, format->filter, &options, SAVEBIT_ALPHA) == IMAGERESULT_OK)
    return true;
  if (failureCount() > before)
    if (std::string sentence = failureWith(file); !sentence.empty()) return refuse(std::move(sentence));
  return refuse(name + "was not saved. Check the folder, your rights to it and the free space.");
}

struct PictureSaver::Job {
  SharedBitmap picture;
  Filename file;
  Done done;
  ViewSettings view;
  DeskLook look;
  bool saved = false;
  std::string error;
  std::unique_ptr<BackgroundJob> thread;
};

PictureSaver::PictureSaver() {
}

PictureSaver::~PictureSaver() {
  finish();
  lifetime_.end();
}

Filename PictureSaver::file() const {
  return job_ ? job_->file : Filename();
}

void PictureSaver::save(SharedBitmap picture, const Filename& file, Done done, const ViewSettings& view,
                        const DeskLook& look) {
  if (!picture) return;
  auto job = std::make_shared<Job>();
  job->picture = std::move(picture);
  job->file = file;
  job->done = std::move(done);
  job->view = view;
  job->look = look;
  queue_.push_back(std::move(job));
  if (!job_) start();
}

void PictureSaver::start() {
  job_ = std::move(queue_.front());
  queue_.pop_front();
  Job* job = job_.get();
  job->thread = std::make_unique<BackgroundJob>(
      "save picture",
      [job](BaseThread&) {
        job->saved = savePicture(*job->picture, job->file, &job->error, job->view, job->look);
      },
      [self = lifetime_.ref(), watched = std::weak_ptr(job_)] {
        if (self && self->job_ && self->job_ == watched.lock()) self->ended();
      });
  changed.call();
  if (job->thread->Start(THREADMODE_ASYNC, THREADPRIORITY_BELOW)) return;
  job->error = "The picture was not saved: no thread could be started. Close other programs and save again.";
  ended();
}

void PictureSaver::ended() {
  job_->thread->Wait(TRUE);
  const std::shared_ptr<Job> job = std::exchange(job_, nullptr);
  if (job->saved) printLine("The picture \"" + job->file.GetString() + "\" was saved.");
  if (queue_.empty())
    changed.call();
  else
    start();
  if (job->done) job->done(job->saved ? std::string() : job->error);
}

void PictureSaver::finish() {
  while (job_)
    ended();
}

} // namespace host
