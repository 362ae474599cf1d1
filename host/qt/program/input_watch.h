// Keeps the host's state of mouse and keyboard (`setInputState`) as the events tell it. Main thread.
#pragma once

class QEvent;
class QObject;

namespace host {

/// From now on the application's events are looked at; `owner` ends it.
void startInputWatch(QObject* owner);
/// Takes over what one event tells: pointer, buttons, qualifiers, keys.
void watchInput(const QEvent& event);
/// Takes over where the pointer is now.
void watchPointer();

} // namespace host
