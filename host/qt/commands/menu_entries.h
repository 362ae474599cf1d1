// The commands of menus as a list, for searching. Main thread.
#pragma once

#include <QAction>
#include <QPointer>
#include <QString>
#include <vector>

class QMenuBar;

namespace host {

struct MenuEntryRow {
  QString text; // without mnemonic
  QString path; // "File > Autosave"
  QString key;  // its first, in the system's words; empty without one
  bool enabled = false;
  QPointer<QAction> action;
};

/// Adds all entries of a menu bar and of its menus; menus that are filled when they open are filled. `place`
/// stands before the path when it is not empty: the title of the window.
void addMenuEntries(const QMenuBar& bar, const QString& place, std::vector<MenuEntryRow>& rows);
/// Adds single actions. Those without text, separators and those listed already are left out.
void addActionEntries(const QList<QAction*>& actions, const QString& path, std::vector<MenuEntryRow>& rows);

/// The rows that fit what was typed, the best first; of equals, those that can run, then the menus' order.
std::vector<MenuEntryRow> searchEntries(const std::vector<MenuEntryRow>& rows, const QString& typed);

} // namespace host
