#include "key_table.h"

#include <algorithm>

#include "console.h"
#include "key_rules.h"
#include "preferences.h"
#include "qt_text.h"

namespace host {

namespace {

constexpr const char* storedName = "keys";
constexpr LONG mostEntries = 2000;
constexpr qsizetype longestEntry = 400; // characters
constexpr qsizetype mostKeys = 8;       // of a command

bool within(const QList<QKeySequence>& keys, const QKeySequence& key) {
  return keys.contains(key);
}

QList<QKeySequence> without(const QList<QKeySequence>& keys, const QList<QKeySequence>& taken) {
  QList<QKeySequence> left;
  for (const QKeySequence& key : keys)
    if (!within(taken, key)) left.push_back(key);
  return left;
}

bool shareWindow(const KeyedCommand& one, const KeyedCommand& other) {
  return (one.places & other.places) != 0 && one.id != other.id;
}

} // namespace

KeyTable::KeyTable(QObject* parent) : QObject(parent) {
  load();
}

// --- stored choices ---

// An entry is "file.open=Ctrl+O; F2".
void KeyTable::load() {
  const BaseContainer* stored = preferences() ? preferences()->getNamed(storedName) : nullptr;
  if (!stored) return;
  int damaged = 0;
  for (LONG i = 0; i < mostEntries && stored->GetIndexId(i) != NOTOK; ++i) {
    const GeData data = stored->GetData(stored->GetIndexId(i));
    const QString text = data.GetType() == DA_STRING ? toQt(data.GetString()) : QString();
    const qsizetype equals = text.indexOf(QLatin1Char('='));
    const QString id = text.left(equals);
    if (equals < 1 || text.size() > longestEntry || choices_.count(id)) {
      ++damaged;
      continue;
    }
    choices_[id] = {text.mid(equals + 1), {}};
  }
  if (damaged > 0) troubles_ << tr("damaged entries: %1").arg(damaged);
}

void KeyTable::store() const {
  if (!preferences()) return;
  BaseContainer data;
  LONG entry = 0;
  for (const auto& [id, choice] : choices_)
    data.SetString(++entry, String(toHost(id + QLatin1Char('=') + choice.text)));
  preferences()->setNamed(storedName, data);
}

// Reads the keys of a stored choice; returns why it cannot be used.
QString KeyTable::check(const KeyedCommand& command, Choice& choice) const {
  choice.keys.clear();
  if (choice.text.isEmpty()) return {};
  const QList<QKeySequence> keys = QKeySequence::listFromString(choice.text, QKeySequence::PortableText);
  if (keys.size() > mostKeys) return tr("too many keys");
  for (const QKeySequence& key : keys) {
    if (!isOneKey(key)) return tr("\"%1\" is not a key").arg(choice.text);
    if (const QString why = refusal(command.id, key); !why.isEmpty()) return why;
    for (const auto& [id, other] : choices_) {
      const KeyedCommand* owner = find(id);
      if (owner && shareWindow(*owner, command) && within(other.keys, key))
        return tr("%1 was given to \"%2\" as well").arg(key.toString(QKeySequence::NativeText), owner->text);
    }
  }
  choice.keys = keys;
  return {};
}

void KeyTable::complete(const QString& prefix) {
  QStringList troubles = std::exchange(troubles_, {});
  for (auto choice = choices_.begin(); choice != choices_.end();) {
    const auto& id = choice->first;
    const bool ours = prefix.isEmpty() ? !id.startsWith(QStringLiteral("frame.")) : id.startsWith(prefix);
    const KeyedCommand* command = find(id);
    QString why;
    if (ours && !command)
      why = tr("no such command");
    else if (ours)
      why = check(*command, choice->second);
    if (!why.isEmpty()) troubles << QStringLiteral("%1 (%2)").arg(id.left(60), why);
    // A choice for another version of Studio is kept.
    choice = command && !why.isEmpty() ? choices_.erase(choice) : std::next(choice);
  }
  apply();
  if (troubles.isEmpty()) return;
  constexpr qsizetype named = 5;
  QString list = troubles.mid(0, named).join(QStringLiteral(", "));
  if (troubles.size() > named) list += tr(", %1 more").arg(troubles.size() - named);
  printLine(String(
      toHost(tr("Keys from the preferences were ignored: %1. Help > Shortcuts shows the keys.").arg(list))));
}

// --- commands ---

void KeyTable::add(const QString& id, const QString& group, QAction& action, unsigned places) {
  Q_ASSERT(!indices_.contains(id));
  indices_.insert(id, commands_.size());
  commands_.push_back({id, group, plainCommand(action.text()), &action, action.shortcuts(), places});
}

void KeyTable::addPlace(const QString& id, KeyPlace place) {
  if (const auto index = indices_.constFind(id); index != indices_.cend()) commands_[*index].places |= place;
}

void KeyTable::setWindow(KeyPlace place, QMainWindow& window) {
  windows_[place] = &window;
}

const KeyedCommand* KeyTable::find(const QString& id) const {
  const auto index = indices_.constFind(id);
  return index == indices_.cend() ? nullptr : &commands_[*index];
}

QList<QKeySequence> KeyTable::keys(const QString& id) const {
  const KeyedCommand* command = find(id);
  return command && command->action ? command->action->shortcuts() : QList<QKeySequence>();
}

bool KeyTable::isChanged(const QString& id) const {
  const KeyedCommand* command = find(id);
  return command && command->action && command->action->shortcuts() != command->standard;
}

bool KeyTable::anyChanged() const {
  return std::any_of(commands_.begin(), commands_.end(),
                     [this](const KeyedCommand& command) { return isChanged(command.id); });
}

QString KeyTable::refusal(const QString& id, const QKeySequence& key) const {
  const KeyedCommand* command = find(id);
  if (!command) return tr("There is no such command.");
  if (within(command->standard, key)) return {};
  for (const auto& [place, window] : windows_)
    if (command->places & place)
      if (const QString why = fixedUse(key, window, place == mainKeys); !why.isEmpty()) return why;
  return {};
}

const KeyedCommand* KeyTable::owner(const QString& id, const QKeySequence& key) const {
  const KeyedCommand* command = find(id);
  for (const KeyedCommand& other : commands_)
    if (command && shareWindow(*command, other) && within(keys(other.id), key)) return &other;
  return nullptr;
}

// --- changes ---

// Chosen keys first; a standard key works where nobody else in the window has chosen it.
void KeyTable::apply() {
  for (const KeyedCommand& command : commands_) {
    if (!command.action) continue;
    const auto own = choices_.find(command.id);
    QList<QKeySequence> wanted = own != choices_.end() ? own->second.keys : command.standard;
    if (own == choices_.end())
      for (const auto& [id, choice] : choices_)
        if (const KeyedCommand* other = find(id); other && shareWindow(command, *other))
          wanted = without(wanted, choice.keys);
    if (command.action->shortcuts() != wanted) command.action->setShortcuts(wanted);
  }
  emit changed();
}

// The commands that were given the keys lose them.
void KeyTable::release(const KeyedCommand& from, const QList<QKeySequence>& keys) {
  for (auto& [id, choice] : choices_) {
    const KeyedCommand* other = find(id);
    if (!other || !shareWindow(from, *other)) continue;
    choice.keys = without(choice.keys, keys);
    choice.text = QKeySequence::listToString(choice.keys, QKeySequence::PortableText);
  }
}

void KeyTable::assign(const QString& id, const QList<QKeySequence>& keys) {
  const KeyedCommand* command = find(id);
  if (!command) return;
  QList<QKeySequence> taken;
  for (const QKeySequence& key : keys)
    if (isOneKey(key) && refusal(id, key).isEmpty() && !within(taken, key)) taken.push_back(key);
  release(*command, taken);
  if (taken == command->standard)
    choices_.erase(id);
  else
    choices_[id] = {QKeySequence::listToString(taken, QKeySequence::PortableText), taken};
  apply();
  store();
}

void KeyTable::reset(const QString& id) {
  if (const KeyedCommand* command = find(id)) assign(id, command->standard);
}

void KeyTable::resetAll() {
  choices_.clear();
  apply();
  store();
}

} // namespace host
