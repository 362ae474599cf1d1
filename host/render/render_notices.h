// Notices about renders for watchers: the start and the end of every call of RenderDocument that renders.
#pragma once

#include <cstdint>
#include <memory>

#include "c4d_bitmap.h"
#include "c4d_document.h"
#include "c4d_render.h"

#include "film.h"

namespace host::render {

struct RenderNotice {
  std::uint64_t id = 0;                    // of the render, unique in the program's run
  const BaseDocument* document = nullptr;  // that renders; during the call alone
  const BaseContainer* settings = nullptr; // of the render; during the call alone
  const BaseBitmap* bitmap = nullptr;      // that it renders into; during the call alone
  bool byPlugin = false;                   // a plug-in's render

  // When it is visible, and at the end.
  std::shared_ptr<Film> film; // at the end with its origin; null when nothing was rendered
  // At the end.
  RENDERRESULT result = RENDERRESULT_OK;
  double seconds = 0; // since the start
};

/// How far a render is.
struct RenderProgress {
  std::uint64_t id = 0; // of the render
  bool byPlugin = false;
  double part = 0; // 0 to 1, never falling
  int samples = 0; // wanted of each pixel
  // The standard error of a pixel's brightness on a display (root mean square), as the noise threshold counts
  // it. Measured when the samples have doubled; below 0: not yet.
  double noise = -1;
};

/// Called on the renders' threads, several at a time.
class RenderWatcher {
 public:
  /// Before the document is evaluated.
  virtual void renderStarted(const RenderNotice& notice) = 0;
  /// The first picture of the whole region is complete, however coarse; once at most.
  virtual void renderVisible(const RenderNotice& notice) { static_cast<void>(notice); }
  /// At most a thousand times a render. Must be quick.
  virtual void renderProgressed(const RenderProgress& progress) { static_cast<void>(progress); }
  /// Follows every `renderStarted`.
  virtual void renderEnded(const RenderNotice& notice) = 0;

 protected:
  ~RenderWatcher() = default;
};

/// Any thread.
void addRenderWatcher(RenderWatcher* watcher);
/// Waits for its calls. Not from within one.
void removeRenderWatcher(RenderWatcher* watcher);

/// Tells the watchers. On the render's thread; the id of the start is that of the end.
std::uint64_t newRenderId() noexcept;
void tellRenderStarted(const RenderNotice& notice);
void tellRenderVisible(const RenderNotice& notice);
void tellRenderProgressed(const RenderProgress& progress);
void tellRenderEnded(const RenderNotice& notice);

} // namespace host::render
