#include "host_renders.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <optional>
#include <utility>

#include "background_job.h"
#include "running_state.h"
#include "thread_context.h"

namespace host {

namespace {

constexpr LONG mostPixels = 32768; // a side

// Runs on the render's threads.
void keepProgress(Real progress, RENDERPROGRESSTYPE /*type*/, void* target) {
  *static_cast<std::atomic<double>*>(target) = progress;
}

// The region is in pixels of the render's format; a view of another size shows the same part of the picture.
void scaleRegion(BaseContainer& settings, LONG width, LONG height) {
  const LONG fullWidth = std::max<LONG>(settings.GetLong(RDATA_XRES, width), 1);
  const LONG fullHeight = std::max<LONG>(settings.GetLong(RDATA_YRES, height), 1);
  const auto scale = [&](LONG id, LONG size, LONG full, LONG more) {
    const Real edge = static_cast<Real>(settings.GetLong(id)) + more;
    settings.SetLong(id, static_cast<LONG>(std::lround(edge * size / full)) - more);
  };
  scale(RDATA_RENDERREGION_LEFT, width, fullWidth, 0);
  scale(RDATA_RENDERREGION_TOP, height, fullHeight, 0);
  scale(RDATA_RENDERREGION_RIGHT, width, fullWidth, 1);
  scale(RDATA_RENDERREGION_BOTTOM, height, fullHeight, 1);
}

} // namespace

SharedBitmap makeBitmap(LONG width, LONG height, LONG depth) {
  SharedBitmap bitmap(BaseBitmap::Alloc(), BitmapDeleter());
  if (!bitmap || bitmap->Init(width, height, depth) != IMAGERESULT_OK) return nullptr;
  return bitmap;
}

SharedBitmap copyBitmap(const BaseBitmap& bitmap) {
  return bitmap.GetBw() > 0 ? SharedBitmap(bitmap.GetClone(), BitmapDeleter()) : nullptr;
}

std::string renderSentence(RENDERRESULT result) {
  switch (result) {
  case RENDERRESULT_OUTOFMEMORY:
    return "The render stopped: there is not enough memory. Use a smaller picture or a simpler scene.";
  case RENDERRESULT_ASSETMISSING:
    return "The render is done, but pictures that materials need are missing. The console names them.";
  case RENDERRESULT_OK:
  case RENDERRESULT_USERBREAK:
    return {};
  }
  return "The render stopped with error " + std::to_string(static_cast<int>(result)) +
         ". The console may tell more.";
}

struct HostRenders::Job {
  RenderKind kind = RenderKind::view;
  DocumentPtr document;
  BaseContainer settings;
  SharedBitmap bitmap;
  std::atomic<double> progress{0};
  RENDERRESULT result = RENDERRESULT_OK; // valid when the thread has ended
  std::optional<RunningScope> running;   // from the start, so that no preview begins beside it
  std::optional<BackgroundRender> background;
  std::unique_ptr<BackgroundJob> thread;

  void run(BaseThread& breakTest) {
    const auto flags = static_cast<RENDERFLAGS>(
        RENDERFLAGS_SHOWERRORS | (kind == RenderKind::picture ? RENDERFLAGS_EXTERNAL : RENDERFLAGS_0));
    result =
        RenderDocument(document.get(), settings, keepProgress, &progress, bitmap.get(), flags, &breakTest);
    document.reset();
    background.reset();
    running.reset();
  }
};

HostRenders::HostRenders(DocumentHub& hub) : hub_(hub) {
}

HostRenders::~HostRenders() {
  lifetime_.end();
  mainLoop().removeTimer(timer_);
}

bool HostRenders::isRunning() const noexcept {
  return job_ != nullptr;
}

bool HostRenders::renderView(LONG width, LONG height) {
  return start(RenderKind::view, width, height);
}

bool HostRenders::renderPicture() {
  return start(RenderKind::picture, 0, 0);
}

bool HostRenders::start(RenderKind kind, LONG width, LONG height) {
  cancel();
  giveWay(); // ends a running preview
  state_ = {};
  state_.kind = kind;
  const BaseDocument* document = hub_.document();
  auto job = std::make_shared<Job>();
  if (document) job->document.reset(document->GetClone(COPYFLAGS_0));
  const RenderData* data = job->document ? job->document->GetActiveRenderData() : nullptr;
  if (!data) {
    state_.error = document ? "The scene cannot be rendered: it has no render settings or memory is short."
                            : "There is no scene to render.";
    return false;
  }
  job->kind = kind;
  job->settings = data->GetData();
  job->settings.SetTime(RDATA_FRAMEFROM, document->GetTime());
  const bool ownSize = width < 1 || height < 1;
  if (ownSize) {
    GeData value;
    width = data->GetParameter(RDATA_XRES, value) ? value.GetLong() : 0;
    height = data->GetParameter(RDATA_YRES, value) ? value.GetLong() : 0;
  } else if (job->settings.GetBool(RDATA_RENDERREGION)) {
    scaleRegion(job->settings, width, height);
  }
  width = std::clamp<LONG>(width, 1, mostPixels);
  height = std::clamp<LONG>(height, 1, mostPixels);
  job->bitmap = makeBitmap(width, height);
  if (!job->bitmap) {
    state_.error = "There is not enough memory for a picture of " + std::to_string(width) + " x " +
                   std::to_string(height) + " pixels. Make it smaller in the render settings.";
    return false;
  }
  Job* raw = job.get();
  job->thread = std::make_unique<BackgroundJob>(
      "render", [raw](BaseThread& thread) { raw->run(thread); },
      [self = lifetime_.ref(), watched = std::weak_ptr(job)] {
        if (self && self->job_ && self->job_ == watched.lock()) self->ended();
      });
  job->running.emplace(kind == RenderKind::view ? CHECKISRUNNING_EDITORRENDERING
                                                : CHECKISRUNNING_EXTERNALRENDERING);
  job->background.emplace([raw] { raw->thread->askToStop(); });
  if (!job->thread->Start(THREADMODE_ASYNC, THREADPRIORITY_BELOW)) {
    state_.error = "The render cannot start: the system has no thread for it. Close other programs.";
    return false;
  }
  state_.running = true;
  state_.bitmap = job->bitmap;
  job_ = std::move(job);
  started_ = clock().now();
  timer_ = mainLoop().addTimer(
      period, [this] { poll(); }, Urgency::painting);
  changed.call();
  return true;
}

void HostRenders::poll() {
  if (!job_) return;
  state_.progress = std::clamp<Real>(job_->progress, 0, 1);
  state_.elapsed = clock().now() - started_;
  if (state_.progress > 0.02 && state_.elapsed >= 500)
    state_.left = static_cast<Milliseconds>(static_cast<Real>(state_.elapsed) * (1 - state_.progress) /
                                            state_.progress);
  changed.call();
}

void HostRenders::ended() {
  const std::shared_ptr<Job> job = std::exchange(job_, nullptr);
  job->thread->Wait(TRUE);
  mainLoop().removeTimer(std::exchange(timer_, 0));
  state_.running = false;
  state_.elapsed = clock().now() - started_;
  state_.left = -1;
  state_.result = job->result;
  state_.progress = job->result == RENDERRESULT_USERBREAK ? std::clamp<Real>(job->progress, 0, 1) : Real(1);
  state_.error = renderSentence(job->result);
  changed.call();
  finished.call();
}

void HostRenders::cancel() {
  if (!job_) return;
  job_->thread->askToStop();
  finish();
}

void HostRenders::finish() {
  if (!job_) return;
  job_->thread->Wait(TRUE);
  ended();
}

} // namespace host
