// Render > Viewer Optimizations: presets of the viewer's settings. Main thread.
#pragma once

#include "c4d_container.h"

namespace host {

class CommandTable;

/// Adds the commands "render.preset-draft", "-look", "-final" and "render.preset-back".
void addPresetCommands(CommandTable& commands);

/// Stores settings of the viewer, and gives them to an open viewer and to the open Optimizations dialog.
/// Returns the former values of these settings.
BaseContainer applyViewerSettings(const BaseContainer& values);

} // namespace host
