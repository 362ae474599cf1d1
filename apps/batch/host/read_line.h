// Lines typed by the user.
#pragma once

#include <string>

namespace batch {

/// The next line of standard input without its line end; empty at the end of input and after Ctrl-C. Main
/// thread.
std::string readLine();

} // namespace batch
