// The plug-in, linked into this program.
#pragma once

#include "plugin_registry.h"

namespace batch {

/// How the host calls it; its resources lie in plugins/Lumenara below the folder of the installation.
host::PluginUnit linkedPlugin(const Filename& startupPath);

/// The one that has been started in this program; null before that. Main thread.
const host::PluginUnit* startedPlugin();

} // namespace batch
