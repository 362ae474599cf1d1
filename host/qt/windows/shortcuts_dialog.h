// Help > Shortcuts: every key and gesture, as a window. Main thread.
#pragma once

#include <QDialog>

namespace host {

class CommandTable;

/// The main window's commands with keys, all gestures, and the keys of other windows, by group; not modal.
class ShortcutsDialog : public QDialog {
  Q_OBJECT
 public:
  explicit ShortcutsDialog(const CommandTable& table, QWidget* parent = nullptr);
  /// Lists the actions of another window that have keys, below a heading.
  void addActions(const QString& group, const QList<QAction*>& actions);

 private:
  void addRow(const QString& group, QString text, const QString& keys);
  void filter(const QString& text);
  class QTreeWidget* list_;
};

} // namespace host
