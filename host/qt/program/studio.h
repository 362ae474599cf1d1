// Lumenara Studio as one object: host, session, plug-ins and main window, from start to end. Main thread.
#pragma once

#include <QObject>
#include <cstdio>
#include <memory>
#include <vector>

#include "live_link.h"
#include "program.h"
#include "session.h"

namespace host {

class FirstPicture;
class MainWindow;
class QtMainLoop;
class QtUserInterface;
class QuickRepaint;
class StudioInspector;

struct StudioOptions {
  Filename scene;           // opened at the start; empty: none
  Filename home;            // as ProgramOptions::home
  Filename startupPath;     // as ProgramOptions::startupPath
  bool openViewer = false;  // opens the Lumenara dialog and asks it for a picture
  bool resetLayout = false; // the default layout; stored places of windows and dialogs are forgotten
  bool loadModules = true;
  std::optional<bool> listen = false;   // for the live link; nothing: as the user has chosen
  std::optional<std::uint16_t> tcpPort; // it listens there as well; nothing: as the user has chosen
  std::string linkToken;                // as of LiveLink
  std::vector<PluginUnit> linkedPlugins;
  std::FILE* consoleEcho = stderr;
};

/// One in a program, made after the QApplication and installTheme.
class Studio : public QObject {
  Q_OBJECT
 public:
  /// Starts the host and the plug-ins and makes the window, hidden. Plug-ins may show windows of their own.
  explicit Studio(StudioOptions options);
  ~Studio() override; // shuts down

  /// Shows the window and the dialogs that were open last time, opens the scene and the viewer. A first start
  /// without a wish of its own opens the demo scene with the viewer and the tour; LUMENARA_TOUR=0 keeps both
  /// away.
  void start();
  /// Ends the parts in order: dialogs, documents, plug-ins, preferences, window. Once.
  void shutDown();

  Program& program() { return *program_; }
  Session& session() { return *session_; }
  QtUserInterface& ui() { return *ui_; }
  MainWindow& window() { return *window_; }

 signals:
  /// The user has closed the window, and the program may end.
  void finished();

 private:
  bool isFirstStart() const;
  bool openViewer();
  void startLink();

  StudioOptions options_;
  std::unique_ptr<QtUserInterface> ui_;
  std::unique_ptr<Program> program_;
  std::unique_ptr<QtMainLoop> loop_;
  std::unique_ptr<Session> session_;
  std::unique_ptr<LiveLink> link_;
  std::unique_ptr<QuickRepaint> repaint_;
  std::unique_ptr<MainWindow> window_;
  std::unique_ptr<StudioInspector> inspector_;
  std::unique_ptr<FirstPicture> firstPicture_;
  bool down_ = false;
};

} // namespace host
