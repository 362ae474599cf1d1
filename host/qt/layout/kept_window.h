// Keeps the layout of a window over sessions. Main thread.
#pragma once

#include <QObject>
#include <QTimer>

class QMainWindow;

namespace host {

/// Stores the place, the panels and the visibility of a window soon after they change. Belongs to the window.
class KeptWindow : public QObject {
  Q_OBJECT
 public:
  /// `name` of the layout in the preferences.
  KeptWindow(QMainWindow& window, const char* name);

  /// Puts the window where it was, with its panels; it stays hidden. False when nothing usable is stored,
  /// with a line on the console when something was: the window is as before.
  bool restore();
  /// Stores the layout for the last time: the program closes its windows when it ends.
  void end();

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void store();

  QMainWindow& window_;
  const char* name_;
  QTimer soon_{this};
};

} // namespace host
