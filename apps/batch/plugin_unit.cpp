#include "plugin_unit.h"

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

} // namespace batch
