#include "menu_entries.h"

#include <algorithm>

#include "fuzzy_match.h"

namespace host {

namespace {

constexpr int deepest = 6; // menus in menus

QString plain(QString text) {
  text.replace(QStringLiteral("&&"), QStringLiteral("\x01"));
  text.remove(QLatin1Char('&'));
  return text.replace(QLatin1Char('\x01'), QLatin1Char('&')).section(QLatin1Char('\t'), 0, 0);
}

QString below(const QString& path, const QString& title) {
  return path.isEmpty() ? title : path + QStringLiteral(" > ") + title;
}

void addAction(QAction& action, const QString& path, std::vector<MenuEntryRow>& rows, int depth) {
  if (action.isSeparator() || !action.isVisible() || action.text().isEmpty()) return;
  if (QMenu* menu = action.menu()) {
    if (depth == deepest) return;
    emit menu->aboutToShow();
    for (QAction* entry : menu->actions())
      addAction(*entry, below(path, plain(action.text())), rows, depth + 1);
    return;
  }
  const auto listed = [&](const MenuEntryRow& row) { return row.action == &action; };
  if (std::any_of(rows.begin(), rows.end(), listed)) return;
  rows.push_back({plain(action.text()), path, action.shortcut().toString(QKeySequence::NativeText),
                  action.isEnabled(), &action});
}

// A hit in the text counts more than one in the path.
int scoreOf(const MenuEntryRow& row, const QString& typed) {
  const int text = fuzzyScore(typed, row.text);
  return text >= 0 ? text + 1000 : fuzzyScore(typed, row.path + QLatin1Char(' ') + row.text);
}

} // namespace

void addMenuEntries(const QMenuBar& bar, const QString& place, std::vector<MenuEntryRow>& rows) {
  addActionEntries(bar.actions(), place, rows);
}

void addActionEntries(const QList<QAction*>& actions, const QString& path, std::vector<MenuEntryRow>& rows) {
  for (QAction* action : actions)
    addAction(*action, path, rows, 0);
}

std::vector<MenuEntryRow> searchEntries(const std::vector<MenuEntryRow>& rows, const QString& typed) {
  std::vector<std::pair<int, const MenuEntryRow*>> found;
  for (const MenuEntryRow& row : rows)
    if (const int score = scoreOf(row, typed); score >= 0) found.emplace_back(score, &row);
  std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
    return a.first != b.first ? a.first > b.first : a.second->enabled && !b.second->enabled;
  });
  std::vector<MenuEntryRow> result;
  for (const auto& [score, row] : found)
    result.push_back(*row);
  return result;
}

} // namespace host
