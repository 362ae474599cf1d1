// The console: lines of text for the user, from any thread, shown on the main thread in order.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>

#include "c4d_string.h"

namespace host {

using ConsoleListener = std::function<void(const String& line)>;

/// Adds a line; does not block. On the main thread it is shown before the call returns. What `GePrint` does.
void printLine(const String& line);

/// Listeners are called on the main thread. Main thread.
std::uint64_t addConsoleListener(ConsoleListener listener);
void removeConsoleListener(std::uint64_t id);

/// Also writes every line to this stream; null for none. Standard error until the first call. Main thread.
void setConsoleEcho(std::FILE* stream);

/// Shows what other threads have added. Main thread; the loop does it by itself.
void deliverConsole();

} // namespace host
