// The film of the renders that plug-ins make, in the session's list of pictures. Main thread.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "lifetime.h"
#include "picture_list.h"
#include "render_notices.h"

namespace host {

/// News of a render, for the main thread.
struct FilmNews {
  enum class Stage : std::uint8_t { begun, visible, ended };
  Stage stage = Stage::begun;
  bool byPlugin = false;
  std::shared_ptr<Film> film;            // null while nothing was drawn into the bitmap
  RENDERRESULT result = RENDERRESULT_OK; // of an ended render
};

/// Samples of each pixel that the viewer's render has taken, as if all pixels took the same number.
struct ViewerProgress {
  std::uint64_t render = 0;
  int done = 0, samples = 0; // samples 0: nothing renders
  double noise = -1;         // as `RenderProgress` has it
  bool operator==(const ViewerProgress&) const = default;
};

/// Keeps one live entry, "Viewer": the film of the last render by a plug-in, without what the plug-in draws
/// over its bitmap. When the plug-in gives its bitmap another size, the film before stays listed until the
/// first picture of the new one is complete.
class ViewerFilm final : private render::RenderWatcher {
 public:
  explicit ViewerFilm(PictureList& pictures);
  ~ViewerFilm();
  ViewerFilm(const ViewerFilm&) = delete;
  ViewerFilm& operator=(const ViewerFilm&) = delete;

  /// Every render of this program, in order: of plug-ins, of the session, of previews. The film of an ended
  /// render may be drawn into again by the next one: keep a copy.
  Listeners<const FilmNews&> rendered;

  /// Of the viewer's newest render. Any thread.
  ViewerProgress progress() const;

 private:
  void renderStarted(const render::RenderNotice& notice) override;
  void renderVisible(const render::RenderNotice& notice) override;
  void renderProgressed(const render::RenderProgress& progress) override;
  void renderEnded(const render::RenderNotice& notice) override;
  void post(const FilmNews& news);
  void take(const FilmNews& news);
  void show(const std::shared_ptr<Film>& film, bool running);

  PictureList& pictures_;
  mutable std::mutex mutex_; // of progress_
  ViewerProgress progress_;
  Lifetime<ViewerFilm> lifetime_{*this}; // for tasks that wait in the loop
  const WeakRef<ViewerFilm> self_;       // copied on the renders' threads
};

} // namespace host
