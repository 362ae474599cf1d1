#include "plugin_registry.h"

#include <algorithm>
#include <exception>

#include "console.h"
#include "thread_context.h"

namespace host {

namespace {

// What a plug-in throws stays in the plug-in's call.
template <class Result, class Function>
Result guarded(const String& what, const Function& function, Result failed) {
  try {
    return function();
  } catch (const std::exception& error) {
    printLine(what + " stopped with an error: " + error.what());
  } catch (...) {
    printLine(what + " stopped with an unknown error.");
  }
  return failed;
}

String commandName(const CommandEntry& entry) {
  return "The command \"" + entry.name + "\"";
}

} // namespace

PluginRegistry::~PluginRegistry() {
  destroyAll();
}

bool PluginRegistry::taken(LONG id) const noexcept {
  return findCommand(id) || findVideoPost(id);
}

bool PluginRegistry::addCommand(CommandEntry entry) {
  if (entry.id == 0 || !entry.data || taken(entry.id)) return false;
  entry.icon = entry.icon ? entry.icon->GetClone() : nullptr;
  entries_.push_back({std::make_unique<CommandEntry>(std::move(entry)), nullptr});
  return true;
}

bool PluginRegistry::addVideoPost(VideoPostEntry entry) {
  if (entry.id == 0 || !entry.allocator || taken(entry.id)) return false;
  entries_.push_back({nullptr, std::make_unique<VideoPostEntry>(std::move(entry))});
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
  const VideoPostEntry* entry = findVideoPost(id);
  if (!entry) return nullptr;
  const PluginScope scope(entry->plugin);
  const auto make = [&] { return entry->allocator(); };
  NodeData* const none = nullptr;
  return std::unique_ptr<NodeData>(guarded("The video post \"" + entry->name + "\"", make, none));
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
  const auto isOf = [plugin](const Entry& entry) {
    return (entry.command ? entry.command->plugin : entry.videoPost->plugin) == plugin;
  };
  for (;;) {
    const auto last = std::find_if(entries_.rbegin(), entries_.rend(), isOf);
    if (last == entries_.rend()) return;
    Entry entry = std::move(*last);
    entries_.erase(std::next(last).base());
    destroyEntry(entry);
  }
}

} // namespace host
