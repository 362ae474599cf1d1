// Lets Qt's event loop drive the host's. Main thread.
#pragma once

#include <QObject>
#include <QTimer>
#include <memory>
#include <optional>

#include "clock.h"

namespace host {

/// While one lives, the tasks of `mainLoop()` run from Qt's event loop, including nested loops and those of
/// native dialogs; `mainLoop()` decides what may run while a box is open. It never blocks and leaves room for
/// input between two rounds. At most one at a time, after the QCoreApplication.
class QtMainLoop : public QObject {
  Q_OBJECT
 public:
  explicit QtMainLoop(QObject* parent = nullptr);
  ~QtMainLoop() override; // the loop then stops

  /// Runs one round at once.
  void run();

 protected:
  void customEvent(QEvent* event) override;

 private:
  struct Waker;
  void arm();

  std::shared_ptr<Waker> waker_;
  QTimer timer_;
  std::optional<Milliseconds> scheduled_;
};

} // namespace host
