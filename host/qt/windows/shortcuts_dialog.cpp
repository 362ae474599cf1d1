#include "shortcuts_dialog.h"

#include "command_table.h"
#include "theme.h"

namespace host {

namespace {

QTreeWidgetItem* groupItem(QTreeWidget& list, const QString& group) {
  for (int i = 0; i < list.topLevelItemCount(); ++i)
    if (list.topLevelItem(i)->text(0) == group) return list.topLevelItem(i);
  auto* item = new QTreeWidgetItem(&list, {group});
  item->setFlags(Qt::ItemIsEnabled);
  item->setFirstColumnSpanned(true);
  QFont font = item->font(0);
  font.setBold(true);
  item->setFont(0, font);
  return item;
}

QString namesOf(const QList<QKeySequence>& sequences) {
  QStringList keys;
  for (const QKeySequence& key : sequences)
    keys.push_back(key.toString(QKeySequence::NativeText));
  return keys.join(QStringLiteral(",  "));
}

} // namespace

ShortcutsDialog::ShortcutsDialog(const CommandTable& table, QWidget* parent)
    : QDialog(parent), list_(new QTreeWidget) {
  setObjectName(QStringLiteral("shortcuts"));
  setWindowTitle(tr("Shortcuts"));
  resize(520, 640);

  list_->setColumnCount(2);
  list_->setHeaderHidden(true);
  list_->setRootIsDecorated(false);
  list_->setUniformRowHeights(true);
  list_->setIndentation(metrics::groupSpace);
  list_->setSelectionMode(QAbstractItemView::NoSelection);
  list_->setFocusPolicy(Qt::NoFocus);
  for (const Command& command : table.commands()) {
    if (command.keys.isEmpty()) continue;
    addRow(command.group, command.text, namesOf(command.keys));
  }
  for (const Gesture& gesture : table.gestures())
    addRow(gesture.group, gesture.text, gesture.keys);
  list_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  list_->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);

  auto* search = new QLineEdit;
  search->setPlaceholderText(tr("Search"));
  search->setClearButtonEnabled(true);
  connect(search, &QLineEdit::textChanged, this, &ShortcutsDialog::filter);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(12, 12, 12, 12);
  layout->setSpacing(metrics::groupSpace);
  layout->addWidget(search);
  layout->addWidget(list_, 1);
}

void ShortcutsDialog::addActions(const QString& group, const QList<QAction*>& actions) {
  for (const QAction* action : actions)
    if (!action->shortcuts().isEmpty()) addRow(group, action->text(), namesOf(action->shortcuts()));
}

void ShortcutsDialog::addRow(const QString& group, QString text, const QString& keys) {
  QTreeWidgetItem* heading = groupItem(*list_, group);
  new QTreeWidgetItem(heading, {text.remove(QLatin1Char('&')).remove(QStringLiteral("...")), keys});
  heading->setExpanded(true);
}

void ShortcutsDialog::filter(const QString& text) {
  for (int i = 0; i < list_->topLevelItemCount(); ++i) {
    QTreeWidgetItem* group = list_->topLevelItem(i);
    bool any = false;
    for (int j = 0; j < group->childCount(); ++j) {
      QTreeWidgetItem* item = group->child(j);
      const bool fits = item->text(0).contains(text, Qt::CaseInsensitive) ||
                        item->text(1).contains(text, Qt::CaseInsensitive);
      item->setHidden(!fits);
      any = any || fits;
    }
    group->setHidden(!any);
  }
}

} // namespace host
