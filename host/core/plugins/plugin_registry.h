// The objects that plug-ins have registered. Main thread, except `findVideoPost` and `makeVideoPostData`,
// which renders call while nothing is being registered.
#pragma once

#include <memory>
#include <vector>

#include "c4d_plugin.h"

namespace host {

/// A plug-in: the folder of its resources and its entries.
struct PluginUnit {
  String name;
  Filename folder;
  Bool (*message)(LONG id, void* data) = nullptr;
  Bool (*start)() = nullptr;
  void (*end)() = nullptr; // may be null
};

struct CommandEntry {
  LONG id = 0;
  String name, help;
  LONG info = 0;
  BaseBitmap* icon = nullptr; // the registry's copy; may be null
  CommandData* data = nullptr;
  const PluginUnit* plugin = nullptr;
};

struct VideoPostEntry {
  LONG id = 0;
  String name, description;
  LONG info = 0, diskLevel = 0, priority = 0;
  DataAllocator* allocator = nullptr;
  const PluginUnit* plugin = nullptr;
};

struct SceneHookEntry {
  LONG id = 0;
  String name;
  LONG info = 0, diskLevel = 0, priority = 0;
  DataAllocator* allocator = nullptr;
  const PluginUnit* plugin = nullptr;
};

class PluginRegistry {
 public:
  PluginRegistry() = default;
  ~PluginRegistry(); // destroys what is left
  PluginRegistry(const PluginRegistry&) = delete;
  PluginRegistry& operator=(const PluginRegistry&) = delete;

  /// False when the ID is 0 or taken, by whatever kind, or the object is null. Takes the object, copies the
  /// icon.
  bool addCommand(CommandEntry entry);
  bool addVideoPost(VideoPostEntry entry);
  bool addSceneHook(SceneHookEntry entry);

  /// Null when the ID is not registered. Valid until something is unregistered.
  const CommandEntry* findCommand(LONG id) const noexcept;
  const VideoPostEntry* findVideoPost(LONG id) const noexcept;
  const SceneHookEntry* findSceneHook(LONG id) const noexcept;
  /// In the order of registration; with `hidden`, also those with PLUGINFLAG_HIDEPLUGINMENU.
  std::vector<const CommandEntry*> commands(bool hidden = false) const;
  std::vector<const VideoPostEntry*> videoPosts() const;
  /// By priority, small first, then in the order of registration.
  std::vector<const SceneHookEntry*> sceneHooks() const;

  /// Executes a command with this document. False when it is not registered, not enabled, or fails.
  bool execute(LONG id, BaseDocument* document);
  /// CMD_... bits; 0 when the command is not registered.
  LONG state(LONG id, BaseDocument* document);
  /// Restores the dialogs that were open: calls every command's `RestoreLayout`.
  void restoreLayouts(void* secret);

  /// A new instance of a video post's data; null when the ID is not registered. The entry's plug-in is the
  /// one being called (PluginScope) during the call.
  std::unique_ptr<NodeData> makeVideoPostData(LONG id) const;
  /// The same for a scene hook.
  std::unique_ptr<NodeData> makeSceneHookData(LONG id) const;

  /// Destroys all objects, or those of one plug-in, in the reverse order of registration.
  void destroyAll();
  void destroy(const PluginUnit* plugin);

 private:
  struct Entry {
    std::unique_ptr<CommandEntry> command;
    std::unique_ptr<VideoPostEntry> videoPost;
    std::unique_ptr<SceneHookEntry> sceneHook;
    const PluginUnit* plugin() const noexcept;
  };
  bool taken(LONG id) const noexcept;
  static void destroyEntry(Entry& entry);
  std::vector<Entry> entries_;
};

/// The registry of the running program; null without one.
PluginRegistry* pluginRegistry() noexcept;

} // namespace host
