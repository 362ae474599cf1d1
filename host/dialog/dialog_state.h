// What the host knows of a dialog. Main thread.
#pragma once

#include <vector>

#include "c4d_dialog.h"
#include "main_loop.h"
#include "plugin_registry.h"
#include "thread_context.h"

namespace host {

struct DialogState final : CoreListener {
  explicit DialogState(GeDialog& owner);
  ~DialogState();
  DialogState(const DialogState&) = delete;
  DialogState& operator=(const DialogState&) = delete;

  /// Passes it on, with the dialog's plug-in as the one being called.
  void coreMessage(LONG id, const BaseContainer& message) override;

  GeDialog& dialog;
  const PluginUnit* plugin = threadContext().plugin; // whose dialog it is
  bool open = false;
  bool modal = false;
  LONG pluginId = 0, subId = 0;
};

/// Those that are open, in the order in which they were opened.
std::vector<GeDialog*> openDialogs();

/// The user wants to close it: closes it unless it refuses. Gives whether it is closed.
bool requestClose(GeDialog& dialog);

/// Closes all, the last opened first, without asking.
void closeAllDialogs();

} // namespace host
