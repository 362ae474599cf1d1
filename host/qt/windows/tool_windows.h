// Windows and boxes that commands open: frame buffer, render settings, farm, shortcuts, about. Main thread.
#pragma once

#include <QObject>
#include <QPointer>

class QWidget;

namespace host {

class CommandTable;
class FarmWindows;
class FrameBuffer;
class KeptWindow;
class LinkDialog;
class LibraryWindow;
class LightTable;
class LiveLink;
class MissingFiles;
class QueueWindows;
class RecoveryDialog;
class RenderSettingsDialog;
class Session;
class ShortcutsDialog;
class Tour;
class SkyWindow;

/// Each is made when it is first needed and kept until `shutDown`.
class ToolWindows : public QObject {
  Q_OBJECT
 public:
  /// All must outlive `shutDown`.
  ToolWindows(Session& session, CommandTable& commands, QWidget& window);
  ~ToolWindows() override;

  FrameBuffer& frameBuffer();
  void showFrameBuffer();
  /// As `MainWindow::openFrameBuffer`.
  void openFrameBuffer(bool viewer);
  void showRenderSettings();
  /// The dialog that submits to the farm, and the list of its jobs.
  FarmWindows& farm();
  /// The dialog that adds animations to the render queue, and the queue.
  QueueWindows& queue();
  /// Shows the queue when animations of an earlier session are left.
  void showLeftQueue();
  /// Asks the user when a window has work that ends with the program.
  bool mayClose();
  /// The switches and the state of the live link, which must outlive `shutDown`.
  void showLink(LiveLink& link);
  /// The list of pictures that the scene lacks.
  void showMissingFiles();
  /// The library of materials.
  void showLibrary();
  /// The made skies.
  void showSkies();
  /// The table of all lights.
  void showLights();
  void showShortcuts();
  void showAbout();
  /// Searches the commands of the window, of open dialogs and of the frame buffer.
  void showPalette();
  /// Walks through the parts of the window, from the first one; one that is open already stays as it is.
  void showTour();
  /// Offers the scenes that programs have left unsaved; `always`: says so when there are none.
  void showRecovery(bool always);

  /// Stores the places of the windows for the last time.
  void keepLayouts();
  /// Closes them all: the session ends.
  void shutDown();

 private:
  bool placeFrameBuffer();
  void addFrameKeys();

  Session& session_;
  CommandTable& commands_;
  QWidget& window_;
  QPointer<FrameBuffer> frame_;
  KeptWindow* keptFrame_ = nullptr; // made when the frame buffer is first shown
  QPointer<RenderSettingsDialog> settings_;
  QPointer<FarmWindows> farm_;
  QPointer<QueueWindows> queue_;
  QPointer<LinkDialog> link_;
  QPointer<MissingFiles> missing_;
  QPointer<LightTable> lights_;
  QPointer<LibraryWindow> library_;
  QPointer<SkyWindow> skies_;
  QPointer<ShortcutsDialog> shortcuts_;
  QPointer<RecoveryDialog> recovery_;
  QPointer<Tour> tour_;
};

} // namespace host
