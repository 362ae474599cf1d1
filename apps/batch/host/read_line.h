// Answers that the user types.
#pragma once

#include <string>

namespace batch {

/// The next line of standard input without its end; empty at the input's end and after Ctrl-C. Main thread.
std::string readLine();

} // namespace batch
