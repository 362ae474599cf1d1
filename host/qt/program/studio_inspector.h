// Lists the widgets on screen for tests that drive the program from outside with mouse and keyboard. It
// changes nothing. Main thread.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <memory>

namespace host {

/// With LUMENARA_INSPECT=FOLDER in the environment: when a file "request" appears in that folder, it is
/// removed and "answer.json" is written there, replaced whole. It lists the visible windows, widgets and
/// entries of open menus, each with its class, object name, accessible name, text, place on the screen in
/// device pixels, whether it is enabled and checked.
class StudioInspector : public QObject {
  Q_OBJECT
 public:
  /// Null when the variable is not set.
  static std::unique_ptr<StudioInspector> fromEnvironment();
  explicit StudioInspector(const QString& folder);

  /// The contents of "answer.json".
  static QByteArray describe();

 private:
  void look();

  QString folder_;
  QTimer timer_;
};

} // namespace host
