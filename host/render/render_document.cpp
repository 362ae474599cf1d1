// RenderDocument: from a document to a snapshot, with progress, video posts and errors around the render.
#include <atomic>
#include <optional>

#include "access.h"
#include "c4d_events.h"
#include "document.h"
#include "failures.h"
#include "film.h"
#include "isolated_snapshot.h"
#include "kept_render.h"
#include "plugin_renders.h"
#include "render_notices.h"
#include "render_origin.h"
#include "render_snapshot.h"
#include "render_steering.h"
#include "sampler.h"
#include "snapshot_motion.h"
#include "thread_context.h"
#include "video_post_calls.h"
#include "view_setting.h"

namespace host::render {
namespace {

bool isAnimated(const BaseDocument& document) {
  bool any = false;
  forEachObject(stateOf(&document)->children,
                [&](const ObjectState& object) { any = any || object.tracks != nullptr; });
  return any;
}

/// One call of RenderDocument.
class DocumentRender {
 public:
  DocumentRender(BaseDocument& document, const BaseContainer& settings, ProgressHook* progress,
                 void* userData, BaseBitmap& bitmap, RENDERFLAGS flags, BaseThread* thread)
      : document_(document), container_(settings), progress_(progress), userData_(userData), bitmap_(bitmap),
        flags_(flags), thread_(thread), settings_(readSettings(settings, bitmap.GetBw(), bitmap.GetBh())) {
    readVideoPosts(document.GetActiveRenderData(), settings_);
    settings_.view = readView(settings, &document);
    // Each frame has noise of its own; frame 0 keeps that of the seed.
    settings_.seed ^=
        hash32(static_cast<std::uint32_t>(time().GetFrame(static_cast<Real>(document.GetFps()))));
  }

  /// Called when the first picture is complete.
  void setVisible(std::function<void()> visible) { visible_ = std::move(visible); }
  void setProgressed(std::function<void(double, int, double)> progressed) {
    progressed_ = std::move(progressed);
  }

  RENDERRESULT run() {
    if (settings_.region.empty()) return RENDERRESULT_OK;
    reportProgress(0, RENDERPROGRESSTYPE_BEFORERENDERING);
    {
      Access::RenderView view(&bitmap_, &container_);
      VideoPostStruct frame;
      frame.doc = &document_;
      frame.render = &view;
      frame.thread = thread_;
      frame.time = time();
      frame.width = bitmap_.GetBw();
      frame.height = bitmap_.GetBh();
      // The switch for post effects stops the posts of plug-ins only; the renderer's own effects have the
      // disabled bits of their posts.
      const bool effects = container_.GetBool(RDATA_POSTEFFECTS_ENABLE, TRUE);
      VideoPostCalls posts(effects ? document_.GetActiveRenderData() : nullptr, frame, &error_);
      posts.open(VIDEOPOSTCALL_FRAMESEQUENCE);
      posts.open(VIDEOPOSTCALL_FRAME);
      posts.open(VIDEOPOSTCALL_SUBFRAME);
      renderFrame(posts);
    }
    noteRefusal();
    printProblems();
    reportProgress(error_ == RENDERRESULT_USERBREAK ? reported_ : 1, RENDERPROGRESSTYPE_AFTERRENDERING);
    const bool missing = report_.outcome == RenderOutcome::assetMissing;
    return error_ == RENDERRESULT_OK && missing ? RENDERRESULT_ASSETMISSING : error_;
  }

  const RenderStats& stats() const { return report_.stats; }

 private:
  bool stopped() const { return (thread_ && thread_->TestBreak()) || error_ != RENDERRESULT_OK; }

  BaseTime time() const { return container_.GetTime(RDATA_FRAMEFROM, document_.GetTime()); }

  void reportProgress(double part, RENDERPROGRESSTYPE type) {
    reported_ = part;
    if (progress_) progress_(part, type, userData_);
  }

  // The frame's own time comes last, so the document stays in its pose.
  SnapshotPtr evaluate() {
    if (!settings_.motionBlur || settings_.preview || !isAnimated(document_)) return evaluateAt(time());
    std::vector<SnapshotPtr> steps;
    for (int i = 0; i <= settings_.motionSteps; ++i) {
      const double part = static_cast<double>(i) / settings_.motionSteps;
      const double frames = settings_.shutterOpen + part * (settings_.shutterClose - settings_.shutterOpen);
      steps.push_back(evaluateAt(BaseTime(time().Get() + frames / document_.GetFps())));
      if (!steps.back()) return nullptr;
    }
    const SnapshotPtr frame = evaluateAt(time());
    return frame ? withMotion(frame, steps) : nullptr;
  }

