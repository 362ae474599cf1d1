// The picture that --viewer asks for. Main thread.
#pragma once

#include <QObject>
#include <QTimer>
#include <functional>

#include "file_session.h"

class QWidget;

namespace host {

/// Asks for a picture once the scene is loaded and the window keeps its size. A resize during a render leaves
/// the viewer black, and window managers resize a new window when they get to it.
class FirstPicture : public QObject {
  Q_OBJECT
 public:
  /// `window` is shown and outlives this; `ask` is called once, unless this ends before.
  FirstPicture(FileSession& files, QWidget& window, std::function<void()> ask);

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void askIfReady();

  FileSession& files_;
  std::function<void()> ask_; // empty once called
  QTimer calm_{this};         // runs from the window's last change
  bool standing_ = false;
  Subscription loaded_;
};

} // namespace host
