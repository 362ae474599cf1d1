// Ctrl-C.
#pragma once

#include <string>

namespace batch {

/// From now on the first Ctrl-C (or request to terminate) only sets `interrupted`; a second one ends the
/// program at once, with exit code 130. Main thread.
void catchInterrupts() noexcept;

/// Whether the user wants the command to end. Any thread.
bool interrupted() noexcept;

/// A file that must not outlive the program if a second request ends it: one that may be half the picture it
/// should be. Empty: none, as at the start. Main thread.
void setUnfinishedFile(const std::string& path) noexcept;

} // namespace batch
