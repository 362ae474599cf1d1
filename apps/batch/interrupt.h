// Ctrl-C.
#pragma once

namespace batch {

/// From now on the first Ctrl-C (or request to terminate) only sets `interrupted`; a second one ends the
/// program at once, with exit code 130. Main thread.
void catchInterrupts() noexcept;

/// Whether the user wants the command to end. Any thread.
bool interrupted() noexcept;

} // namespace batch