  SnapshotPtr evaluateAt(const BaseTime& at) {
    document_.SetTime(at);
    if (!document_.ExecutePasses(thread_, TRUE, TRUE, TRUE, BUILDFLAGS_EXTERNALRENDERER)) return nullptr;
    SnapshotOptions options;
    options.lod = std::min(1.0, std::max(0.0, container_.GetReal(RDATA_LOD, document_.GetLOD())));
    options.activeOnly = container_.GetBool(RDATA_ACTIVEOBJECTONLY, FALSE);
    options.textures = container_.GetBool(RDATA_TEXTURES, TRUE);
    options.thread = thread_;
    return isolated(takeSnapshot(document_, options), document_, isolatedObjects());
  }

  void renderFrame(VideoPostCalls& posts) {
    const SnapshotPtr snapshot = stopped() ? nullptr : evaluate();
    if (!snapshot) {
      if (error_ == RENDERRESULT_OK) error_ = RENDERRESULT_USERBREAK;
      return;
    }
    posts.open(VIDEOPOSTCALL_RENDER);
    if (error_ != RENDERRESULT_OK) return; // a post refused
    report_ = renderSnapshot({snapshot, settings_, &bitmap_, hooksFor(posts), since_});
    const auto film = filmOf(bitmap_);
    if (film && report_.outcome != RenderOutcome::refused) {
      film->setNodes(cameraNode, {snapshot->camera.object});
      RenderSettings done = settings_;
      if (const int behind = samplesBehind(film->samples().get())) done.samples = behind;
      film->setOrigin(describeRender(document_, container_, done, time(), since_.milliseconds() / 1000));
    }
    // For posts a render with a missing picture is completed.
    if (error_ == RENDERRESULT_OK && report_.outcome != RenderOutcome::assetMissing)
      error_ = interfaceResult(report_.outcome);
  }

  RenderHooks hooksFor(VideoPostCalls& posts) {
    RenderHooks hooks;
    hooks.stopped = [this] {
      return (thread_ && thread_->TestBreak()) || postFailed_.load(std::memory_order_relaxed);
    };
    // A hardware preview that fails midway starts again in software; the progress does not fall.
    hooks.progress = [this](double part) {
      if (progressed_) progressed_(std::max(part, reported_), settings_.samples, noise_);
      reportProgress(std::max(part, reported_), RENDERPROGRESSTYPE_DURINGRENDERING);
    };
    hooks.noise = [this](double noise) { noise_ = noise; };
    hooks.visible = visible_;
    if (posts.empty()) return hooks;
    hooks.beginPasses = [this, &posts] {
      posts.open(VIDEOPOSTCALL_INNER);
      notePostError();
    };
    hooks.endPasses = [&posts] { posts.close(VIDEOPOSTCALL_INNER); };
    hooks.beginTile = [&posts] { posts.open(VIDEOPOSTCALL_TILE); };
    hooks.endTile = [this, &posts] {
      posts.close(VIDEOPOSTCALL_TILE);
      notePostError();
    };
    return hooks;
  }

  void notePostError() {
    if (error_ != RENDERRESULT_OK) postFailed_ = true;
  }

  // Callers that ask for a render to go on read the record of failures.
  void noteRefusal() const {
    if (report_.refusal.empty()) return;
    const Filename file = document_.GetDocumentPath() + document_.GetDocumentName();
    recordFailure(file, "The render cannot go on from the picture: " + report_.refusal + ".",
                  time().GetFrame(static_cast<Real>(document_.GetFps())));
  }

  void printProblems() const {
    if (!(flags_ & RENDERFLAGS_SHOWERRORS)) return;
    for (const std::string& problem : report_.problems)
      GePrint(String(std::string_view("Render: " + problem)));
  }

