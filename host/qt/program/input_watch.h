// Updates the host's state of mouse and keyboard (`setInputState`) from Qt's events. Main thread.
#pragma once

class QEvent;
class QObject;

namespace host {

/// Watches the application's events until `owner` is deleted.
void startInputWatch(QObject* owner);
/// Reads pointer, buttons, qualifiers and keys from an event.
void watchInput(const QEvent& event);
/// Reads the pointer's present place.
void watchPointer();

} // namespace host
