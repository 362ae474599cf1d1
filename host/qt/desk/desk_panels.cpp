#include "desk_panels.h"

#include <algorithm>

#include "compare_panel.h"
#include "film.h"
#include "filmstrip.h"
#include "frame_buffer.h"
#include "lens_panel.h"
#include "light_mixer_panel.h"
#include "picture_canvas.h"
#include "picture_source.h"
#include "qt_text.h"
#include "scopes_panel.h"

namespace host {

DeskPanels::DeskPanels(Session& session, FrameBuffer& frame)
    : QObject(&frame), frame_(frame), scopes_(new ScopesPanel([&frame] {
        return ScopeSource{frame.picture().image(), frame.picture().bitmap()};
      })),
      mixer_(new LightMixerPanel(session)), lens_(new LensPanel(session)),
      compare_(new ComparePanel(session, frame)) {
  frame.addPanel(scopes_, "scopes", tr("Scopes"), QKeySequence(Qt::CTRL | Qt::Key_1));
  frame.addPanel(mixer_, "mixer", tr("Light Mixer"), QKeySequence(Qt::CTRL | Qt::Key_2));
  frame.addPanel(lens_, "lens", tr("Lens Effects"), QKeySequence(Qt::CTRL | Qt::Key_3));
  frame.addPanel(compare_, "compare", tr("Compare"), QKeySequence(Qt::CTRL | Qt::Key_4));
  connect(&frame, &FrameBuffer::pictureChanged, this, &DeskPanels::showPicture);
  connect(&frame.canvas(), &PictureCanvas::imageChanged, scopes_, &ScopesPanel::refresh);
  connect(mixer_, &LightMixerPanel::mixChanged, this, &DeskPanels::showDesk);
  connect(lens_, &LensPanel::lensChanged, this, &DeskPanels::showDesk);
  connect(&frame.list(), &Filmstrip::useWanted, this,
          [this, &session](int slot, const SharedBitmap& picture, const QString& name) {
            compareWith(session.pictures(), static_cast<std::size_t>(slot), picture, name);
          });
  showPicture();
  showDesk();
}

// Pictures of earlier sessions come into the list first.
void DeskPanels::compareWith(PictureList& pictures, std::size_t slot, const SharedBitmap& picture,
                             const QString& name) {
  const auto& known = pictures.pictures();
  const auto found = std::find_if(known.begin(), known.end(),
                                  [&](const PictureList::Picture& one) { return one.bitmap == picture; });
  const PictureList::Id id = found == known.end() ? pictures.show(*picture, toHost(name)) : found->id;
  if (id != 0) compare_->use(slot, id);
}

void DeskPanels::showPicture() {
  const SharedBitmap bitmap = frame_.picture().bitmap();
  const std::shared_ptr<Film> film = bitmap ? filmOf(*bitmap) : nullptr;
  mixer_->showFilm(film.get());
}

void DeskPanels::showDesk() {
  const DeskLook desk{mixer_->mix(), lens_->shown()};
  frame_.setDesk(desk);
  compare_->setDesk(desk);
}

} // namespace host
