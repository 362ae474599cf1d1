// The interface's functions for registration and stored data.
#include "c4d_plugin.h"
#include "plugin_registry.h"
#include "preferences.h"
#include "thread_context.h"

BaseData::~BaseData() = default;
CommandData::~CommandData() = default;
NodeData::~NodeData() = default;
VideoPostData::~VideoPostData() = default;

Bool CommandData::Execute(BaseDocument* /*document*/) {
  return FALSE;
}

LONG CommandData::GetState(BaseDocument* /*document*/) {
  return CMD_ENABLED;
}

Bool CommandData::RestoreLayout(void* /*secret*/) {
  return FALSE;
}

RENDERRESULT VideoPostData::Execute(BaseVideoPost* /*node*/, VideoPostStruct* /*vps*/) {
  return RENDERRESULT_OK;
}

Bool RegisterCommandPlugin(LONG id, const String& name, LONG info, BaseBitmap* icon, const String& help,
                           CommandData* data) {
  host::PluginRegistry* registry = host::pluginRegistry();
  if (!registry) return FALSE;
  return registry->addCommand({id, name, help, info, icon, data, host::threadContext().plugin}) ? TRUE
                                                                                                : FALSE;
}

Bool RegisterVideoPostPlugin(LONG id, const String& name, LONG info, DataAllocator* allocator,
                             const String& description, LONG diskLevel, LONG priority) {
  host::PluginRegistry* registry = host::pluginRegistry();
  if (!registry) return FALSE;
  const host::PluginUnit* plugin = host::threadContext().plugin;
  return registry->addVideoPost({id, name, description, info, diskLevel, priority, allocator, plugin})
             ? TRUE
             : FALSE;
}

Bool SetWorldPluginData(LONG id, const BaseContainer& data, Bool add) {
  host::Preferences* preferences = host::preferences();
  return preferences && preferences->set(id, data, add != FALSE) ? TRUE : FALSE;
}

BaseContainer* GetWorldPluginData(LONG id) {
  host::Preferences* preferences = host::preferences();
  return preferences ? preferences->get(id) : nullptr;
}
