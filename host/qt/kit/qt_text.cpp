#include "qt_text.h"

namespace host {

QString labelText(const String& text) {
  const QString plain = toQt(text);
  QString label;
  for (qsizetype i = 0; i < plain.size(); ++i) {
    label += plain[i];
    if (plain[i] != QLatin1Char('&')) continue;
    const bool key = i + 1 < plain.size() && plain[i + 1].isLetterOrNumber();
    if (!key) label += QLatin1Char('&');
  }
  return label;
}

QString plainLabel(const String& text) {
  return toQt(text).replace(QLatin1Char('&'), QLatin1String("&&"));
}

LONG qualifiersOf(Qt::KeyboardModifiers modifiers) {
  return (modifiers & Qt::ShiftModifier ? QSHIFT : 0) | (modifiers & Qt::ControlModifier ? QCTRL : 0) |
         (modifiers & Qt::AltModifier ? QALT : 0);
}

LONG channelOf(int key) {
  switch (key) {
  case Qt::Key_Escape:
    return 27;
  case Qt::Key_Return:
  case Qt::Key_Enter:
    return 13;
  case Qt::Key_Tab:
    return 9;
  case Qt::Key_Backspace:
    return 8;
  case Qt::Key_Delete:
    return 127;
  default:
    return key >= 0x20 && key < 0x01000000 ? key : 0;
  }
}

LONG channelOf(Qt::MouseButton button) {
  switch (button) {
  case Qt::LeftButton:
    return BFM_INPUT_MOUSELEFT;
  case Qt::RightButton:
    return BFM_INPUT_MOUSERIGHT;
  case Qt::MiddleButton:
    return BFM_INPUT_MOUSEMIDDLE;
  default:
    return 0;
  }
}

} // namespace host
