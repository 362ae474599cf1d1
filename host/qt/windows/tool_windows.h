// Windows and boxes that commands open: frame buffer, render settings, farm, shortcuts, about. Main thread.
#pragma once

#include <QObject>
#include <QPointer>

class QWidget;

namespace host {

class CommandTable;
class FarmWindows;
class FrameBuffer;
class RecoveryDialog;
class RenderSettingsDialog;
class Session;
class ShortcutsDialog;

/// Each is made when it is first needed and kept until `shutDown`.
class ToolWindows : public QObject {
  Q_OBJECT
 public:
  /// All must outlive `shutDown`.
  ToolWindows(Session& session, CommandTable& commands, QWidget& window);
  ~ToolWindows() override;

  FrameBuffer& frameBuffer();
  void showFrameBuffer();
  void showRenderSettings();
  /// The dialog that submits to the farm, and the list of its jobs.
  FarmWindows& farm();
  void showShortcuts();
  void showAbout();
  /// Offers the scenes that programs have left unsaved; `always`: says so when there are none.
  void showRecovery(bool always);

  /// Closes them all: the session ends.
  void shutDown();

 private:
  Session& session_;
  CommandTable& commands_;
  QWidget& window_;
  QPointer<FrameBuffer> frame_;
  bool placed_ = false; // the frame buffer
  QPointer<RenderSettingsDialog> settings_;
  QPointer<FarmWindows> farm_;
  QPointer<ShortcutsDialog> shortcuts_;
  QPointer<RecoveryDialog> recovery_;
};

} // namespace host
