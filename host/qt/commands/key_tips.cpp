#include "key_rules.h"
#include "key_table.h"

namespace host {

namespace {

constexpr const char* tipProperty = "tipWithoutKeys";

QString withKeys(const QString& text, const QStringList& keys) {
  return keys.isEmpty() ? text : QStringLiteral("%1 (%2)").arg(text, keys.join(QStringLiteral(", ")));
}

QStringList firstKeys(const QList<QPointer<QAction>>& actions) {
  QStringList keys;
  for (const QPointer<QAction>& action : actions)
    if (action && !action->shortcut().isEmpty())
      keys << action->shortcut().toString(QKeySequence::NativeText);
  return keys;
}

} // namespace

QString keyNames(const QList<QKeySequence>& keys) {
  QStringList names;
  for (const QKeySequence& key : keys)
    names << key.toString(QKeySequence::NativeText);
  return names.join(QStringLiteral(",  "));
}

void setTipWithKey(QAction& action, const QString& text) {
  const bool follows = action.property(tipProperty).isValid();
  action.setProperty(tipProperty, text);
  const auto show = [&action] {
    const QString tip = withKeys(action.property(tipProperty).toString(), firstKeys({&action}));
    if (action.toolTip() != tip) action.setToolTip(tip);
  };
  show();
  if (!follows) QObject::connect(&action, &QAction::changed, &action, show);
}

void setTipWithKeys(QWidget& widget, const QString& text, const QList<QAction*>& actions) {
  const bool follows = widget.property(tipProperty).isValid();
  widget.setProperty(tipProperty, text);
  const QList<QPointer<QAction>> named(actions.begin(), actions.end());
  const auto show = [&widget, named] {
    widget.setToolTip(withKeys(widget.property(tipProperty).toString(), firstKeys(named)));
  };
  show();
  for (QAction* action : actions)
    if (action && !follows) QObject::connect(action, &QAction::changed, &widget, show);
}

QAction* commandAction(const QWidget& from, const char* id) {
  for (const QWidget* above = &from; above; above = above->parentWidget())
    if (auto* action = above->findChild<QAction*>(QLatin1String(id), Qt::FindDirectChildrenOnly))
      return action;
  return nullptr;
}

QKeySequence commandKey(const QWidget& from, const char* id, const QKeySequence& otherwise) {
  const QAction* action = commandAction(from, id);
  return action ? action->shortcut() : otherwise;
}

bool pressesCommand(const QWidget& from, const QKeyEvent& event, const char* id,
                    const QKeySequence& otherwise) {
  const QKeySequence key = keyOfEvent(event);
  const QAction* action = commandAction(from, id);
  return !key.isEmpty() && (action ? action->shortcuts().contains(key) : key == otherwise);
}

} // namespace host
