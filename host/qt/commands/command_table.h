// The commands of the main window in one table: menus, tool bars and Help > Shortcuts are made from it. Main
// thread.
#pragma once

#include <QHash>
#include <QIcon>
#include <QKeySequence>
#include <QObject>
#include <QTimer>
#include <functional>
#include <vector>

class QAction;
class QMainWindow;

namespace host {
class KeyTable;
}

namespace host {

struct Command {
  QString id;               // "file.open"; also the object name of its action
  QString group;            // the heading that it stands under in Help > Shortcuts
  QString text;             // with its mnemonic: "&Open..."
  QString icon;             // a name of icons.h; may be empty
  QList<QKeySequence> keys; // the standard ones: the user may assign others
  std::function<void()> run;
  std::function<bool()> enabled = {};  // empty: always
  std::function<bool()> checked = {};  // empty: not checkable
  std::function<QString()> label = {}; // a text that changes ("Undo Move"); empty: `text`
};

/// A use of the mouse, listed in Help > Shortcuts.
struct Gesture {
  QString group, keys, text;
};

class CommandTable : public QObject {
  Q_OBJECT
 public:
  /// The actions belong to `window`: their keys work in it and in windows that float above it.
  explicit CommandTable(QMainWindow* window);

  /// The ID must be new.
  QAction* add(Command command);
  void add(Gesture gesture) { gestures_.push_back(std::move(gesture)); }
  /// Null for an unknown ID.
  QAction* action(const QString& id) const { return actions_.value(id); }
  const std::vector<Command>& commands() const { return commands_; }
  const std::vector<Gesture>& gestures() const { return gestures_; }
  /// The keys of this table and of the Frame Buffer's commands.
  KeyTable& keys() { return *keys_; }
  /// Standard keys that several commands use, as text; empty in a correct table.
  QStringList duplicateKeys() const;

  /// Commands do not run while this returns true, for example during a drag of a scene hook.
  void setBlocked(std::function<bool()> blocked) { blocked_ = std::move(blocked); }
  bool isBlocked() const { return blocked_ && blocked_(); }
  /// Updates the state of every action: at once, or once when the event loop runs next.
  void refresh();
  void refreshSoon();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void run(std::size_t index);

  QMainWindow* window_;
  KeyTable* keys_;
  std::vector<Command> commands_;
  std::vector<Gesture> gestures_;
  QHash<QString, QAction*> actions_;
  std::function<bool()> blocked_;
  QTimer soon_;
};

} // namespace host
