// Ctrl-C.
#pragma once

#include <string>

namespace batch {

/// From now on the first Ctrl-C (or termination request) only sets `interrupted`; a second one ends the
/// program at once with exit code 130. Main thread.
void catchInterrupts() noexcept;

/// Whether the user has asked the command to end. Any thread.
bool interrupted() noexcept;

/// Names a file that a second request deletes, because it may be incomplete. Empty: none. Main thread.
void setUnfinishedFile(const std::string& path) noexcept;

} // namespace batch
