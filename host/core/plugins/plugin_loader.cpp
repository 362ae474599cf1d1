#include "plugin_loader.h"

#include <exception>
#include <system_error>

#include "c4d_file.h"
#include "console.h"
#include "file_path.h"
#include "platform.h"
#include "thread_context.h"

namespace host {

namespace {

std::vector<Filename> modulesIn(const Filename& folder) {
  std::vector<Filename> found;
  AutoAlloc<BrowseFiles> browser;
  if (!browser) return found;
  browser->Init(folder);
  while (browser->GetNext())
    if (!browser->IsDir() && !browser->IsHidden() &&
        browser->GetFilename().GetSuffix() == platform::moduleSuffix())
      found.push_back(folder + browser->GetFilename());
  return found;
}

bool sameFolder(const Filename& a, const Filename& b) {
  std::error_code error;
  return a == b || (std::filesystem::equivalent(toPath(a), toPath(b), error) && !error);
}

// An exception counts as false.
template <class Entry>
bool saysYes(const Entry& entry, std::string& reason, const char* what) {
  try {
    if (entry()) return true;
    reason = std::string(what) + " failed";
  } catch (const std::exception& error) {
    reason = std::string(what) + " stopped with an error: " + error.what();
  } catch (...) {
    reason = std::string(what) + " stopped with an unknown error";
  }
  return false;
}

void tellNotLoaded(const Filename& file, const std::string& reason) {
  printLine("The plug-in \"" + file.GetString() + "\" was not loaded: " + reason.c_str() +
            ". Install it again, or remove it.");
}

template <class Function>
Function findEntry(void* module, const char* name) {
  return reinterpret_cast<Function>(platform::findSymbol(module, name));
}

} // namespace

std::vector<PluginModule> findModules(const Filename& plugins) {
  std::vector<PluginModule> found;
  AutoAlloc<BrowseFiles> browser;
  if (!browser) return found;
  browser->Init(plugins);
  while (browser->GetNext()) {
    if (!browser->IsDir()) continue;
    const Filename folder = plugins + browser->GetFilename();
    for (const Filename& file : modulesIn(folder))
      found.push_back({folder, file});
  }
  return found;
}

PluginLoader::~PluginLoader() {
  endAll();
}

bool PluginLoader::startUnit(std::unique_ptr<PluginUnit> unit, std::string& reason) {
  const PluginUnit* plugin = unit.get();
  const PluginScope scope(plugin);
  const bool started =
      saysYes([&] { return plugin->message(C4DPL_INIT_SYS, nullptr); }, reason, "its initialisation") &&
      saysYes([&] { return plugin->start(); }, reason, "its start");
  if (!started) registry_.destroy(plugin);
  (started ? units_ : declined_).push_back(std::move(unit));
  return started;
}

bool PluginLoader::start(const PluginUnit& unit) {
  std::string reason;
  if (startUnit(std::make_unique<PluginUnit>(unit), reason)) return true;
  tellNotLoaded(unit.folder + Filename(unit.name), reason);
  return false;
}

bool PluginLoader::load(const PluginModule& module) {
  for (const auto& unit : units_)
    if (sameFolder(unit->folder, module.folder)) return true;
  std::string reason;
  void* handle = platform::loadModule(module.file, reason);
  if (!handle) return tellNotLoaded(module.file, reason), false;

  auto unit = std::make_unique<PluginUnit>();
  unit->name = module.file.GetFileString();
  unit->folder = module.folder;
  unit->message = findEntry<Bool (*)(LONG, void*)>(handle, "PluginMessage");
  unit->start = findEntry<Bool (*)()>(handle, "PluginStart");
  unit->end = findEntry<void (*)()>(handle, "PluginEnd");
  const bool complete = unit->message && unit->start && unit->end;
  if (!complete) reason = "it lacks the entry points PluginMessage, PluginStart and PluginEnd";
  if (complete && startUnit(std::move(unit), reason)) return true;
  platform::unloadModule(handle);
  tellNotLoaded(module.file, reason);
  return false;
}

void PluginLoader::endAll() {
  if (ended_) return;
  ended_ = true;
  for (auto unit = units_.rbegin(); unit != units_.rend(); ++unit) {
    if (!(*unit)->end) continue;
    const PluginScope scope(unit->get());
    std::string ignored;
    saysYes([&] { return (*unit)->end(), true; }, ignored, "its end");
  }
}

} // namespace host
