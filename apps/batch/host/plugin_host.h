// A host with its plug-ins started.
#pragma once

#include <optional>
#include <string>

#include "messages.h"
#include "program.h"
#include "settings_keeper.h"

namespace batch {

/// Starts this program's plug-in, then the modules beside it, and ends them; their stored settings stay. Main
/// thread.
class PluginHost {
 public:
  /// `home` empty: the user's folder; `threads` 0: all processors. `ui` must outlive the host. Throws `Stop`
  /// (render failed) when the plug-in cannot be started.
  PluginHost(const std::string& home, int threads, host::UserInterface& ui);
  ~PluginHost();
  PluginHost(const PluginHost&) = delete;
  PluginHost& operator=(const PluginHost&) = delete;

 private:
  void startPlugins();

  host::Program program_;
  std::optional<SettingsKeeper> keeper_;
};

} // namespace batch
