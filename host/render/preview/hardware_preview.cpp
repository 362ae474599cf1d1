#include "hardware_preview.h"

#include <atomic>
#include <mutex>

#include "c4d_events.h"
#include "gl_context.h"
#include "gl_drawing.h"
#include "worker_threads.h"

namespace host::render {
namespace {

/// State that outlives a render. The cache belongs to the thread that has the turn with the context.
struct PreviewState {
  GlCache cache;
  std::atomic<bool> allowed{true}, saidFallback{false};
  std::mutex mutex;
  HardwareCounters counters;
};
PreviewState& previewState() {
  static PreviewState& state = *new PreviewState;
  return state;
}

void publishCounters() {
  PreviewState& state = previewState();
  const std::lock_guard lock(state.mutex);
  const GlCache::Counters& c = state.cache.counters();
  state.counters = {c.meshUploads, c.textureUploads, c.programs};
}

void sayFallback(const std::string& why) {
  if (!previewState().saidFallback.exchange(true))
    GePrint(String(std::string_view("Render: the hardware preview cannot draw (" + why +
                                    "). The software preview draws instead.")));
}

/// One attempt to draw a request.
class HardwareRender {
 public:
  explicit HardwareRender(const RenderRequest& request) : request_(request) {}

  std::optional<RenderReport> run() {
    runOnWorkers(1, [&](int) { work(); }); // a worker has no other OpenGL context
    if (begun_ && request_.hooks.endPasses) request_.hooks.endPasses();
    if (usable_) return std::move(report_);
    sayFallback(why_);
    return std::nullopt;
  }

 private:
  void work() {
    const RenderHooks& hooks = request_.hooks;
    const std::optional<int> units = textureUnits();
    if (!units) return;
    auto built = GlScene::build(request_.snapshot, request_.settings, *units, hooks.stopped);
    static_cast<BuildCounts&>(report_.stats) = built.counts;
    report_.problems = std::move(built.undecoded);
    if (!built.scene) return;
    const GlTurn turn(hooks.stopped);
    if (turn.broken()) return;
    GlCache& cache = previewState().cache;
    try {
      if (!turn.ready()) throw GlError(turn.why());
      begun_ = true;
      if (hooks.beginPasses) hooks.beginPasses();
      report_.outcome = draw(*built.scene, cache);
      cache.trim();
    } catch (const GlError& e) {
      giveUp(e.what());
      if (turn.ready()) cache.clear();
    }
    publishCounters();
  }

  RenderOutcome draw(const GlScene& scene, GlCache& cache) {
    RenderStats& stats = report_.stats;
    try {
      GlDrawing drawing(scene, cache, request_);
      if (request_.hooks.progress) request_.hooks.progress(0);
      const GlDrawing::Uploads meshes = drawing.upload();
      stats.meshesBuilt += meshes.uploaded;
      stats.meshesReused += meshes.reused;
      stats.buildMs = request_.since.milliseconds();
      stats.cameraSamples = drawing.draw();
      stats.firstPixelsMs = request_.since.milliseconds();
    } catch (const GlStopped&) {
      return RenderOutcome::stopped;
    }
    return RenderOutcome::finished;
  }

  // Texture units of the driver; nothing without a driver or after a break.
  std::optional<int> textureUnits() {
    const GlTurn turn(request_.hooks.stopped);
    if (turn.broken()) return std::nullopt;
    GLint units = 0;
    if (turn.ready()) glGetIntegerv(GL_MAX_TEXTURE_IMAGE_UNITS, &units);
    if (units > 0) return std::min(units, firstMaterialUnit + 16);
    giveUp(turn.why());
    return std::nullopt;
  }

  void giveUp(const std::string& why) {
    usable_ = false;
    why_ = why;
  }

  const RenderRequest& request_;
  RenderReport report_{RenderOutcome::stopped, {}, {}};
  bool usable_ = true; // the driver is
  bool begun_ = false;
  std::string why_;
};

} // namespace

std::optional<RenderReport> drawHardwarePreview(const RenderRequest& request) {
  if (previewState().allowed) return HardwareRender(request).run();
  sayFallback("it is switched off");
  return std::nullopt;
}

void freeHardwarePreview() {
  PreviewState& state = previewState();
  {
    const std::lock_guard lock(state.mutex);
    if (state.counters.programs == 0) return; // never used: do not make a context only to free it
  }
  runOnWorkers(1, [&](int) {
    GlTurn turn({});
    if (!turn.ready()) return;
    state.cache.clear();
    turn.destroyContext();
  });
}

void allowHardwarePreview(bool allowed) {
  PreviewState& state = previewState();
  if (state.allowed.exchange(allowed) != allowed) state.saidFallback = false;
}

HardwareCounters hardwareCounters() {
  PreviewState& state = previewState();
  const std::lock_guard lock(state.mutex);
  return state.counters;
}

} // namespace host::render
