#include "material_previews.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "background_job.h"
#include "display_transform.h"
#include "document.h"
#include "preview_scene.h"
#include "render_settings.h"
#include "running_state.h"
#include "status_bar.h"
#include "thread_context.h"

namespace host {

namespace {

constexpr Milliseconds lookPeriod = 15;
constexpr std::size_t mostCached = 1024;
constexpr LONG mostSamples = 24, leastSamples = 4; // of a pass
constexpr int mostStops = 40;                      // of a refinement; then the machine is too busy for it

LONG samplesAfter(int timesStopped) {
  return std::max<LONG>(mostSamples >> std::min(timesStopped, 8), leastSamples);
}

BaseContainer settingsOf(int size, LONG samples, LONG seed) {
  BaseContainer settings;
  settings.SetLong(RDATA_XRES, size);
  settings.SetLong(RDATA_YRES, size);
  settings.SetLong(RDATA_ANTIALIASING, 2);
  settings.SetLong(RDATA_MAXSAMPLES, samples);
  settings.SetReal(RDATA_NOISETHRESHOLD, 0); // every pixel weighs the same in the mean
  settings.SetLong(render::spreadSetting, static_cast<LONG>(render::SampleSpread::evenly));
  settings.SetLong(render::seedSetting, seed);
  return settings;
}

// Joins a pass to the mean of the earlier ones (null: the first) and returns the picture of the mean.
std::shared_ptr<BaseBitmap> joined(std::shared_ptr<Film>& mean, LONG before, const BaseBitmap& pass,
                                   LONG samples) {
  const std::shared_ptr<Film> film = filmOf(pass);
  SharedBitmap bitmap = makeBitmap(pass.GetBw(), pass.GetBh());
  if (!film || !bitmap) return nullptr;
  auto next = std::make_shared<Film>(film->width(), film->height());
  const float part = static_cast<float>(samples) / static_cast<float>(before + samples);
  for (int y = 0; y < film->height(); ++y) {
    for (int x = 0; x < film->width(); ++x) {
      float now[4] = {}, old[4] = {};
      film->getColor(x, y, now);
      if (mean) mean->getColor(x, y, old);
      for (int i = 0; i < 4 && mean; ++i)
        now[i] = old[i] + (now[i] - old[i]) * part;
      next->setColor(x, y, now);
      bitmap->SetPixel(x, y, toDisplay(now[0]), toDisplay(now[1]), toDisplay(now[2]));
    }
  }
  mean = std::move(next);
  return bitmap;
}

bool pluginWorks() {
  const StatusState state = statusState();
  return state.spinning || state.percent >= 0;
}

} // namespace

struct MaterialPreviews::Job {
  Key key{};
  LONG samples = 0;
  bool refines = false;
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

MaterialPreviews::MaterialPreviews(DocumentHub& hub) : hub_(hub) {
  changedSubscription_ = hub_.changed.add([this] { documentChanged(); });
  replacedSubscription_ = hub_.replaced.add([this](Replacement) {
    stop();
    queue_.clear();
    std::erase_if(cache_, [this](const auto& entry) { return !isOfSource(entry.first.material); });
    patience_.clear();
  });
  setGiveWayHook([this] { stop(); });
  timer_ = mainLoop().addTimer(lookPeriod, [this] { pursue(); });
}

MaterialPreviews::~MaterialPreviews() {
  setGiveWayHook(nullptr);
  mainLoop().removeTimer(timer_);
  lifetime_.end();
}

bool MaterialPreviews::isRunning() const noexcept {
  return job_ != nullptr;
}

void MaterialPreviews::setSources(std::vector<const BaseDocument*> sources) {
  stop();
  sources_ = std::move(sources);
  documentChanged();
}

bool MaterialPreviews::isOfSource(Identity material) const {
  return std::any_of(sources_.begin(), sources_.end(), [material](const BaseDocument* source) {
    return findNode(*stateOf(source), material) != nullptr;
  });
}

const NodeState* MaterialPreviews::find(Identity material) const {
  const BaseDocument* document = hub_.document();
  const NodeState* node = document ? findNode(*stateOf(document), material) : nullptr;
  for (std::size_t i = 0; !node && i < sources_.size(); ++i)
    node = findNode(*stateOf(sources_[i]), material);
  return node && node->kind == NodeKind::material ? node : nullptr;
}

ImagePtr MaterialPreviews::lookOf(Identity material, const ImagePtr& previous) const {
  const NodeState* node = find(material);
  return node ? takeImage(*node, previous) : nullptr;
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

// Renders the thumbnails in use again.
void MaterialPreviews::documentChanged() {
  std::erase_if(cache_,
                [this](const auto& entry) { return !lookOf(entry.first.material, entry.second.look); });
  for (const auto& [key, cached] : cache_)
    if (!isFresh(key.material, key.size)) want(key);
}

LONG MaterialPreviews::samplesOf(Identity material, int size) const {
  const auto found = cache_.find({material, size});
  return found == cache_.end() ? 0 : found->second.samples;
}

// Starts the next preview when the program is idle.
void MaterialPreviews::pursue() {
  if (!enabled_ || job_ || mainLoop().inModal()) return;
  if (CheckIsRunning(CHECKISRUNNING_EDITORRENDERING) || CheckIsRunning(CHECKISRUNNING_EXTERNALRENDERING))
    return;
  const auto deadline = mainLoop().nextDeadline();
  if (deadline && *deadline <= clock().now()) return;
  if (queue_.empty()) {
    refine();
    return;
  }
  while (!queue_.empty() && !start()) {
  }
}

// Refines the noisiest of the thumbnails used last.
bool MaterialPreviews::refine() {
  if (pluginWorks()) return false;
  auto chosen = cache_.end();
  for (auto entry = cache_.begin(); entry != cache_.end(); ++entry) {
    const Cached& cached = entry->second;
    if (!cached.mean || cached.samples >= cleanSamples || cached.stops >= mostStops) continue;
    const auto rank = [](const Cached& one) { return std::pair(-one.samples, one.used); };
    if (chosen == cache_.end() || rank(cached) > rank(chosen->second)) chosen = entry;
  }
  if (chosen == cache_.end() || !isFresh(chosen->first.material, chosen->first.size)) return false;
  return start(chosen->first, samplesAfter(chosen->second.stops), chosen->second.samples, true);
}

// Starts the first of the queue; false when it needs no rendering.
bool MaterialPreviews::start() {
  const Key key = queue_.front();
  queue_.pop_front();
  return start(key, samplesAfter(patience_[key]), 0, false);
}

bool MaterialPreviews::start(const Key& key, LONG samples, LONG seed, bool refines) {
  auto job = std::make_shared<Job>();
  job->key = key;
  job->samples = samples;
  job->refines = refines;
  const BaseDocument* document = hub_.document();
  job->look = lookOf(job->key.material, nullptr);
  job->bitmap = makeBitmap(job->key.size, job->key.size);
  if (!document || !job->look || !job->bitmap) return false;
  const DocumentState& state = *stateOf(document);
  job->document =
      previewScene(static_cast<const MaterialState&>(*find(job->key.material)), activeRenderData(state));
  job->settings = settingsOf(key.size, samples, seed);
  Job* raw = job.get();
  job->thread = std::make_unique<BackgroundJob>(
      "material preview", [raw](BaseThread& thread) { raw->run(thread); },
      [self = lifetime_.ref(), watched = std::weak_ptr(job)] {
        if (self && self->job_ && self->job_ == watched.lock()) self->ended();
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
  if (job->result == RENDERRESULT_USERBREAK) return stopped(*job);
  if (job->refines) return join(*job);
  ++finished_;
  patience_.erase(job->key);
  Cached& cached = cache_[job->key];
  cached = {job->look, job->bitmap, ++uses_, nullptr, 0, 0, 0};
  joined(cached.mean, 0, *job->bitmap, job->samples);
  cached.samples = cached.told = job->samples;
  if (!isFresh(job->key.material, job->key.size)) want(job->key); // edited meanwhile
  forget();
  ready.call(job->key.material);
}

// A stopped preview goes to the front of the queue.
void MaterialPreviews::stopped(const Job& job) {
  ++stopped_;
  if (!job.refines) {
    ++patience_[job.key];
    queue_.push_front(job.key);
  } else if (const auto found = cache_.find(job.key); found != cache_.end()) {
    ++found->second.stops;
  }
}

// Adds a pass. The picture is shown again when its samples have doubled.
void MaterialPreviews::join(const Job& job) {
  const auto found = cache_.find(job.key);
  if (found == cache_.end() || !sameLook(found->second.look, job.look)) return;
  Cached& cached = found->second;
  const std::shared_ptr<BaseBitmap> bitmap = joined(cached.mean, cached.samples, *job.bitmap, job.samples);
  if (!bitmap) return cached.mean.reset();
  cached.samples += job.samples;
  if (cached.samples < cleanSamples && cached.samples < 2 * cached.told) return;
  cached.bitmap = bitmap;
  cached.told = cached.samples;
  ready.call(job.key.material);
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
