// The main window's menus and tool bar, made from the command table. Main thread.
#pragma once

#include <QObject>

#include "main_parts.h"

class QMenu;
class QPoint;

namespace host {

struct CommandEntry;

class MainMenus : public QObject {
  Q_OBJECT
 public:
  /// The table must hold the commands.
  explicit MainMenus(const MainParts& parts);

  /// Lists the plug-ins' commands; call it again once the plug-ins have started.
  void fillPlugins();
  /// Shows the editor view's menu at a point of the screen and waits for the user's choice.
  void showViewMenu(const QPoint& at);

 private:
  QMenu* addMenu(const QString& title, const char* name = nullptr);
  void addCommands(QMenu& menu, const char* ids);
  void buildMenuBar();
  void buildRenderMenu();
  void buildEditMenu();
  void buildViewMenu();
  void fillToolBar();
  void fillRecent();
  void addPlugin(const CommandEntry& entry, LONG state);
  void fillCameras(QMenu& menu);
  void fillVariants(QMenu& menu);
  void fillDocks();

  MainParts parts_;
  QMenu *recent_ = nullptr, *plugins_ = nullptr, *cameras_ = nullptr, *windows_ = nullptr;
};

} // namespace host
