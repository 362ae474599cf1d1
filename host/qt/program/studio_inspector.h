// Lets a test that works the program from outside, with a mouse and a keyboard, find what is on screen. It
// only tells; it changes nothing. Main thread.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <memory>

namespace host {

/// With LUMENARA_INSPECT=FOLDER in the environment: whenever a file "request" comes to that folder, it is
/// taken away and "answer.json" is written there, replaced whole. It lists what is shown: windows, widgets
/// and entries of open menus, each with its class, object name, accessible name, text, place on the screen in
/// device pixels, whether it is enabled and checked.
class StudioInspector : public QObject {
  Q_OBJECT
 public:
  /// Null without the variable.
  static std::unique_ptr<StudioInspector> fromEnvironment();
  explicit StudioInspector(const QString& folder);

  /// What "answer.json" holds.
  static QByteArray describe();

 private:
  void look();

  QString folder_;
  QTimer timer_;
};

} // namespace host
