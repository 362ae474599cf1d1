#include "frame_steering.h"

#include <QAction>

#include "frame_buffer.h"
#include "frame_commands.h"
#include "frame_status.h"
#include "picture_canvas.h"
#include "picture_source.h"
#include "scene_edits.h"
#include "scene_queries.h"

namespace host {

FrameSteering::FrameSteering(Session& session, FrameBuffer& frame)
    : QObject(&frame), session_(session), frame_(frame) {
  FrameCommands& commands = frame.commands();
  isolate_ = commands.add(FrameMenu::picture,
                          {"isolate",
                           tr("Isolate Selected Objects"),
                           {QKeySequence(Qt::Key_I)},
                           [this] { setIsolated(isolate_->isChecked()); },
                           true,
                           tr("Renders show the selected objects alone, in the light of the whole scene")});
  here_ =
      commands.add(FrameMenu::picture,
                   {"render-here",
                    tr("Render Here First"),
                    {QKeySequence(Qt::Key_O)},
                    [this] { toggleStart(); },
                    true,
                    tr("Renders begin at the pointer; with the pointer beside the picture, in the middle")});
  commands.addSeparator(FrameMenu::picture);
  QAction* full = frame.findChild<QAction*>(QStringLiteral("fullscreen"));
  commands.bar().insertActions(full, {isolate_, here_});
  // A reload keeps the objects' names only; their identities are new.
  replaced_ = session_.hub().replaced.add([this](Replacement) { release(); });
}

// The window's other parts may be gone.
FrameSteering::~FrameSteering() {
  render::isolateObjects({});
  render::setRenderStart({});
}

void FrameSteering::release() {
  render::isolateObjects({});
  render::setRenderStart({});
  isolate_->setChecked(false);
  here_->setChecked(false);
  frame_.canvas().setSpot({});
}

void FrameSteering::setIsolated(bool on) {
  std::vector<Identity> objects;
  if (const BaseDocument* document = session_.document(); document && on)
    objects = topmost(*document, selectedObjects(*document));
  isolate_->setChecked(!objects.empty());
  if (on && objects.empty())
    return frame_.status().say(tr("Select the objects that are to be rendered alone first."));
  const auto count = static_cast<int>(objects.size());
  if (render::isolatedObjects() == objects) return;
  render::isolateObjects(std::move(objects));
  frame_.status().say(on ? tr("Renders show %n object(s) alone.", "", count)
                         : tr("Renders show the whole scene again."));
  session_.hub().tellChanged(); // the viewer renders again
}

void FrameSteering::setStart(const std::optional<render::PicturePlace>& place) {
  render::setRenderStart(place);
  here_->setChecked(place.has_value());
  frame_.canvas().setSpot(
      place ? std::optional(QPointF(static_cast<double>(place->x), static_cast<double>(place->y)))
            : std::nullopt);
  frame_.status().say(place ? tr("Renders begin at the mark.") : tr("Renders begin in the middle."));
}

// Pictures side by side have no one place.
void FrameSteering::toggleStart() {
  const QPoint pixel = frame_.canvas().hoveredPixel();
  const PictureSource& picture = frame_.picture();
  const auto part = [](int at, int size) {
    return (static_cast<float>(at) + 0.5f) / static_cast<float>(size);
  };
  if (pixel.x() >= 0 && frame_.canvas().source() == &picture)
    return setStart(render::PicturePlace{part(pixel.x(), picture.size().width()),
                                         part(pixel.y(), picture.size().height())});
  if (render::renderStart()) return setStart({});
  here_->setChecked(false);
  const QString key = here_->shortcut().toString(QKeySequence::NativeText);
  frame_.status().say(
      key.isEmpty()
          ? tr("Give this command a key in Help > Shortcuts, and press it over the place to begin at.")
          : tr("Point at the place in the picture that is to be rendered first, and press %1.").arg(key));
}

} // namespace host
