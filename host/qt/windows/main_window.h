// Lumenara Studio's main window: menus, tool bars, docks, editor view, timeline, status. Main thread.
#pragma once

#include <QMainWindow>
#include <QPointer>
#include <QTimer>
#include <functional>
#include <set>

#include "command_table.h"
#include "dialog_host.h"
#include "session.h"
#include "stored_layout.h"

class QDockWidget;
class QMenu;
class QProgressDialog;
class QToolBar;

namespace host {

class AreaWidget;
class AttributeManager;
class ConsoleWidget;
class EditorViewWidget;
class MaterialManager;
class ObjectManager;
class PictureViewer;
class QtUserInterface;
class RenderSettingsDialog;
class ShortcutsDialog;
class StartPage;
class StatusWidget;
class TimelineWidget;
class ViewTracer;

struct MainWindowOptions {
  ViewTracer* tracer = nullptr;
  Filename demoScene, manual;        // empty: there is none
  std::set<LONG> dockedDialogs;      // plug-in IDs of dialogs that stand above the attributes at first
  std::function<void()> stopPlugins; // ends the work that a plug-in reports; empty: it cannot be ended
};

/// The window over a session. Dialogs of plug-ins get docks of it. Asks the user what the session's files
/// have to ask.
class MainWindow : public QMainWindow, public DialogHost {
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
  PictureViewer& pictureViewer(); // made when first needed

  /// Plug-ins have been started: fills the Plugins menu.
  void pluginsStarted();
  /// Opens a file that was dropped or named, as File > Open does after the choice.
  void openFile(const Filename& file);

  // The layout: place and size of the window, its docks and tool bars (stored_layout.h).

  /// Brings back the layout of the last time, for the docks that are there: dialogs open before. Call it
  /// once, before the window shows. One that is damaged, of another version, or that cannot be worked with is
  /// dropped with a line on the console.
  void restoreLayout();
  void storeLayout();
  void resetLayout();

  /// Full screen with nothing but the editor view, or back.
  void setPictureOnly(bool on);
  bool isPictureOnly() const { return pictureOnly_; }
  /// As F11: the picture of the dialog that has the focus, when it has one in a scroll group, is alone on the
  /// screen; else the editor view, or it goes back.
  void togglePicture();

  /// Ends everything that uses the session, its document or plug-ins; dialogs may still close. Once.
  void shutDown();

  // DialogHost.
  QWidget* place(DialogWindow& window, const DialogPlacement& placement, const QByteArray& state) override;
  void remove(DialogWindow& window) override;
  QByteArray stateOf(const DialogWindow& window) const override;

 signals:
  /// The user wants to end the program, and nothing is against it.
  void closed();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void changeEvent(QEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QDockWidget* addDock(const char* name, const QString& title, QWidget* content);
  void buildCentre();
  void buildDocks();
  void subscribe();
  void askQuestions();
  void noticeDialogs();

  // main_window_layout.cpp
  void applyLayout();
  void dropLayout(const QString& trouble);
  void placeOnScreen();
  void layoutChanged();
  void placeDialog(DialogDock& dock, const DialogPlacement& placement, const QByteArray& state);
  void dockAboveAttributes(QDockWidget& dock);
  AreaWidget* focusedPicture() const;
  DialogDock* dockOf(const DialogWindow& window) const;

  // main_window_commands.cpp
  void fillTable();
  void fileCommands();
  void editCommands();
  void viewCommands();
  void renderCommands();
  void windowCommands();
  void gestures();
  void buildMenus();
  void buildToolBar();
  void fillRecent();
  void fillPlugins();
  void fillCameras(QMenu& menu);
  void fillDocks();
  void showViewMenu(const QPoint& at);

  void chooseAndOpen();
  void saveAs();
  void savePacked();
  void create(LONG type, const QString& name);
  void createLight(LONG kind, const QString& name);
  void withSelection(const char* name, const std::function<void(BaseDocument&)>& change);
  void selectAll(bool all);
  void showRenderSettings();
  void showPictureViewer();
  void showShortcuts();
  void refresh();
  void showActivity();
  void showTitle();

  Session& session_;
  QtUserInterface& ui_;
  MainWindowOptions options_;
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
  QMenu *recentMenu_ = nullptr, *pluginsMenu_ = nullptr, *camerasMenu_ = nullptr, *windowMenu_ = nullptr;
  QList<QAction*> windowFixed_;
  QPointer<PictureViewer> pictures_;
  QPointer<RenderSettingsDialog> settings_;
  QPointer<ShortcutsDialog> shortcuts_;
  QPointer<QProgressDialog> progress_;
  QTimer storeSoon_, applySoon_, progressLate_, dialogUsed_;
  std::optional<StoredLayout> waiting_; // for the window's size
  QByteArray beforePictureOnly_;
  bool wasMaximized_ = false;
  bool pictureOnly_ = false, down_ = false, layoutReady_ = false, userLoads_ = false;
  std::vector<Subscription> subscriptions_;
};

} // namespace host
