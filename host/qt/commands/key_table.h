// The keys of commands, which the user may change; kept in the preferences. Main thread.
#pragma once

#include <QHash>
#include <QKeySequence>
#include <QObject>
#include <QPointer>
#include <map>
#include <optional>
#include <string>
#include <vector>

class QAction;
class QKeyEvent;
class QMainWindow;

namespace host {

/// The window that a key works in. A command may stand in several.
enum KeyPlace : unsigned { mainKeys = 1, frameKeys = 2 };

struct KeyedCommand {
  QString id;    // "file.open", "frame.zoom-fit"
  QString group; // the heading that it is listed below
  QString text;  // without mnemonic
  QPointer<QAction> action;
  QList<QKeySequence> standard;
  unsigned places = mainKeys;
};

/// Commands with their standard keys, and the user's choices over them. A choice wins over another command's
/// standard key in the same window; the other command gets its key back when the choice goes.
class KeyTable : public QObject {
  Q_OBJECT
 public:
  explicit KeyTable(QObject* parent = nullptr);

  /// The action's keys are the standard ones. The ID must be new.
  void add(const QString& id, const QString& group, QAction& action, unsigned places);
  /// A command of one place stands in another as well.
  void addPlace(const QString& id, KeyPlace place);
  /// Keys of this window's menus ("Alt+F") cannot be assigned.
  void setWindow(KeyPlace place, QMainWindow& window);
  /// All commands whose ID begins with `prefix` have been added ("": those without a prefix of their own).
  /// Stored choices that cannot be used are named on the console, in one line.
  void complete(const QString& prefix);

  const std::vector<KeyedCommand>& commands() const { return commands_; }
  /// Null for an unknown ID.
  const KeyedCommand* find(const QString& id) const;
  QList<QKeySequence> keys(const QString& id) const;
  bool isChanged(const QString& id) const;
  bool anyChanged() const;

  /// Why the command cannot have the key, as a sentence; empty when it can.
  QString refusal(const QString& id, const QKeySequence& key) const;
  /// Another command in the same window that has the key now; null when the key is free.
  const KeyedCommand* owner(const QString& id, const QKeySequence& key) const;

  /// Gives the command these keys and takes them from others. Empty: no key. Keys that are refused are left
  /// out.
  void assign(const QString& id, const QList<QKeySequence>& keys);
  /// The standard keys again; they are taken from the commands that were given them.
  void reset(const QString& id);
  void resetAll();

 signals:
  void changed();

 private:
  struct Choice {
    QString text; // as stored
    QList<QKeySequence> keys;
  };
  void load();
  void store() const;
  void apply();
  void release(const KeyedCommand& from, const QList<QKeySequence>& keys);
  QString check(const KeyedCommand& command, Choice& choice) const;

  std::vector<KeyedCommand> commands_;
  QHash<QString, std::size_t> indices_;
  std::map<QString, Choice> choices_; // by ID; also of commands that this program does not have
  QStringList troubles_;              // of entries that could not be read
  std::map<KeyPlace, QPointer<QMainWindow>> windows_;
};

/// "Ctrl+S, F2" in the system's words.
QString keyNames(const QList<QKeySequence>& keys);

/// Sets an action's tool tip to the text and its first key in brackets; it follows the keys.
void setTipWithKey(QAction& action, const QString& text);
/// The same for a widget that does as the actions do: the first key of each.
void setTipWithKeys(QWidget& widget, const QString& text, const QList<QAction*>& actions);

/// The action of a command in the window that a widget is part of, also in its docks; null outside of it.
QAction* commandAction(const QWidget& from, const char* id);
/// The present first key of such a command, else `otherwise`.
QKeySequence commandKey(const QWidget& from, const char* id, const QKeySequence& otherwise);
/// Whether an event presses a key of such a command, else `otherwise`.
bool pressesCommand(const QWidget& from, const QKeyEvent& event, const char* id,
                    const QKeySequence& otherwise);

} // namespace host
