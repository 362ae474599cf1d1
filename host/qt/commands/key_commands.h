// The commands of keyframes: set, delete, previous, next. Main thread.
#pragma once

#include "main_parts.h"

namespace host {

/// Adds them to the table of `parts`.
void addKeyCommands(const MainParts& parts);

} // namespace host
