#include "view_painter.h"

#include <chrono>
#include <exception>
#include <utility>

#include "console.h"
#include "platform.h"
#include "same_look.h"
#include "worker_threads.h"

namespace host {

namespace {

using Steady = std::chrono::steady_clock;

// Time limit of the first picture after a move.
constexpr double firstSeconds = 0.035;

double since(Steady::time_point start) {
  return std::chrono::duration<double>(Steady::now() - start).count();
}

} // namespace

ViewPainter::ViewPainter(ViewTracer* tracer, std::function<void()> notify,
                         std::function<std::shared_ptr<void>()> drawing)
    : tracer_(tracer), notify_(std::move(notify)), drawing_(std::move(drawing)), thread_([this] { run(); }) {
}

ViewPainter::~ViewPainter() {
  {
    const std::lock_guard lock(mutex_);
    stop_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

void ViewPainter::request(PaintJob job) {
  {
    const std::lock_guard lock(mutex_);
    if (waiting_ && !job.scene && waiting_->document == job.document) job.scene = std::move(waiting_->scene);
    otherDocument_ = otherDocument_ || (job.scene && job.document != sceneDocument_);
    waiting_ = std::move(job);
    newer_ = true;
  }
  wake_.notify_all();
}

std::optional<PaintResult> ViewPainter::take() {
  const std::lock_guard lock(mutex_);
  return std::exchange(ready_, std::nullopt);
}

bool ViewPainter::wait(Steady::time_point deadline) {
  std::unique_lock lock(mutex_);
  return changed_.wait_until(lock, deadline, [this] { return ready_ || (!busy_ && !waiting_); });
}

bool ViewPainter::idle() const {
  const std::lock_guard lock(mutex_);
  return !ready_ && !busy_ && !waiting_;
}

ViewPainter::Counts ViewPainter::counts() const {
  const std::lock_guard lock(mutex_);
  return counts_;
}

bool ViewPainter::newerWaits() const {
  return newer_.load(std::memory_order_relaxed);
}

bool ViewPainter::leaving() const {
  return stop_.load(std::memory_order_relaxed);
}

void ViewPainter::run() {
  platform::setThreadPriority(-1);
  platform::setThreadName("view painter");
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return stop_ || waiting_; });
    if (stop_) return;
    PaintJob job = std::move(*waiting_);
    waiting_.reset();
    newer_ = otherDocument_ = false;
    busy_ = true;
    lock.unlock();
    try {
      const std::shared_ptr<void> drawing = drawing_ ? drawing_() : nullptr;
      takeScene(job);
      paint(job);
    } catch (const std::exception& error) {
      printLine(String("The editor view could not be painted: ") + error.what() +
                ". Close other documents or programs, then move the view.");
    }
    lock.lock();
    busy_ = false;
    changed_.notify_all();
  }
}

// Makes the job's document the scene, unless it looks the same as the current one.
void ViewPainter::takeScene(PaintJob& job) {
  if (job.document != sceneDocument_) scene_ = nullptr;
  {
    const std::lock_guard lock(mutex_);
    sceneDocument_ = job.document;
  }
  if (!job.scene || !tracer_) return;
  SnapshotOptions options;
  options.lod = job.scene->GetLOD();
  options.forEditor = true;
  const SnapshotPtr snapshot = takeSnapshot(*job.scene, options);
  job.scene.reset();
  if (snapshot && std::exchange(told_, snapshot->problems) != snapshot->problems)
    for (const std::string& problem : snapshot->problems)
      printLine(String(std::string_view("Editor view: " + problem)));
  if (!snapshot || (scene_ && sameLook(scene_->snapshot(), *snapshot))) return;
  const auto stopped = [this] { return leaving() || otherDocument_.load(std::memory_order_relaxed); };
  if (auto scene = tracer_->prepare(snapshot, workerCount(), stopped)) scene_ = std::move(scene);
  const std::lock_guard lock(mutex_);
  ++counts_.scenes;
}

int ViewPainter::firstBlock(const PictureSetup& setup) const {
  const double rays = static_cast<double>(setup.width) * setup.height;
  int block = 1;
  while (block < 16 && rays * secondsPerRay_ / (block * block) > firstSeconds)
    block *= 2;
  return block;
}

// Never coarser than the current picture.
int ViewPainter::nextBlock(const PictureSetup& setup) const {
  const int first = firstBlock(setup);
  return reached_ == ViewDetail::coarse && delivered_ ? std::min(first, std::max(1, reachedBlock_ / 2))
                                                      : first;
}

void ViewPainter::deliver(const PaintJob& job, ViewDetail detail, int block) {
  PaintResult result{finishPicture(job.setup, pixels_, block, workerCount()), detail, job.document, scene_};
  {
    const std::lock_guard lock(mutex_);
    ready_ = std::move(result);
    ++counts_.pictures;
    counts_.views += !delivered_;
    counts_.finished += detail == ViewDetail::smooth;
  }
  delivered_ = true;
  reached_ = detail;
  reachedBlock_ = block;
  changed_.notify_all();
  if (notify_) notify_();
}

void ViewPainter::paint(const PaintJob& job) {
  const PictureSetup& setup = job.setup;
  if (setup.width < 1 || setup.height < 1) return;
  const bool same = reached_ != ViewDetail::none && paintedScene_ == scene_ && sameRays(painted_, setup);
  const bool sameMarksToo = same && sameMarks(painted_, setup);
  delivered_ = same;
  if (!same) {
    pixels_.reset(setup.width, setup.height);
    reached_ = ViewDetail::none;
  }
  painted_ = setup;
  paintedScene_ = scene_;
  // Reused pixels get their new marks at once.
  if (same && !sameMarksToo && reached_ != ViewDetail::coarse)
    deliver(job, reached_, 1);
  else if (same && !sameMarksToo)
    delivered_ = false;
  if (reached_ == ViewDetail::smooth) return;
  if (paintLevels(job) || leaving()) return;
  const std::lock_guard lock(mutex_);
  ++counts_.cancelled;
}

bool ViewPainter::paintLevels(const PaintJob& job) {
  const auto abandoned = [this] { return leaving() || (delivered_ && newerWaits()); };
  if (reached_ != ViewDetail::full)
    for (int block = nextBlock(job.setup); block >= 1; block /= 2) {
      const auto start = Steady::now();
      long rays = 0;
      if (!traceLevel(job.setup, scene_.get(), block, workerCount(), abandoned, pixels_, rays)) return false;
      if (rays > 2000) secondsPerRay_ += 0.3 * (since(start) / static_cast<double>(rays) - secondsPerRay_);
      deliver(job, block > 1 ? ViewDetail::coarse : ViewDetail::full, block);
      if (abandoned()) return false;
    }
  if (!smoothEdges(job.setup, scene_.get(), workerCount(), abandoned, pixels_)) return false;
  deliver(job, ViewDetail::smooth, 1);
  return true;
}

} // namespace host
