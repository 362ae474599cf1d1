// Commands that edit the scene: undo, the selected objects, new objects. Main thread.
#pragma once

#include "main_parts.h"

namespace host {

/// Adds them to the table of `parts`.
void addSceneCommands(const MainParts& parts);

} // namespace host
