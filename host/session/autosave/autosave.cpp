#include "autosave.h"

#include <algorithm>
#include <utility>

#include "background_job.h"
#include "console.h"
#include "file_path.h"
#include "preferences.h"
#include "scene_file.h"

namespace host {

namespace {

constexpr const char* periodName = "autosave";
constexpr LONG secondsId = 1, usualSeconds = 120, mostSeconds = 3600;
constexpr int lockPatience = 100; // milliseconds: another program looks at the folder

} // namespace

struct Autosave::Job {
  AutosavedScene scene;
  DocumentPtr copy;
  std::size_t revision = 0;
  bool done = false;
  std::string error;
  std::unique_ptr<BackgroundJob> job;
};

Autosave::Autosave(DocumentHub& hub, Edits& edits, FileSession& files, Filename root)
    : hub_(hub), edits_(edits), files_(files), root_(std::move(root)) {
  if (!root_.Content()) return;
  timer_ = mainLoop().addTimer(checkPeriod, [this] { tick(); });
  editsSubscription_ = edits_.changed.add([this] {
    if (!edits_.isDirty()) forget();
  });
}

Autosave::~Autosave() {
  lifetime_.end();
  mainLoop().removeTimer(timer_);
  if (job_) job_->job->Wait(TRUE);
}

Milliseconds Autosave::period() const {
  const Preferences* kept = preferences();
  const BaseContainer* values = kept ? kept->getNamed(periodName) : nullptr;
  const LONG seconds = values ? values->GetLong(secondsId, usualSeconds) : usualSeconds;
  return Milliseconds{1000} * std::clamp<LONG>(seconds, 0, mostSeconds);
}

void Autosave::setPeriod(Milliseconds period) {
  BaseContainer values;
  values.SetLong(secondsId, static_cast<LONG>(std::clamp<Milliseconds>(period / 1000, 0, mostSeconds)));
  if (Preferences* kept = preferences()) kept->setNamed(periodName, values);
}

// --- saving ---

void Autosave::tick() {
  if (!job_ && isDue()) start();
}

// A recovered scene is saved at once: its old folder goes then.
bool Autosave::isDue() {
  if (!hub_.document() || !edits_.isDirty()) {
    dirtySince_.reset();
    return false;
  }
  if (edits_.isContinuous() || edits_.revision() == written_) return false;
  const Milliseconds now = clock().now(), wait = period();
  if (!dirtySince_) dirtySince_ = now;
  if (recovered_ && recovered_->open && !told_) return true;
  return wait > 0 && now - std::max(*dirtySince_, tried_) >= wait;
}

bool Autosave::makeFolder() {
  if (lock_) return true;
  const std::string name =
      std::to_string(platform::processNumber()) + "-" + std::to_string(clock().wallSeconds());
  folder_ = root_ + Filename(String(std::string_view(name)));
  if (!platform::makeOwnFolder(folder_)) return false;
  auto lock = std::make_unique<platform::FileLock>(autosaveLock(folder_), 0);
  if (lock->held()) lock_ = std::move(lock);
  return lock_ != nullptr;
}

void Autosave::start() {
  tried_ = clock().now();
  if (!makeFolder())
    return fail("the folder \"" + folder_.GetString().GetUTF8() + "\" cannot be made and locked");
  job_ = std::make_shared<Job>();
  Job* job = job_.get();
  job->revision = edits_.revision();
  job->scene.folder = folder_;
  job->scene.data = folder_ + Filename(String(std::to_string(++number_) + ".glb"));
  job->scene.original = files_.file();
  job->scene.seconds = clock().wallSeconds();
  job->scene.changes = files_.unsavedChanges();
  job->copy.reset(hub_.document()->GetClone(COPYFLAGS_0));
  job->job = std::make_unique<BackgroundJob>(
      "autosave",
      [job](BaseThread&) {
        job->done = job->copy && saveDocument(*job->copy, job->scene.data, &job->error) &&
                    describeScene(job->scene, job->error);
        job->copy.reset();
      },
      [self = lifetime_.ref(), watched = std::weak_ptr(job_)] {
        if (self && watched.lock() == self->job_) self->ended();
      });
  if (!job->job->Start(THREADMODE_ASYNC, THREADPRIORITY_LOWEST)) {
    job->error = "no thread could be started";
    ended();
  }
}

void Autosave::ended() {
  const std::shared_ptr<Job> job = std::exchange(job_, nullptr);
  if (!job) return;
  job->job->Wait(TRUE);
  tried_ = clock().now();
  if (!job->done) return fail(job->error);
  told_ = false;
  written_ = job->revision;
  if (recovered_ && recovered_->open) {
    removeAutosaved(recovered_->folder);
    recovered_.reset();
  }
  if (!edits_.isDirty()) forget();
}

void Autosave::fail(const std::string& reason) {
  if (std::exchange(told_, true)) return;
  printLine(String(
      std::string_view("The unsaved changes could not be kept in case the program is killed: " + reason +
                       ". It is tried again every few minutes; save the scene yourself meanwhile.")));
}

// The scene has no unsaved changes: nothing is left to bring back. The empty folder stays, locked.
void Autosave::forget() {
  dirtySince_.reset();
  written_ = 0;
  if (recovered_ && recovered_->open) {
    removeAutosaved(recovered_->folder);
    recovered_.reset();
  }
  if (lock_ && !job_) {
    lock_.reset();
    removeAutosaved(folder_);
  }
}

void Autosave::finish() {
  if (!job_) return;
  job_->job->Wait(TRUE);
  ended();
}

void Autosave::close() {
  mainLoop().removeTimer(std::exchange(timer_, 0));
  editsSubscription_.cancel();
  finish();
  forget();
}

// --- recovering ---

std::vector<AutosavedScene> Autosave::abandoned() const {
  return root_.Content() ? abandonedScenes(root_) : std::vector<AutosavedScene>();
}

bool Autosave::recover(const AutosavedScene& scene) {
  Recovered taken{scene.folder,
                  std::make_unique<platform::FileLock>(autosaveLock(scene.folder), lockPatience)};
  if (!taken.lock->held()) return false;
  const auto loaded = [self = lifetime_.ref()](bool done) {
    if (!self) return;
    if (done && self->recovered_)
      self->recovered_->open = true;
    else
      self->recovered_.reset();
  };
  if (!files_.recover(scene.data, scene.original, loaded)) return false;
  recovered_ = std::move(taken);
  return true;
}

void Autosave::discard(const AutosavedScene& scene) {
  const platform::FileLock lock(autosaveLock(scene.folder), lockPatience);
  if (lock.held()) removeAutosaved(scene.folder);
}

} // namespace host
