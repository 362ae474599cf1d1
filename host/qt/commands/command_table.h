// Every command of the desktop in one table: menus, tool bars and Help > Shortcuts are made from it. Main
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
class QWidget;

namespace host {

struct Command {
  QString id;    // "file.open"; also the object name of its action
  QString group; // the heading that it stands under in Help > Shortcuts
  QString text;  // with its mnemonic: "&Open..."
  QString icon;  // a name of icons.h; may be empty
  QList<QKeySequence> keys;
  std::function<void()> run;
  std::function<bool()> enabled = {};  // empty: always
  std::function<bool()> checked = {};  // empty: nothing to check
  std::function<QString()> label = {}; // a text that changes ("Undo Move"); empty: `text`
};

/// What the mouse does, for Help > Shortcuts.
struct Gesture {
  QString group, keys, text;
};

class CommandTable : public QObject {
  Q_OBJECT
 public:
  /// The actions belong to `window`: their keys work in it and in what floats above it.
  explicit CommandTable(QWidget* window);

  /// The ID must be new.
  QAction* add(Command command);
  void add(Gesture gesture) { gestures_.push_back(std::move(gesture)); }
  /// Null when there is no such command.
  QAction* action(const QString& id) const { return actions_.value(id); }
  const std::vector<Command>& commands() const { return commands_; }
  const std::vector<Gesture>& gestures() const { return gestures_; }
  /// The keys that two commands have, as text. A table in order has none.
  QStringList duplicateKeys() const;

  /// While this says yes no command runs (a drag of a scene hook goes on).
  void setBlocked(std::function<bool()> blocked) { blocked_ = std::move(blocked); }
  /// Asks every command for its state again: at once, or once soon however often it is asked for.
  void refresh();
  void refreshSoon();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void run(std::size_t index);

  QWidget* window_;
  std::vector<Command> commands_;
  std::vector<Gesture> gestures_;
  QHash<QString, QAction*> actions_;
  std::function<bool()> blocked_;
  QTimer soon_;
};

} // namespace host
