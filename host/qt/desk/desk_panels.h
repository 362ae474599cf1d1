// The Frame Buffer's panels that work on its picture: scopes, light mixer, lens effects, compare. Main
// thread.
#pragma once

#include <QObject>

#include "session.h"

namespace host {

class ComparePanel;
class FrameBuffer;
class LensPanel;
class LightMixerPanel;
class ScopesPanel;

/// Makes the panels, docks them, and gives the picture what they change of its light.
class DeskPanels : public QObject {
  Q_OBJECT
 public:
  /// Becomes a child of the Frame Buffer.
  DeskPanels(Session& session, FrameBuffer& frame);

  ScopesPanel& scopes() { return *scopes_; }
  LightMixerPanel& mixer() { return *mixer_; }
  LensPanel& lens() { return *lens_; }
  ComparePanel& compare() { return *compare_; }

 private:
  void showPicture();
  void showDesk();
  void compareWith(PictureList& pictures, std::size_t slot, const SharedBitmap& picture, const QString& name);

  FrameBuffer& frame_;
  ScopesPanel* scopes_;
  LightMixerPanel* mixer_;
  LensPanel* lens_;
  ComparePanel* compare_;
};

} // namespace host
