#include "command_table.h"

#include "icons.h"
#include "key_rules.h"
#include "key_table.h"

namespace host {

namespace {

// Keys without Ctrl or Alt that a focused widget handles itself.
bool keepsKey(const QWidget* widget, int key) {
  const bool sideways = key == Qt::Key_Left || key == Qt::Key_Right;
  if (key == Qt::Key_Space) return qobject_cast<const QAbstractButton*>(widget) != nullptr;
  if (!sideways) return false;
  return qobject_cast<const QAbstractItemView*>(widget) || qobject_cast<const QAbstractSlider*>(widget) ||
         qobject_cast<const QComboBox*>(widget);
}

} // namespace

CommandTable::CommandTable(QMainWindow* window)
    : QObject(window), window_(window), keys_(new KeyTable(this)) {
  keys_->setWindow(mainKeys, *window);
  connect(keys_, &KeyTable::changed, this, &CommandTable::refreshSoon); // tool tips
  soon_.setSingleShot(true);
  soon_.setInterval(0);
  connect(&soon_, &QTimer::timeout, this, &CommandTable::refresh);
  qApp->installEventFilter(this);
}

QAction* CommandTable::add(Command command) {
  Q_ASSERT(!actions_.contains(command.id));
  auto* action = new QAction(command.text, window_);
  action->setObjectName(command.id);
  action->setShortcuts(command.keys);
  action->setCheckable(static_cast<bool>(command.checked));
  if (!command.icon.isEmpty()) action->setIcon(icon(command.icon));
  const std::size_t index = commands_.size();
  connect(action, &QAction::triggered, this, [this, index] { run(index); });
  window_->addAction(action);
  keys_->add(command.id, command.group, *action, mainKeys);
  actions_.insert(command.id, action);
  commands_.push_back(std::move(command));
  return action;
}

QStringList CommandTable::duplicateKeys() const {
  QHash<QString, int> uses;
  for (const Command& command : commands_)
    for (const QKeySequence& key : command.keys)
      ++uses[key.toString(QKeySequence::PortableText)];
  QStringList twice;
  for (auto use = uses.cbegin(); use != uses.cend(); ++use)
    if (use.value() > 1) twice.push_back(use.key());
  twice.sort();
  return twice;
}

void CommandTable::refresh() {
  soon_.stop();
  for (const Command& command : commands_) {
    QAction* action = actions_.value(command.id);
    if (command.label) action->setText(command.label());
    if (command.checked) action->setChecked(command.checked());
    action->setEnabled(!command.enabled || command.enabled());
    setTipWithKey(*action, plainCommand(action->text()));
  }
}

void CommandTable::refreshSoon() {
  if (!soon_.isActive()) soon_.start();
}

void CommandTable::run(std::size_t index) {
  // The action may still show the state before the last change.
  const Command& command = commands_[index];
  const bool allowed = !isBlocked() && (!command.enabled || command.enabled());
  if (allowed && command.run) {
    const std::function<void()> run = command.run;
    run();
  }
  refreshSoon();
}

bool CommandTable::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride) {
    const auto* key = static_cast<QKeyEvent*>(event);
    const auto* widget = qobject_cast<QWidget*>(watched);
    const bool bare = !(key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
    if (widget && bare && keepsKey(widget, key->key())) {
      event->accept();
      return true;
    }
  }
  return QObject::eventFilter(watched, event);
}

} // namespace host
