// Rules and words for keys that the user assigns. Main thread.
#pragma once

#include <QKeySequence>
#include <QString>

class QKeyEvent;
class QMainWindow;

namespace host {

/// A text without its mnemonic and the dots behind it: "Save As".
QString plainCommand(QString text);

/// A key of a keyboard with modifiers, not a series of keys, not a modifier alone.
bool isOneKey(const QKeySequence& key);

/// The key that an event presses, as menus write it: "*" rather than "Shift+*". Empty for a modifier alone.
QKeySequence keyOfEvent(const QKeyEvent& event);

/// The use that a key has in a window and cannot lose, as a sentence; empty when it may be assigned. Keys of
/// the window's menus count. `dialogs`: plug-ins' dialogs and the editor view stand in the window.
QString fixedUse(const QKeySequence& key, const QMainWindow* window, bool dialogs);

} // namespace host
