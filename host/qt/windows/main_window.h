// Lumenara Studio's main window: menus, tool bars, docks, editor view, timeline, status. Main thread.
#pragma once

#include <QMainWindow>
#include <functional>
#include <set>

#include "command_table.h"
#include "session.h"

class QDockWidget;
class QToolBar;

namespace host {

class AttributeManager;
class ConsoleWidget;
class DialogDocks;
class EditorViewWidget;
class MainMenus;
class MaterialManager;
class ObjectManager;
class FrameBuffer;
class LiveLink;
class QtUserInterface;
class StartPage;
class StatusWidget;
class TimelineWidget;
class ToolWindows;
class ViewTracer;
class WindowFiles;
class WindowLayout;

struct MainWindowOptions {
  ViewTracer* tracer = nullptr;
  Filename demoScene, manual;        // empty: not installed
  LiveLink* link = nullptr;          // null: the program has none; must outlive the window
  std::set<LONG> dockedDialogs;      // plug-in IDs of dialogs that stand above the attributes at first
  std::function<void()> stopPlugins; // ends the work that a plug-in reports; empty: it cannot be ended
};

/// The window over a session: makes its parts and connects them.
class MainWindow : public QMainWindow {
  Q_OBJECT
 public:
  /// `ui` and `session` must outlive `shutDown`.
  MainWindow(Session& session, QtUserInterface& ui, MainWindowOptions options);
  ~MainWindow() override;

  CommandTable& commands() { return *commands_; }
  EditorViewWidget& viewWidget() { return *view_; }
  StatusWidget& status() { return *status_; }
  ConsoleWidget& console() { return *console_; }
  TimelineWidget& timeline() { return *timeline_; }
  ObjectManager& objects() { return *objects_; }
  WindowLayout& windowLayout() { return *layout_; }
  FrameBuffer& frameBuffer(); // made when first needed

  /// Plug-ins have been started: fills the Plugins menu.
  void pluginsStarted();
  /// Opens the Frame Buffer if it was open at the end of the last session. The first time, it opens beside
  /// the window when the viewer is open and the screens have room for both. Call it once, after the window
  /// shows.
  void openFrameBuffer(bool viewer);
  /// Offers the scenes that were left unsaved, when there are any.
  void offerRecovery();
  /// Shows the tour (tour.h).
  void showTour();
  /// Opens a file that was dropped or named, as File > Open does after the choice.
  void openFile(const Filename& file);

  /// Ends all parts that use the session, its document or plug-ins; dialogs may still close. Once.
  void shutDown();

 signals:
  /// The user has closed the window, and the program may end.
  void closed();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void changeEvent(QEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  QDockWidget* addDock(const char* name, const QString& title, QWidget* content);
  void buildCentre(ViewTracer* tracer);
  void buildDocks();
  void buildStartPage(const Filename& demoScene);
  void buildStatus(const std::function<void()>& stopPlugins);
  void buildCommands(const MainWindowOptions& options);
  void serveUi();
  void subscribe();
  void refresh();

  Session& session_;
  QtUserInterface& ui_;
  CommandTable* commands_;
  EditorViewWidget* view_ = nullptr;
  TimelineWidget* timeline_ = nullptr;
  StartPage* start_ = nullptr;
  StatusWidget* status_ = nullptr;
  ConsoleWidget* console_ = nullptr;
  ObjectManager* objects_ = nullptr;
  MaterialManager* materials_ = nullptr;
  AttributeManager* attributes_ = nullptr;
  QDockWidget *objectsDock_ = nullptr, *materialsDock_ = nullptr, *attributesDock_ = nullptr,
              *consoleDock_ = nullptr;
  QToolBar* toolBar_ = nullptr;
  WindowLayout* layout_ = nullptr;
  DialogDocks* dialogs_ = nullptr;
  WindowFiles* files_ = nullptr;
  ToolWindows* tools_ = nullptr;
  MainMenus* menus_ = nullptr;
  bool down_ = false;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
