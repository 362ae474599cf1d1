// The console: lines of text for the user, from any thread, shown on the main thread in order.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>

#include "c4d_string.h"

namespace host {

using ConsoleListener = std::function<void(const String& line)>;

/// Adds a line, as `GePrint` does; does not block. On the main thread it is shown before the call returns.
void printLine(const String& line);

/// Listeners are called on the main thread. Main thread.
std::uint64_t addConsoleListener(ConsoleListener listener);
void removeConsoleListener(std::uint64_t id);

/// Also writes every line to this stream (null: to none); to standard error until the first call. Main
/// thread.
void setConsoleEcho(std::FILE* stream);

/// Shows the lines that other threads have added. The main loop calls it. Main thread.
void deliverConsole();

} // namespace host
