// The main window's parts, as its commands and menus use them. Main thread.
#pragma once

#include <QList>

#include "c4d_filename.h"

class QDockWidget;
class QMainWindow;
class QToolBar;

namespace host {

class CommandTable;
class DialogDocks;
class EditorViewWidget;
class LiveLink;
class MaterialManager;
class ObjectManager;
class QtUserInterface;
class Session;
class ToolWindows;
class WindowFiles;
class WindowLayout;

/// All of them live until the window has shut down.
struct MainParts {
  QMainWindow& window;
  Session& session;
  QtUserInterface& ui;
  CommandTable& commands;
  EditorViewWidget& view;
  ObjectManager& objects;
  MaterialManager& materials;
  WindowFiles& files;
  WindowLayout& layout;
  DialogDocks& dialogs;
  ToolWindows& tools;
  QToolBar& toolBar;
  QList<QDockWidget*> docks; // objects, materials, attributes, console
  Filename manual;           // empty: not installed
  LiveLink* link = nullptr;  // null: the program has none
};

} // namespace host
