// The plug-in, linked into this program.
#pragma once

#include "plugin_registry.h"

namespace batch {

/// Its entry points for the host; its resources lie in plugins/Lumenara below the installation's folder.
host::PluginUnit linkedPlugin(const Filename& startupPath);

/// The plug-in once it has been started, else null. Main thread.
const host::PluginUnit* startedPlugin();

} // namespace batch
