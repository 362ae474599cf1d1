// Conversions between the host's values and Qt's. Any thread.
#pragma once

#include <QKeySequence>
#include <QString>

#include "c4d_filename.h"
#include "c4d_input.h"
#include "c4d_string.h"

namespace host {

inline QString toQt(const String& text) {
  return QString::fromUtf8(text.GetUTF8().data(), static_cast<qsizetype>(text.GetUTF8().size()));
}
inline QString toQt(const Filename& name) {
  return toQt(name.GetString());
}
inline String toHost(const QString& text) {
  return String(std::string_view(text.toUtf8().toStdString()));
}

/// A label for a button or a menu entry: "&" before a letter or a digit underlines it (and makes it a key),
/// any other "&" is shown.
QString labelText(const String& text);
/// A label that shows the text unchanged, for names of files and objects.
QString plainLabel(const String& text);

/// QSHIFT, QCTRL, QALT.
LONG qualifiersOf(Qt::KeyboardModifiers modifiers);
/// The keyboard channel of c4d_input.h; 0 for a key without one.
LONG channelOf(int key);
/// The mouse channel; 0 for a button without one.
LONG channelOf(Qt::MouseButton button);

} // namespace host