  const Stopwatch since_;
  BaseDocument& document_;
  const BaseContainer& container_;
  ProgressHook* progress_;
  void* userData_;
  BaseBitmap& bitmap_;
  RENDERFLAGS flags_;
  BaseThread* thread_;
  RenderSettings settings_;
  std::function<void()> visible_;
  std::function<void(double, int, double)> progressed_; // part, samples, noise
  double noise_ = -1;                                   // measured last
  RenderReport report_;
  RENDERRESULT error_ = RENDERRESULT_OK; // the slot of the video posts
  std::atomic<bool> postFailed_{false};
  double reported_ = 0;
};

// Callers that render a range of frames check only the last result, so every failed frame is recorded.
RENDERRESULT recorded(const BaseDocument& document, const BaseContainer& settings,
                      RENDERRESULT result) noexcept {
  if (result == RENDERRESULT_OK || result == RENDERRESULT_ASSETMISSING || result == RENDERRESULT_USERBREAK)
    return result;
  try {
    const LONG frame =
        settings.GetTime(RDATA_FRAMEFROM, document.GetTime()).GetFrame(static_cast<Real>(document.GetFps()));
    const Filename file = document.GetDocumentPath() + document.GetDocumentName();
    recordFailure(file,
                  "Frame " + std::to_string(frame) + " of \"" + file.GetString().GetUTF8() +
                      "\" was not rendered completely: " +
                      (result == RENDERRESULT_OUTOFMEMORY
                           ? "there was not enough memory. Use a smaller picture or a simpler scene."
                           : "a video post stopped it with result " + std::to_string(result) +
                                 ". Switch it off or render again."),
                  frame);
  } catch (const std::exception&) { // without memory for the sentence the result stands alone
  }
  return result;
}

// Tells the watchers of the start, and of the end even when the render throws.
class Announcement {
 public:
  Announcement(const BaseDocument& document, const BaseContainer& settings, const BaseBitmap& bitmap) {
    notice_.id = newRenderId();
    notice_.document = &document;
    notice_.settings = &settings;
    notice_.bitmap = &bitmap;
    notice_.byPlugin = threadContext().plugin != nullptr;
    notice_.result = RENDERRESULT_OUTOFMEMORY;
    guarded([this] { tellRenderStarted(notice_); });
  }
  ~Announcement() {
    notice_.seconds = since_.milliseconds() / 1000;
    guarded([this] { tellRenderEnded(notice_); });
  }
  Announcement(const Announcement&) = delete;
  Announcement& operator=(const Announcement&) = delete;

  void visible(const BaseBitmap& bitmap) {
    notice_.film = filmOf(bitmap);
    guarded([this] { tellRenderVisible(notice_); });
  }
  void progressed(double part, int samples, double noise) {
    guarded([&] { tellRenderProgressed({notice_.id, notice_.byPlugin, part, samples, noise}); });
  }
  void end(RENDERRESULT result, const BaseBitmap& bitmap) {
    notice_.result = result;
    notice_.film = filmOf(bitmap);
  }

 private:
  // A watcher without memory misses the render.
  template <class Tell>
  static void guarded(const Tell& tell) noexcept {
    try {
      tell();
    } catch (const std::exception&) {
      GePrint("Render: there is not enough memory to keep it in the history.");
    }
  }

  const Stopwatch since_;
  RenderNotice notice_;
};

RENDERRESULT failed(const char* problem, RENDERFLAGS flags) {
  if (flags & RENDERFLAGS_SHOWERRORS) GePrint(String("Render: ") + String(problem));
  publishStats({});
  return RENDERRESULT_OUTOFMEMORY;
}

} // namespace
} // namespace host::render

RENDERRESULT RenderDocument(BaseDocument* document, const BaseContainer& settings, ProgressHook* progress,
                            void* userData, BaseBitmap* bitmap, RENDERFLAGS flags, BaseThread* thread) {
  using namespace host::render;
  if (!document) return failed("no document was given.", flags);
  if (!bitmap || bitmap->GetBw() < 1 || bitmap->GetBh() < 1)
    return failed("the picture to render into is empty. Give it a size first.", flags);
  if (host::threadContext().plugin) host::countPluginRender();
  Announcement announcement(*document, settings, *bitmap);
  try {
    DocumentRender render(*document, settings, progress, userData, *bitmap, flags, thread);
    render.setVisible([&] { announcement.visible(*bitmap); });
    render.setProgressed(
        [&](double part, int samples, double noise) { announcement.progressed(part, samples, noise); });
    const RENDERRESULT result = render.run();
    publishStats(render.stats());
    announcement.end(result, *bitmap);
    return recorded(*document, settings, result);
  } catch (const std::exception&) {
    return recorded(*document, settings, failed("not enough memory.", flags));
  }
}

BaseBitmap* Render::GetBuffer(LONG type, LONG index) {
  return type == VPBUFFER_RGBA && index == -1 ? bitmap_ : nullptr;
}

BaseContainer Render::GetRenderData() const {
  return settings_ ? *settings_ : BaseContainer();
}
