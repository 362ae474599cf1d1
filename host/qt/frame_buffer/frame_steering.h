// Isolate and Render Here First: renders that follow the user. Main thread.
#pragma once

#include <QObject>

#include "render_steering.h"
#include "session.h"

class QAction;

namespace host {

class FrameBuffer;

/// Both hold for every render of the program, the viewer's too, until they are switched off or another scene
/// is opened. They change no document.
class FrameSteering : public QObject {
  Q_OBJECT
 public:
  FrameSteering(Session& session, FrameBuffer& frame);
  ~FrameSteering() override; // switches both off

  /// Renders show the selected objects alone; the selection of this moment counts.
  void setIsolated(bool on);
  /// Renders begin at this place; nothing: in the middle.
  void setStart(const std::optional<render::PicturePlace>& place);

 private:
  void toggleStart();
  void release();

  Session& session_;
  FrameBuffer& frame_;
  QAction *isolate_, *here_;
  Subscription replaced_;
};

} // namespace host
