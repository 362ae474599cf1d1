#include "material_previews.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "background_job.h"
#include "document.h"
#include "preview_scene.h"
#include "running_state.h"
#include "thread_context.h"

namespace host {

namespace {

constexpr Milliseconds lookPeriod = 15;
constexpr std::size_t mostCached = 1024;
constexpr LONG mostSamples = 24, leastSamples = 4;

BaseContainer settingsOf(int size, int timesStopped) {
  BaseContainer settings;
  settings.SetLong(RDATA_XRES, size);
  settings.SetLong(RDATA_YRES, size);
  settings.SetLong(RDATA_ANTIALIASING, 2);
  settings.SetLong(RDATA_MAXSAMPLES, std::max<LONG>(mostSamples >> std::min(timesStopped, 8), leastSamples));
  settings.SetReal(RDATA_NOISETHRESHOLD, 0.02);
  return settings;
}

} // namespace

struct MaterialPreviews::Job {
  Key key{};
  ImagePtr look;
  DocumentPtr document;
  BaseContainer settings;
  SharedBitmap bitmap;
  RENDERRESULT result = RENDERRESULT_USERBREAK; // valid when the thread has ended
  std::optional<RunningScope> running;
  std::optional<BackgroundRender> background;
  std::unique_ptr<BackgroundJob> thread;

  void run(BaseThread& breakTest) {
    result =
        RenderDocument(document.get(), settings, nullptr, nullptr, bitmap.get(), RENDERFLAGS_0, &breakTest);
    document.reset();
    background.reset();
    running.reset();
  }
};

MaterialPreviews::MaterialPreviews(DocumentHub& hub)
    : hub_(hub), self_(std::make_shared<MaterialPreviews*>(this)) {
  changedSubscription_ = hub_.changed.add([this] { documentChanged(); });
  replacedSubscription_ = hub_.replaced.add([this](Replacement) {
    stop();
    queue_.clear();
    cache_.clear();
    patience_.clear();
  });
  setGiveWayHook([this] { stop(); });
  timer_ = mainLoop().addTimer(lookPeriod, [this] { pursue(); });
}

MaterialPreviews::~MaterialPreviews() {
  setGiveWayHook(nullptr);
  mainLoop().removeTimer(timer_);
  *self_ = nullptr;
}

bool MaterialPreviews::isRunning() const noexcept {
  return job_ != nullptr;
}

ImagePtr MaterialPreviews::lookOf(Identity material, const ImagePtr& previous) const {
  const BaseDocument* document = hub_.document();
  const NodeState* node = document ? findNode(*stateOf(document), material) : nullptr;
  return node && node->kind == NodeKind::material ? takeImage(*node, previous) : nullptr;
}

bool MaterialPreviews::isFresh(Identity material, int size) const {
  const auto found = cache_.find({material, size});
  return found != cache_.end() && sameLook(found->second.look, lookOf(material, found->second.look));
}

std::shared_ptr<const BaseBitmap> MaterialPreviews::preview(Identity material, int size) {
  const Key key{material, std::clamp(size, 16, 512)};
  if (!isFresh(material, key.size)) want(key);
  const auto found = cache_.find(key);
  if (found == cache_.end()) return nullptr;
  found->second.used = ++uses_;
  return found->second.bitmap;
}

void MaterialPreviews::want(const Key& key) {
  if (!lookOf(key.material, nullptr)) return;
  if (job_ && job_->key == key && sameLook(job_->look, lookOf(key.material, job_->look))) return;
  if (std::find(queue_.begin(), queue_.end(), key) == queue_.end()) queue_.push_back(key);
}

// What is in use is made anew by itself.
void MaterialPreviews::documentChanged() {
  std::erase_if(cache_,
                [this](const auto& entry) { return !lookOf(entry.first.material, entry.second.look); });
  for (const auto& [key, cached] : cache_)
    if (!isFresh(key.material, key.size)) want(key);
}

// Starts the next one when nothing else is to be done.
void MaterialPreviews::pursue() {
  if (!enabled_ || job_ || queue_.empty() || mainLoop().inModal()) return;
  if (CheckIsRunning(CHECKISRUNNING_EDITORRENDERING) || CheckIsRunning(CHECKISRUNNING_EXTERNALRENDERING))
    return;
  const auto deadline = mainLoop().nextDeadline();
  if (deadline && *deadline <= clock().now()) return;
  while (!queue_.empty() && !start()) {
  }
}

// Starts the first of the queue; false when there is nothing to render for it.
bool MaterialPreviews::start() {
  auto job = std::make_shared<Job>();
  job->key = queue_.front();
  queue_.pop_front();
  const BaseDocument* document = hub_.document();
  job->look = lookOf(job->key.material, nullptr);
  job->bitmap = makeBitmap(job->key.size, job->key.size);
  if (!document || !job->look || !job->bitmap) return false;
  const DocumentState& state = *stateOf(document);
  job->document = previewScene(static_cast<const MaterialState&>(*findNode(state, job->key.material)),
                               activeRenderData(state));
  job->settings = settingsOf(job->key.size, patience_[job->key]);
  Job* raw = job.get();
  job->thread = std::make_unique<BackgroundJob>(
      "material preview", [raw](BaseThread& thread) { raw->run(thread); },
      [self = self_, watched = std::weak_ptr(job)] {
        if (*self && (*self)->job_ && (*self)->job_ == watched.lock()) (*self)->ended();
      });
  job->running.emplace(CHECKISRUNNING_MATERIALPREVIEWRUNNING);
  job->background.emplace([raw] { raw->thread->askToStop(); });
  if (!job->thread->Start(THREADMODE_ASYNC, THREADPRIORITY_LOWEST)) return false;
  job_ = std::move(job);
  return true;
}

void MaterialPreviews::ended() {
  const std::shared_ptr<Job> job = std::exchange(job_, nullptr);
  job->thread->Wait(TRUE);
  if (job->result == RENDERRESULT_USERBREAK) { // somebody stopped it: it comes first again
    ++stopped_;
    ++patience_[job->key];
    queue_.push_front(job->key);
    return;
  }
  ++finished_;
  patience_.erase(job->key);
  cache_[job->key] = {job->look, job->bitmap, ++uses_};
  if (!isFresh(job->key.material, job->key.size)) want(job->key); // edited meanwhile
  forget();
  ready.call(job->key.material);
}

void MaterialPreviews::forget() {
  while (cache_.size() > mostCached)
    cache_.erase(std::min_element(cache_.begin(), cache_.end(), [](const auto& a, const auto& b) {
      return a.second.used < b.second.used;
    }));
}

void MaterialPreviews::stop() {
  if (!job_) return;
  job_->thread->askToStop();
  job_->thread->Wait(TRUE);
  ended();
}

void MaterialPreviews::setEnabled(bool on) {
  enabled_ = on;
  if (!on) stop();
}

void MaterialPreviews::finish() {
  while (job_ || !queue_.empty()) {
    if (!job_ && !start()) continue;
    job_->thread->Wait(TRUE);
    ended();
  }
}

} // namespace host
