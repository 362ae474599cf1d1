// Help > Shortcuts: every command with its keys, which can be changed, and every gesture. Main thread.
#pragma once

#include <QDialog>
#include <QKeySequence>

class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace host {

class CommandTable;
class KeyField;
class KeyTable;

/// Commands by menu, those of the Frame Buffer below a heading of their own, then gestures; not modal. A key
/// that is pressed in the field below the list is assigned at once; when another command has it, the dialog
/// names that command and waits for "Reassign".
class ShortcutsDialog : public QDialog {
  Q_OBJECT
 public:
  /// `table` must outlive the dialog.
  explicit ShortcutsDialog(CommandTable& table, QWidget* parent = nullptr);

 private:
  void build();
  QWidget* buildEditor();
  void fill();
  QTreeWidgetItem* addRow(const QString& group, const QString& text, const QString& keys);
  void showRow(QTreeWidgetItem& item) const;
  void showKeys();
  void filter(const QString& text);
  QString chosen() const; // the ID; empty for a heading or a gesture
  void showChoice();
  void want(const QList<QKeySequence>& keys);
  void reassign();
  void resetAll();
  void say(const QString& text, bool conflict = false);

  CommandTable& table_;
  KeyTable& keys_;
  QLineEdit* search_;
  QTreeWidget* list_;
  QLabel *command_, *message_;
  KeyField* field_;
  QPushButton *none_, *reset_, *resetAll_, *reassign_;
  QList<QKeySequence> wanted_; // waits for "Reassign"
};

} // namespace host
