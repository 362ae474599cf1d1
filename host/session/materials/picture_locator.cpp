#include "picture_locator.h"

#include <algorithm>
#include <utility>

#include "background_job.h"
#include "picture_search.h"
#include "scene_file.h"

namespace host {

struct PictureLocator::Job {
  Identity shader = 0; // of a relinked texture; 0: missing pictures
  MissingPicture chosen;
  std::vector<MissingPicture> others;
  Filename file;
  Done done;
  PicturePtr picture;
  PictureExchange exchange;
  Outcome outcome;
  std::unique_ptr<BackgroundJob> thread;

  // On the thread.
  void run() {
    picture = readPictureFile(file);
    if (!picture->bytes || picture->mimeType.empty()) {
      outcome.error =
          "\"" + file.GetString().GetUTF8() + "\" " +
          (picture->bytes ? "holds no picture that can be read." : "is not there or cannot be read.") +
          " Choose a picture, such as a .png, .jpg or .exr file.";
      return;
    }
    if (shader != 0) return;
    exchange[chosen.picture] = picture;
    findOthers();
  }

  void findOthers() {
    std::vector<std::string> names;
    for (const MissingPicture& other : others)
      names.push_back(other.name);
    const auto stopped = [this] { return thread->stopped(); };
    const SearchResult search = searchPictures(file.GetDirectory(), names, stopped);
    outcome.complete = search.complete;
    for (const MissingPicture& other : others) {
      const auto found = search.found.find(other.name);
      const PicturePtr read =
          found == search.found.end() || stopped() ? nullptr : readPictureFile(found->second);
      if (read && read->bytes && !read->mimeType.empty())
        exchange[other.picture] = read;
      else
        outcome.still.push_back(other.name);
    }
  }
};

PictureLocator::~PictureLocator() {
  cancel();
  lifetime_.end();
}

void PictureLocator::relink(Identity shader, const Filename& file, Done done) {
  auto job = std::make_shared<Job>();
  job->shader = shader;
  job->file = file;
  job->done = std::move(done);
  add(std::move(job));
}

void PictureLocator::locate(const MissingPicture& chosen, std::vector<MissingPicture> others,
                            const Filename& file, Done done) {
  auto job = std::make_shared<Job>();
  job->chosen = chosen;
  std::erase_if(others, [&](const MissingPicture& other) { return other.picture == chosen.picture; });
  job->others = std::move(others);
  job->file = file;
  job->done = std::move(done);
  add(std::move(job));
}

void PictureLocator::add(std::shared_ptr<Job> job) {
  queue_.push_back(std::move(job));
  if (queue_.size() == 1) start();
}

void PictureLocator::start() {
  const std::shared_ptr<Job> job = queue_.front();
  job->thread = std::make_unique<BackgroundJob>(
      "find pictures", [job = job.get()](BaseThread&) { job->run(); },
      [self = lifetime_.ref(), watched = std::weak_ptr(job)] {
        if (self && self->isBusy() && self->queue_.front() == watched.lock()) self->ended();
      });
  if (job->thread->Start(THREADMODE_ASYNC, THREADPRIORITY_BELOW)) return;
  job->outcome.error =
      "The picture was not read: no thread could be started. Close other programs and try again.";
  ended();
}

void PictureLocator::ended() {
  const std::shared_ptr<Job> job = std::exchange(queue_.front(), nullptr);
  job->thread.reset();
  queue_.pop_front();
  Outcome& outcome = job->outcome;
  if (outcome.error.empty()) {
    if (job->shader != 0)
      outcome.placed = edits_.apply("Relink Texture",
                                    [&](BaseDocument& document) {
                                      setTexturePicture(document, job->shader, job->picture);
                                    })
                           ? 1
                           : 0;
    else if (edits_.apply("Locate Missing Files",
                          [&](BaseDocument& document) { exchangePictures(document, job->exchange); }))
      outcome.placed = job->exchange.size();
  }
  if (!queue_.empty()) start();
  if (job->done) job->done(outcome);
}

void PictureLocator::finish() {
  while (isBusy()) {
    const std::shared_ptr<Job> job = queue_.front();
    job->thread->Wait(TRUE);
    ended();
  }
}

void PictureLocator::cancel() {
  while (!queue_.empty()) {
    const std::shared_ptr<Job> job = std::move(queue_.front());
    queue_.pop_front();
    job->thread.reset(); // asks it to stop and waits
  }
}

} // namespace host
