#include "viewer_film.h"

#include <cmath>

#include "main_loop.h"

namespace host {

ViewerFilm::ViewerFilm(PictureList& pictures) : pictures_(pictures), self_(lifetime_.ref()) {
  render::addRenderWatcher(this);
}

ViewerFilm::~ViewerFilm() {
  render::removeRenderWatcher(this);
}

void ViewerFilm::renderStarted(const render::RenderNotice& notice) {
  post({FilmNews::Stage::begun, notice.byPlugin, notice.bitmap ? filmOf(*notice.bitmap) : nullptr});
}

void ViewerFilm::renderVisible(const render::RenderNotice& notice) {
  post({FilmNews::Stage::visible, notice.byPlugin, notice.film});
}

void ViewerFilm::renderProgressed(const render::RenderProgress& progress) {
  if (!progress.byPlugin) return;
  const std::lock_guard lock(mutex_);
  if (progress.id < progress_.render) return;
  progress_ = {progress.id, static_cast<int>(std::lround(progress.part * progress.samples)), progress.samples,
               progress.noise};
}

ViewerProgress ViewerFilm::progress() const {
  const std::lock_guard lock(mutex_);
  return progress_;
}

void ViewerFilm::renderEnded(const render::RenderNotice& notice) {
  {
    const std::lock_guard lock(mutex_);
    if (progress_.render == notice.id) progress_.samples = progress_.done = 0;
  }
  post({FilmNews::Stage::ended, notice.byPlugin, notice.film, notice.result});
}

void ViewerFilm::post(const FilmNews& news) {
  mainLoop().post([self = self_, news] {
    if (self) self->take(news);
  });
}

void ViewerFilm::take(const FilmNews& news) {
  if (news.byPlugin) {
    const PictureList::Picture* live = pictures_.live();
    const bool known = live && news.film && filmOf(*live->bitmap) == news.film;
    // A render that was stopped before its first picture leaves the film before it.
    const bool whole = news.stage == FilmNews::Stage::ended &&
                       (news.result == RENDERRESULT_OK || news.result == RENDERRESULT_ASSETMISSING);
    if (news.film && (known || whole || news.stage == FilmNews::Stage::visible))
      show(news.film, news.stage != FilmNews::Stage::ended);
  }
  rendered.call(news);
}

// The entry's own bitmap carries the plug-in's film.
void ViewerFilm::show(const std::shared_ptr<Film>& film, bool running) {
  const PictureList::Picture* live = pictures_.live();
  SharedBitmap bitmap = live ? live->bitmap : nullptr;
  if (!bitmap || filmOf(*bitmap) != film) {
    bitmap = makeBitmap(film->width(), film->height());
    if (!bitmap) return;
    setFilm(*bitmap, film);
    drawFilm(*bitmap); // for thumbnails
  } else if (!running) {
    drawFilm(*bitmap);
  }
  pictures_.showLive(bitmap, "Viewer", running);
}

} // namespace host
