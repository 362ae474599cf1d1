#include "plugin_unit.h"

#include "lm_keys.h"
#include "main.h"

namespace batch {

host::PluginUnit linkedPlugin(const Filename& startupPath) {
  host::PluginUnit unit;
  unit.name = "Lumenara";
  unit.folder = startupPath + "plugins" + "Lumenara";
  unit.message = &PluginMessage;
  unit.start = &PluginStart;
  unit.end = &PluginEnd;
  return unit;
}

const host::PluginUnit* startedPlugin() {
  const host::PluginRegistry* registry = host::pluginRegistry();
  const host::CommandEntry* viewer = registry ? registry->findCommand(ID_LUMENARA) : nullptr;
  return viewer ? viewer->plugin : nullptr;
}

} // namespace batch
