#include "frame_probe.h"

#include <array>

#include "camera_edits.h"
#include "film.h"
#include "film_focus.h"
#include "frame_buffer.h"
#include "frame_commands.h"
#include "frame_status.h"
#include "picture_canvas.h"
#include "picture_source.h"
#include "pixel_panel.h"
#include "scene_edits.h"

namespace host {

FrameProbe::FrameProbe(Session& session, FrameBuffer& frame)
    : QObject(&frame), session_(session), frame_(frame), panel_(new PixelPanel) {
  frame.addPanel(panel_, "pixel", tr("Pixel"), QKeySequence(Qt::Key_P));
  PictureCanvas& canvas = frame.canvas();
  connect(&canvas, &PictureCanvas::hovered, panel_, &PixelPanel::showPixel);
  connect(&canvas, &PictureCanvas::markChanged, this, [this] {
    const QRect& marked = frame_.canvas().marked();
    if (!marked.isEmpty() && !panel_->isVisible()) frame_.showPanel(*panel_);
    panel_->showRect(marked);
  });
  connect(&canvas, &PictureCanvas::imageChanged, this, &FrameProbe::takeFilm);
  connect(&frame, &FrameBuffer::pictureChanged, this, &FrameProbe::takeFilm);
  connect(&canvas, &PictureCanvas::clicked, this, [this](const QPoint& pixel, Qt::KeyboardModifiers keys) {
    if (focus_->isChecked()) return pickFocus(pixel);
    pick(pixel, keys.testFlag(Qt::AltModifier) ? PickTarget::material : PickTarget::object);
  });
  focus_ = frame.commands().add(FrameMenu::picture,
                                {"focus",
                                 tr("Pick Focus"),
                                 {QKeySequence(Qt::Key_F)},
                                 [this] { setFocusing(focus_->isChecked()); },
                                 true,
                                 tr("The next click in the picture sets the camera's focus distance")});
}

void FrameProbe::setFocusing(bool on) {
  focus_->setChecked(on);
  frame_.canvas().setIdleCursor(on ? Qt::CrossCursor : Qt::ArrowCursor);
}

void FrameProbe::takeFilm() {
  const SharedBitmap& bitmap = frame_.picture().bitmap();
  panel_->setFilm(bitmap ? filmOf(*bitmap) : nullptr);
}

std::shared_ptr<Film> FrameProbe::filmAt(const QPoint& pixel) const {
  const SharedBitmap& bitmap = frame_.picture().bitmap();
  std::shared_ptr<Film> film = bitmap ? filmOf(*bitmap) : nullptr;
  return film && QRect(0, 0, film->width(), film->height()).contains(pixel) ? film : nullptr;
}

// After a miss the next click is another try.
void FrameProbe::pickFocus(const QPoint& pixel) {
  const std::shared_ptr<Film> film = filmAt(pixel);
  if (!film) return;
  const FilmFocus found = focusAt(*film, pixel.x(), pixel.y(), session_.document());
  frame_.status().say(QString::fromStdString(found.sentence));
  if (found.camera == 0) return;
  setFocusing(false);
  session_.edits().apply(
      "Pick Focus", [&found](BaseDocument& document) { focusCamera(document, found.camera, found.point); });
}

void FrameProbe::pick(const QPoint& pixel, PickTarget target) {
  const std::shared_ptr<Film> film = filmAt(pixel);
  if (!film) return;
  const FilmPick found = pickNode(*film, pixel.x(), pixel.y(), target, session_.document());
  if (found.node != 0)
    session_.edits().apply("Select", [&](BaseDocument& document) {
      target == PickTarget::object ? selectObjects(document, std::array{found.node})
                                   : selectMaterial(document, found.node);
    });
  frame_.status().say(QString::fromStdString(found.sentence));
}

} // namespace host
