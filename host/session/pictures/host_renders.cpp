#include "host_renders.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <optional>
#include <utility>

#include "background_job.h"
#include "film.h"
#include "kept_render.h"
#include "render_settings.h"
#include "running_state.h"
#include "thread_context.h"

namespace host {

namespace {

constexpr LONG mostPixels = 32768;                     // a side
constexpr std::size_t mostKept = std::size_t{1} << 30; // bytes of samples
constexpr std::size_t sampleBytes = 80;                // of a pixel, roughly

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

void keepSamples(BaseContainer& settings, render::SampleKeeping how) {
  settings.SetLong(render::keepSamplesSetting, static_cast<LONG>(how));
}

} // namespace

SharedBitmap makeBitmap(LONG width, LONG height, LONG depth) {
  SharedBitmap bitmap(BaseBitmap::Alloc(), BitmapDeleter());
  if (!bitmap || bitmap->Init(width, height, depth) != IMAGERESULT_OK) return nullptr;
  return bitmap;
}

SharedBitmap copyBitmap(const BaseBitmap& bitmap) {
  const LONG width = bitmap.GetBw(), height = bitmap.GetBh();
  return width > 0 ? SharedBitmap(bitmap.GetClonePart(0, 0, width, height), BitmapDeleter()) : nullptr;
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
    if (result != RENDERRESULT_OK && result != RENDERRESULT_ASSETMISSING) document.reset();
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
  // Samples that could not be kept take no memory either.
  const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  if (pixels * sampleBytes <= mostKept) keepSamples(job->settings, render::SampleKeeping::keep);
  return launch(std::move(job));
}

bool HostRenders::launch(std::shared_ptr<Job> job) {
  Job* raw = job.get();
  job->thread = std::make_unique<BackgroundJob>(
      "render", [raw](BaseThread& thread) { raw->run(thread); },
      [self = lifetime_.ref(), watched = std::weak_ptr(job)] {
        if (self && self->job_ && self->job_ == watched.lock()) self->ended();
      });
  job->running.emplace(job->kind == RenderKind::view ? CHECKISRUNNING_EDITORRENDERING
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

bool HostRenders::hasSamples(const BaseBitmap* bitmap) const {
  const std::shared_ptr<Film> film = bitmap ? filmOf(*bitmap) : nullptr;
  return film && film->samples() && std::any_of(kept_.begin(), kept_.end(), [bitmap](const Kept& kept) {
           return kept.bitmap.lock().get() == bitmap;
         });
}

bool HostRenders::moreSamples(const BaseBitmap& bitmap) {
  cancel();
  giveWay();
  const auto kept = std::find_if(kept_.begin(), kept_.end(),
                                 [&](const Kept& one) { return one.bitmap.lock().get() == &bitmap; });
  state_ = {};
  if (!hasSamples(&bitmap)) {
    state_.error = "This picture cannot take more samples: they are not kept. Render it again.";
    return false;
  }
  state_.kind = kept->kind;
  auto job = std::make_shared<Job>();
  job->kind = kept->kind;
  job->document.reset(kept->document->GetClone(COPYFLAGS_0));
  job->bitmap = copyBitmap(bitmap);
  if (!job->document || !job->bitmap) {
    state_.error = "There is not enough memory to add samples to this picture. Close other programs.";
    return false;
  }
  const FilmSamplesPtr samples = filmOf(bitmap)->samples();
  filmOf(*job->bitmap)->setSamples(samples);
  job->settings = kept->settings;
  keepSamples(job->settings, render::SampleKeeping::goOn);
  job->settings.SetLong(RDATA_MAXSAMPLES, render::samplesBehind(samples.get()));
  job->settings.SetReal(render::secondsSetting, 0);
  const Real noise = job->settings.GetReal(RDATA_NOISETHRESHOLD, 0.01);
  job->settings.SetReal(RDATA_NOISETHRESHOLD, noise * std::sqrt(0.5));
  return launch(std::move(job));
}

// The oldest samples make room.
void HostRenders::keep(Job& job) {
  const std::shared_ptr<Film> film = job.document ? filmOf(*job.bitmap) : nullptr;
  const FilmSamplesPtr samples = film ? film->samples() : nullptr;
  if (!samples) return;
  kept_.push_back({job.bitmap, std::move(job.document), std::move(job.settings), job.kind,
                   samples->data.size() * sizeof(float)});
  std::erase_if(kept_, [](const Kept& kept) { return kept.bitmap.expired(); });
  std::size_t bytes = 0;
  for (const Kept& kept : kept_)
    bytes += kept.bytes;
  while (bytes > mostKept) {
    const SharedBitmap oldest = kept_.front().bitmap.lock();
    if (const std::shared_ptr<Film> old = filmOf(*oldest)) old->setSamples(nullptr);
    bytes -= kept_.front().bytes;
    kept_.erase(kept_.begin());
  }
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
  keep(*job);
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
