#include "key_rules.h"

namespace host {

namespace {

QString word(const char* text) {
  return QCoreApplication::translate("host::KeyTable", text);
}

bool isModifier(int key) {
  switch (key) {
  case Qt::Key_Shift:
  case Qt::Key_Control:
  case Qt::Key_Alt:
  case Qt::Key_AltGr:
  case Qt::Key_Meta:
  case Qt::Key_Super_L:
  case Qt::Key_Super_R:
  case Qt::Key_CapsLock:
  case Qt::Key_NumLock:
  case Qt::Key_ScrollLock:
  case Qt::Key_unknown:
  case 0:
    return true;
  default:
    return false;
  }
}

// The keys that lead through every window.
bool leadsThroughWindows(QKeyCombination key) {
  if (key.keyboardModifiers() & ~Qt::ShiftModifier) return false;
  switch (key.key()) {
  case Qt::Key_Escape:
  case Qt::Key_Tab:
  case Qt::Key_Backtab:
  case Qt::Key_Return:
  case Qt::Key_Enter:
    return true;
  default:
    return false;
  }
}

bool opensMenu(const QKeySequence& key, const QMainWindow& window) {
  for (const QMenuBar* bar : window.findChildren<QMenuBar*>())
    for (const QAction* menu : bar->actions())
      if (menu->isVisible() && QKeySequence::mnemonic(menu->text()) == key) return true;
  return false;
}

} // namespace

QString plainCommand(QString text) {
  return text.remove(QLatin1Char('&')).remove(QStringLiteral("..."));
}

bool isOneKey(const QKeySequence& key) {
  return key.count() == 1 && !isModifier(key[0].key());
}

QKeySequence keyOfEvent(const QKeyEvent& event) {
  if (isModifier(event.key())) return {};
  Qt::KeyboardModifiers modifiers =
      event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier | Qt::ShiftModifier);
  // Shift that makes the character is part of it.
  const QString text = event.text();
  const bool character = text.size() == 1 && text[0].isPrint() && !text[0].isSpace();
  if (character && !text[0].isLetter() && event.key() == text[0].unicode()) modifiers &= ~Qt::ShiftModifier;
  return QKeySequence(QKeyCombination(modifiers, static_cast<Qt::Key>(event.key())));
}

QString fixedUse(const QKeySequence& key, const QMainWindow* window, bool dialogs) {
  if (!isOneKey(key)) return word("This is not a key.");
  const QString name = key.toString(QKeySequence::NativeText);
  if (leadsThroughWindows(key[0])) return word("%1 leads through windows and cannot be assigned.").arg(name);
  if (window && opensMenu(key, *window)) return word("%1 opens a menu and cannot be assigned.").arg(name);
  if (!dialogs) return {};
  if (key == QKeySequence(Qt::Key_F10) || key == QKeySequence(Qt::CTRL | Qt::Key_W))
    return word("%1 belongs to the dialogs of plug-ins and cannot be assigned.").arg(name);
  for (const Qt::Key held : {Qt::Key_1, Qt::Key_2, Qt::Key_3})
    if (key == QKeySequence(held))
      return word("%1 is held to move the editor view and cannot be assigned.").arg(name);
  return {};
}

} // namespace host
