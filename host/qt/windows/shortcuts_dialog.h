// Help > Shortcuts: the table of commands, as a window. Main thread.
#pragma once

#include <QDialog>

namespace host {

class CommandTable;

/// The main window's commands with keys, and all gestures, by group; not modal.
class ShortcutsDialog : public QDialog {
  Q_OBJECT
 public:
  explicit ShortcutsDialog(const CommandTable& table, QWidget* parent = nullptr);

 private:
  void filter(const QString& text);
  class QTreeWidget* list_;
};

} // namespace host
