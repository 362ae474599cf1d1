// The windows of the render queue, and the queue that they share. Main thread.
#pragma once

#include <QObject>
#include <QPointer>
#include <memory>

#include "render_queue.h"

class QAction;
class QWidget;

namespace host {

class AnimationDialog;
class QueueWindow;
class Session;

class QueueWindows : public QObject {
  Q_OBJECT
 public:
  /// The session must outlive this. `quit` ends the program; its key works in these windows, too.
  QueueWindows(Session& session, QWidget& window, QAction& quit);
  ~QueueWindows() override;

  void showDialog();
  void showQueue();
  /// Shows the queue when animations of an earlier session are left.
  void showLeft();
  /// Asks the user when animations are left that render; true: the program may end.
  bool mayClose();

 signals:
  /// Pictures are to be opened in the Frame Buffer.
  void picturesWanted(const QStringList& files);

 private:
  Session& session_;
  QWidget& window_;
  QAction& quit_;
  farm::RenderQueue queue_;
  QPointer<AnimationDialog> dialog_;
  QPointer<QueueWindow> list_;
};

} // namespace host
