#include "plugin_registry.h"

#include <algorithm>

#include "guarded_call.h"
#include "thread_context.h"

namespace host {

namespace {

String commandName(const CommandEntry& entry) {
  return "The command \"" + entry.name + "\"";
}

template <class Entry>
std::unique_ptr<NodeData> makeData(const char* kind, const Entry* entry) {
  if (!entry) return nullptr;
  const PluginScope scope(entry->plugin);
  const auto make = [&] { return entry->allocator(); };
  NodeData* const none = nullptr;
  return std::unique_ptr<NodeData>(guarded(String(kind) + " \"" + entry->name + "\"", make, none));
}

} // namespace

PluginRegistry::~PluginRegistry() {
  destroyAll();
}

bool PluginRegistry::taken(LONG id) const noexcept {
  return findCommand(id) || findVideoPost(id) || findSceneHook(id);
}

const PluginUnit* PluginRegistry::Entry::plugin() const noexcept {
  return command ? command->plugin : videoPost ? videoPost->plugin : sceneHook->plugin;
}

bool PluginRegistry::addCommand(CommandEntry entry) {
  if (entry.id == 0 || !entry.data || taken(entry.id)) return false;
  entry.icon = entry.icon ? entry.icon->GetClone() : nullptr;
  entries_.push_back({std::make_unique<CommandEntry>(std::move(entry)), nullptr, nullptr});
  return true;
}

bool PluginRegistry::addVideoPost(VideoPostEntry entry) {
  if (entry.id == 0 || !entry.allocator || taken(entry.id)) return false;
  entries_.push_back({nullptr, std::make_unique<VideoPostEntry>(std::move(entry)), nullptr});
  return true;
}

bool PluginRegistry::addSceneHook(SceneHookEntry entry) {
  if (entry.id == 0 || !entry.allocator || taken(entry.id)) return false;
  entries_.push_back({nullptr, nullptr, std::make_unique<SceneHookEntry>(std::move(entry))});
  return true;
}

const CommandEntry* PluginRegistry::findCommand(LONG id) const noexcept {
  for (const Entry& entry : entries_)
    if (entry.command && entry.command->id == id) return entry.command.get();
  return nullptr;
}

const VideoPostEntry* PluginRegistry::findVideoPost(LONG id) const noexcept {
  for (const Entry& entry : entries_)
    if (entry.videoPost && entry.videoPost->id == id) return entry.videoPost.get();
  return nullptr;
}

const SceneHookEntry* PluginRegistry::findSceneHook(LONG id) const noexcept {
  for (const Entry& entry : entries_)
    if (entry.sceneHook && entry.sceneHook->id == id) return entry.sceneHook.get();
  return nullptr;
}

std::vector<const CommandEntry*> PluginRegistry::commands(bool hidden) const {
  std::vector<const CommandEntry*> found;
  for (const Entry& entry : entries_)
    if (entry.command && (hidden || !(entry.command->info & PLUGINFLAG_HIDEPLUGINMENU)))
      found.push_back(entry.command.get());
  return found;
}

std::vector<const VideoPostEntry*> PluginRegistry::videoPosts() const {
  std::vector<const VideoPostEntry*> found;
  for (const Entry& entry : entries_)
    if (entry.videoPost) found.push_back(entry.videoPost.get());
  return found;
}

std::vector<const SceneHookEntry*> PluginRegistry::sceneHooks() const {
  std::vector<const SceneHookEntry*> found;
  for (const Entry& entry : entries_)
    if (entry.sceneHook) found.push_back(entry.sceneHook.get());
  std::stable_sort(found.begin(), found.end(),
                   [](const auto* a, const auto* b) { return a->priority < b->priority; });
  return found;
}

bool PluginRegistry::execute(LONG id, BaseDocument* document) {
  const CommandEntry* entry = findCommand(id);
  if (!entry || !(state(id, document) & CMD_ENABLED)) return false;
  const PluginScope scope(entry->plugin);
  return guarded(
      commandName(*entry), [&] { return entry->data->Execute(document) != FALSE; }, false);
}

LONG PluginRegistry::state(LONG id, BaseDocument* document) {
  const CommandEntry* entry = findCommand(id);
  if (!entry) return 0;
  const PluginScope scope(entry->plugin);
  return guarded(
      commandName(*entry), [&] { return entry->data->GetState(document); }, 0);
}

void PluginRegistry::restoreLayouts(void* secret) {
  for (const CommandEntry* entry : commands(true)) {
    const PluginScope scope(entry->plugin);
    guarded(
        commandName(*entry), [&] { return entry->data->RestoreLayout(secret); }, FALSE);
  }
}

std::unique_ptr<NodeData> PluginRegistry::makeVideoPostData(LONG id) const {
  return makeData("The video post", findVideoPost(id));
}

std::unique_ptr<NodeData> PluginRegistry::makeSceneHookData(LONG id) const {
  return makeData("The scene hook", findSceneHook(id));
}

void PluginRegistry::destroyEntry(Entry& entry) {
  if (!entry.command) return;
  const PluginScope scope(entry.command->plugin);
  delete entry.command->data;
  BaseBitmap::Free(entry.command->icon);
}

void PluginRegistry::destroyAll() {
  while (!entries_.empty()) {
    Entry entry = std::move(entries_.back());
    entries_.pop_back();
    destroyEntry(entry);
  }
}

void PluginRegistry::destroy(const PluginUnit* plugin) {
  const auto isOf = [plugin](const Entry& entry) { return entry.plugin() == plugin; };
  for (;;) {
    const auto last = std::find_if(entries_.rbegin(), entries_.rend(), isOf);
    if (last == entries_.rend()) return;
    Entry entry = std::move(*last);
    entries_.erase(std::next(last).base());
    destroyEntry(entry);
  }
}

} // namespace host
