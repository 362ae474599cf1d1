#include "shortcuts_dialog.h"

#include "command_table.h"
#include "key_field.h"
#include "key_rules.h"
#include "key_table.h"
#include "message_box.h"
#include "mnemonic_tips.h"
#include "theme.h"

namespace host {

namespace {

constexpr int idRole = Qt::UserRole;

QTreeWidgetItem* groupItem(QTreeWidget& list, const QString& group) {
  for (int i = 0; i < list.topLevelItemCount(); ++i)
    if (list.topLevelItem(i)->text(0) == group) return list.topLevelItem(i);
  auto* item = new QTreeWidgetItem(&list, {group});
  item->setFlags(Qt::ItemIsEnabled);
  item->setFirstColumnSpanned(true);
  QFont font = item->font(0);
  font.setBold(true);
  item->setFont(0, font);
  item->setExpanded(true);
  return item;
}

QPushButton* button(const char* name, const QString& text, const QString& tip) {
  auto* made = new QPushButton(text);
  made->setObjectName(QLatin1String(name));
  made->setToolTip(tip);
  made->setAutoDefault(false);
  return made;
}

} // namespace

ShortcutsDialog::ShortcutsDialog(CommandTable& table, QWidget* parent)
    : QDialog(parent), table_(table), keys_(table.keys()), search_(new QLineEdit), list_(new QTreeWidget),
      command_(new QLabel), message_(new QLabel), field_(new KeyField),
      none_(button("keys-none", tr("&No Key"), tr("Takes the command's keys away (Alt+N)"))),
      reset_(button("keys-reset", tr("&Reset"), tr("The command's standard keys again (Alt+R)"))),
      resetAll_(button("keys-reset-all", tr("Reset &All..."), tr("All standard keys again (Alt+A)"))),
      reassign_(
          button("keys-reassign", tr("Reassi&gn"), tr("Takes the key from the other command (Enter)"))) {
  setObjectName(QStringLiteral("shortcuts"));
  setWindowTitle(tr("Shortcuts"));
  resize(560, 680);
  build();
  tellMnemonics(*this);
  fill();
  connect(&keys_, &KeyTable::changed, this, &ShortcutsDialog::showKeys);
  showChoice();
}

void ShortcutsDialog::build() {
  search_->setObjectName(QStringLiteral("keys-search"));
  search_->setAccessibleName(tr("Search"));
  search_->setToolTip(tr("A part of a command's name, or a key such as Ctrl+S"));
  search_->setPlaceholderText(tr("Search a command or a key"));
  search_->setClearButtonEnabled(true);
  connect(search_, &QLineEdit::textChanged, this, &ShortcutsDialog::filter);

  list_->setObjectName(QStringLiteral("keys-list"));
  list_->setAccessibleName(tr("Commands and their keys"));
  list_->setToolTip(tr("Choose a command, then press its new key in the field below"));
  list_->setColumnCount(2);
  list_->setHeaderHidden(true);
  list_->setRootIsDecorated(false);
  list_->setUniformRowHeights(true);
  list_->setAllColumnsShowFocus(true);
  list_->setIndentation(metrics::groupSpace);
  list_->header()->setStretchLastSection(false);
  list_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  list_->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  connect(list_, &QTreeWidget::currentItemChanged, this, &ShortcutsDialog::showChoice);
  connect(list_, &QTreeWidget::itemActivated, this, [this] { field_->setFocus(); });

  auto* close = button("keys-close", tr("&Close"), tr("Closes the window (Esc)"));
  connect(close, &QPushButton::clicked, this, &QDialog::reject);
  connect(resetAll_, &QPushButton::clicked, this, &ShortcutsDialog::resetAll);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(resetAll_);
  buttons->addStretch(1);
  buttons->addWidget(close);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(12, 12, 12, 12);
  layout->setSpacing(metrics::groupSpace);
  layout->addWidget(search_);
  layout->addWidget(list_, 1);
  layout->addWidget(buildEditor());
  layout->addLayout(buttons);
}

QWidget* ShortcutsDialog::buildEditor() {
  auto* editor = new QWidget;
  command_->setObjectName(QStringLiteral("keys-command"));
  command_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  field_->setObjectName(QStringLiteral("keys-field"));
  field_->setAccessibleName(tr("New key"));
  field_->setToolTip(tr("Press the new key here. Esc closes the window."));
  field_->setPlaceholderText(tr("Press the new key"));
  field_->setMinimumWidth(160);
  message_->setObjectName(QStringLiteral("keys-message"));
  message_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  message_->setMinimumHeight(metrics::control);
  connect(field_, &KeyField::pressed, this, [this](const QKeySequence& key) { want({key}); });
  connect(none_, &QPushButton::clicked, this, [this] { want({}); });
  connect(reset_, &QPushButton::clicked, this, [this] {
    if (const KeyedCommand* command = keys_.find(chosen())) want(command->standard);
  });
  connect(reassign_, &QPushButton::clicked, this, &ShortcutsDialog::reassign);
  auto* grid = new QGridLayout(editor);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setSpacing(metrics::groupSpace);
  grid->addWidget(command_, 0, 0);
  grid->addWidget(field_, 0, 1);
  grid->addWidget(none_, 0, 2);
  grid->addWidget(reset_, 0, 3);
  grid->addWidget(message_, 1, 0, 1, 3);
  grid->addWidget(reassign_, 1, 3);
  grid->setColumnStretch(0, 1);
  QSizePolicy stays = reassign_->sizePolicy(); // the rows below must not jump
  stays.setRetainSizeWhenHidden(true);
  reassign_->setSizePolicy(stays);
  return editor;
}

// --- the list ---

void ShortcutsDialog::fill() {
  const auto add = [this](const KeyedCommand& command) {
    addRow(command.group, command.text, {})->setData(0, idRole, command.id);
  };
  for (const KeyedCommand& command : keys_.commands())
    add(command);
  for (const Gesture& gesture : table_.gestures()) {
    QTreeWidgetItem* row = addRow(gesture.group, gesture.text, gesture.keys);
    row->setToolTip(0, gesture.text);
    row->setForeground(1, tokens().dim);
  }
  showKeys();
}

QTreeWidgetItem* ShortcutsDialog::addRow(const QString& group, const QString& text, const QString& keys) {
  return new QTreeWidgetItem(groupItem(*list_, group), {text, keys});
}

void ShortcutsDialog::showRow(QTreeWidgetItem& item) const {
  const KeyedCommand* command = keys_.find(item.data(0, idRole).toString());
  if (!command) return;
  const bool changed = keys_.isChanged(command->id);
  item.setText(1, keyNames(keys_.keys(command->id)));
  item.setToolTip(0, command->text);
  const QString standard = keyNames(command->standard);
  item.setToolTip(1, !changed             ? tr("The standard key")
                     : standard.isEmpty() ? tr("Changed; no key at first")
                                          : tr("Changed; %1 at first").arg(standard));
  QFont font = item.font(1);
  font.setBold(changed);
  item.setFont(1, font);
}

void ShortcutsDialog::showKeys() {
  for (int i = 0; i < list_->topLevelItemCount(); ++i)
    for (int j = 0; j < list_->topLevelItem(i)->childCount(); ++j)
      showRow(*list_->topLevelItem(i)->child(j));
  showChoice();
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

// --- the chosen command ---

QString ShortcutsDialog::chosen() const {
  const QTreeWidgetItem* item = list_->currentItem();
  return item ? item->data(0, idRole).toString() : QString();
}

void ShortcutsDialog::showChoice() {
  const QString id = chosen();
  const KeyedCommand* command = keys_.find(id);
  wanted_.clear();
  command_->setText(command ? command->text : tr("No command is chosen"));
  command_->setToolTip(command ? tr("%1 > %2").arg(command->group, command->text) : QString());
  field_->showKeys(command ? keyNames(keys_.keys(id)) : QString());
  field_->setEnabled(command != nullptr);
  none_->setEnabled(command && !keys_.keys(id).isEmpty());
  reset_->setEnabled(command && keys_.isChanged(id));
  resetAll_->setEnabled(keys_.anyChanged());
  const bool gesture = !command && list_->currentItem() && list_->currentItem()->parent();
  say(gesture ? tr("This is fixed: it can be looked up here, not changed.") : QString());
}

void ShortcutsDialog::want(const QList<QKeySequence>& keys) {
  const QString id = chosen();
  wanted_.clear();
  say({});
  for (const QKeySequence& key : keys)
    if (const QString why = keys_.refusal(id, key); !why.isEmpty()) return say(why);
  for (const QKeySequence& key : keys) {
    const KeyedCommand* owner = keys_.owner(id, key);
    if (!owner) continue;
    wanted_ = keys;
    field_->showKeys(keyNames(keys));
    return say(tr("%1 is the key of \"%2\" (%3).")
                   .arg(key.toString(QKeySequence::NativeText), owner->text, owner->group),
               true);
  }
  keys_.assign(id, keys);
}

void ShortcutsDialog::reassign() {
  const QList<QKeySequence> keys = wanted_;
  keys_.assign(chosen(), keys);
  field_->setFocus();
}

void ShortcutsDialog::resetAll() {
  const BoxText box{
      tr("Give all commands their standard keys again?"), {}, tr("Your own keys are forgotten."), {}};
  if (askChoice(this, box, {tr("Reset"), tr("Keep")}, 1) == 0) keys_.resetAll();
}

void ShortcutsDialog::say(const QString& text, bool conflict) {
  message_->setText(text);
  message_->setToolTip(text);
  setRole(message_, conflict ? "warning" : "dim");
  reassign_->setVisible(conflict);
  reassign_->setDefault(conflict);
}

} // namespace host
