// The host's own renders: Render View and Render to Frame Buffer. A render works on a copy of the document
// with its active render settings, on a thread of its own; one at a time. While it runs, plug-ins see running
// state 2 (view) or 3 (frame buffer), and may end it with GeStopBackgroundThreads. Main thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "c4d_bitmap.h"
#include "c4d_render.h"
#include "document_hub.h"
#include "lifetime.h"

namespace host {

struct BitmapDeleter {
  void operator()(BaseBitmap* bitmap) const noexcept { BaseBitmap::Free(bitmap); }
};
using SharedBitmap = std::shared_ptr<BaseBitmap>;
/// A new bitmap; null when memory is short.
SharedBitmap makeBitmap(LONG width, LONG height, LONG depth = 24);
/// A copy with a copy of its film: later renders into the bitmap do not reach it. Null when memory is short
/// or the bitmap is empty.
SharedBitmap copyBitmap(const BaseBitmap& bitmap);

enum class RenderKind { view, picture };

struct RenderState {
  RenderKind kind = RenderKind::view;
  bool running = false;
  Real progress = 0;        // 0 to 1
  Milliseconds elapsed = 0; // since the start
  Milliseconds left = -1;   // estimated; -1: unknown
  SharedBitmap bitmap;      // refines in place while it runs; null before the first render
  RENDERRESULT result = RENDERRESULT_OK;
  std::string error; // one sentence; empty on success or when the user cancelled
};

class HostRenders {
 public:
  explicit HostRenders(DocumentHub& hub);
  ~HostRenders(); // cancels
  HostRenders(const HostRenders&) = delete;
  HostRenders& operator=(const HostRenders&) = delete;

  /// Renders for the editor view, at its size in pixels (the render's format when 0). Cancels a running
  /// render first. False with a sentence in `state().error` when it cannot start.
  bool renderView(LONG width, LONG height);
  /// Renders at the size of the render settings.
  bool renderPicture();
  /// Doubles the samples of a picture that this has rendered to its end: they go on in a copy of it, with the
  /// scene and settings of that time. The noise threshold falls as far as the noise. Cancels a running render
  /// first. False with a sentence in `state().error` when it cannot.
  bool moreSamples(const BaseBitmap& bitmap);
  /// True while the samples of this picture are kept: those of the last pictures, up to 1 GB.
  bool hasSamples(const BaseBitmap* bitmap) const;
  /// Ends the running render and waits for it (milliseconds).
  void cancel();
  bool isRunning() const noexcept;
  const RenderState& state() const noexcept { return state_; }
  /// Waits for the end, and serves the render's calls to the main thread.
  void finish();

  /// Progress or picture have changed: called at the start of a render and at most every `period`.
  Listeners<> changed;
  /// A render has ended; `state()` has the outcome.
  Listeners<> finished;
  static constexpr Milliseconds period = 50;

 private:
  struct Job;
  /// A finished picture with all that its samples need to go on.
  struct Kept {
    std::weak_ptr<BaseBitmap> bitmap;
    DocumentPtr document;
    BaseContainer settings;
    RenderKind kind;
    std::size_t bytes; // of the samples
  };
  bool start(RenderKind kind, LONG width, LONG height);
  bool launch(std::shared_ptr<Job> job);
  void keep(Job& job);
  void poll();
  void ended();

  DocumentHub& hub_;
  RenderState state_;
  std::shared_ptr<Job> job_;
  std::vector<Kept> kept_; // oldest first
  TimerId timer_ = 0;
  Milliseconds started_ = 0;
  Lifetime<HostRenders> lifetime_{*this}; // for tasks that wait in the loop
};

/// A render's outcome as a sentence for the user; empty for success and a break.
std::string renderSentence(RENDERRESULT result);

} // namespace host
