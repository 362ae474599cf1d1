// The Frame Buffer's commands: menus, tool bar and keys, made from one list. Main thread.
#pragma once

#include <QKeySequence>
#include <QMenu>
#include <QObject>
#include <array>
#include <functional>

class QAction;
class QMainWindow;
class QToolBar;

namespace host {

enum class FrameMenu { file, edit, picture, view, panels };

struct FrameCommand {
  const char* name; // of the action, and of its icon when there is one
  QString text;
  QList<QKeySequence> keys; // the standard ones
  std::function<void()> run;
  bool checkable = false;
  QString tip = {}; // empty: the text. The key follows in brackets
};

/// Every command stands in a menu and works with its keys in the whole window, in the full screen as well.
/// Help > Shortcuts lists the window's actions.
class FrameCommands : public QObject {
  Q_OBJECT
 public:
  explicit FrameCommands(QMainWindow& window);

  QAction* add(FrameMenu menu, FrameCommand command);
  /// An action that exists: of a panel, a bar. Its tool tip gets the key.
  void add(FrameMenu menu, QAction* action);
  void addSeparator(FrameMenu menu);
  /// Puts actions into the tool bar, in this order; null makes a separator.
  void fillBar(const QList<QAction*>& actions);

  QMenu& menu(FrameMenu which) { return *menus_[static_cast<std::size_t>(which)]; }
  QToolBar& bar() { return *bar_; }

 private:
  QMainWindow& window_;
  std::array<QMenu*, 5> menus_{};
  QToolBar* bar_ = nullptr;
};

} // namespace host
