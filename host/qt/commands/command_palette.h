// Help > Search Commands...: every command of all menus, found by a few letters. Main thread.
#pragma once

#include <QFrame>

#include "menu_entries.h"

class QLineEdit;
class QTreeWidget;
class QTreeWidgetItem;

namespace host {

/// A popup over its parent's upper middle. Enter or a click runs the chosen command after the popup has
/// closed; Escape and a click outside close it.
class CommandPalette : public QFrame {
  Q_OBJECT
 public:
  CommandPalette(std::vector<MenuEntryRow> rows, QWidget* parent);
  void present();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void show_(const QString& typed);
  void move_(int by);
  void runItem(QTreeWidgetItem* item);

  std::vector<MenuEntryRow> rows_, shown_;
  QLineEdit* search_;
  QTreeWidget* list_;
};

} // namespace host
