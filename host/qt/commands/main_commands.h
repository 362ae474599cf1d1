// The main window's commands and gestures. Main thread.
#pragma once

#include "main_parts.h"

namespace host {

/// Fills the table of `parts`.
void addMainCommands(const MainParts& parts);

} // namespace host
