// The sign of the live link in the status bar. Main thread.
#pragma once

#include <QToolButton>

#include "live_link.h"

namespace host {

/// The connected program; a stranger's name is cut at 40 letters.
QString clientName(const LinkServer::State& state);
/// "12 objects, 1.04 M triangles"
QString sceneText(const LinkServer::State& state);

/// "Blender connected, 12 objects"; hidden while no program is. A click runs the action.
class LinkSign : public QToolButton {
  Q_OBJECT
 public:
  /// `link` must outlive it.
  LinkSign(LiveLink& link, QAction& opens, QWidget* parent = nullptr);

 private:
  void showState();

  LiveLink& link_;
  Subscription changed_;
};

} // namespace host
