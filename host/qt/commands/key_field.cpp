#include "key_field.h"

#include "key_rules.h"

namespace host {

namespace {

bool staysWithDialog(const QKeyEvent& event) {
  if (event.modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) return false;
  switch (event.key()) {
  case Qt::Key_Tab:
  case Qt::Key_Backtab:
  case Qt::Key_Escape:
  case Qt::Key_Return:
  case Qt::Key_Enter:
    return true;
  default:
    return false;
  }
}

} // namespace

KeyField::KeyField(QWidget* parent) : QLineEdit(parent) {
  setReadOnly(true);
  setAlignment(Qt::AlignCenter);
  setAttribute(Qt::WA_InputMethodEnabled, false);
}

void KeyField::showKeys(const QString& text) {
  shown_ = text;
  setText(text);
}

// Keys of menus must reach the field rather than run.
bool KeyField::event(QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride && !staysWithDialog(*static_cast<QKeyEvent*>(event))) {
    event->accept();
    return true;
  }
  return QLineEdit::event(event);
}

void KeyField::keyPressEvent(QKeyEvent* event) {
  if (staysWithDialog(*event)) return event->ignore(); // also takes the dialog's Enter and Escape
  event->accept();
  const QKeySequence key = keyOfEvent(*event);
  if (key.isEmpty()) return showHeld(event->modifiers());
  if (event->isAutoRepeat()) return;
  setText(shown_);
  emit pressed(key);
}

void KeyField::keyReleaseEvent(QKeyEvent* event) {
  event->accept();
  setText(shown_);
}

// "Ctrl+Shift+..." while modifiers are held.
void KeyField::showHeld(Qt::KeyboardModifiers modifiers) {
  const Qt::KeyboardModifiers held =
      modifiers & (Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier | Qt::MetaModifier);
  QString names = QKeySequence(QKeyCombination(held, Qt::Key_A)).toString(QKeySequence::NativeText);
  names.chop(1);
  setText(held ? names + QStringLiteral("...") : shown_);
}

} // namespace host
