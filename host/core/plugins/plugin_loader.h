// Finding, loading, starting and ending plug-ins. Main thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "plugin_registry.h"

namespace host {

/// A module in a plug-in folder.
struct PluginModule {
  Filename folder, file;
};

/// The modules in the folders directly below `plugins`, sorted by bytes. Folders without a module are
/// skipped.
std::vector<PluginModule> findModules(const Filename& plugins);

/// The plug-ins of a program. They stay loaded until the process ends.
class PluginLoader {
 public:
  explicit PluginLoader(PluginRegistry& registry) : registry_(registry) {}
  ~PluginLoader();
  PluginLoader(const PluginLoader&) = delete;
  PluginLoader& operator=(const PluginLoader&) = delete;

  /// Starts a plug-in that is linked into the program: calls its message entry with C4DPL_INIT_SYS, then its
  /// start entry. When either returns false, the objects that it registered are destroyed.
  bool start(const PluginUnit& unit);
  /// Loads a module and starts it. A failure is one line on the console. A module in the folder of a plug-in
  /// that was already started is ignored (true).
  bool load(const PluginModule& module);

  /// The plug-ins that started, in order.
  const std::vector<std::unique_ptr<PluginUnit>>& units() const noexcept { return units_; }
  /// Calls the end entries, in reverse order, once.
  void endAll();

 private:
  bool startUnit(std::unique_ptr<PluginUnit> unit, std::string& reason);

  PluginRegistry& registry_;
  std::vector<std::unique_ptr<PluginUnit>> units_;
  std::vector<std::unique_ptr<PluginUnit>> declined_; // objects may still name them
  bool ended_ = false;
};

} // namespace host
