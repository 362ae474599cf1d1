// What the host knows of a dialog. Main thread.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "c4d_dialog.h"
#include "gadget.h"
#include "lifetime.h"
#include "main_loop.h"
#include "plugin_registry.h"
#include "thread_context.h"

namespace host {

struct DialogState final : CoreListener {
  explicit DialogState(GeDialog& owner);
  ~DialogState();
  DialogState(const DialogState&) = delete;
  DialogState& operator=(const DialogState&) = delete;

  /// Passes it on, with the dialog's plug-in as the one being called: to the dialog, then to the areas that
  /// it shows.
  void coreMessage(LONG id, const BaseContainer& message) override;

  GeDialog& dialog;
  GeModalDialog* modalDialog = nullptr;              // the same, when it is one
  const PluginUnit* plugin = threadContext().plugin; // whose dialog it is
  bool open = false;
  bool modal = false;
  bool building = false; // CreateLayout runs
  LONG pluginId = 0, subId = 0;
  LONG askedWidth = 0, askedHeight = 0; // of the window; 0: as it comes

  DialogModel model;
  DialogView* view = nullptr;
  std::vector<Gadget*> groups;       // begun and not ended, the root first
  std::vector<std::size_t> menuPath; // menus begun and not ended, as indices
  bool menuBuilding = false;
  std::map<LONG, Place> scrollSizes; // setScrollSize
  LONG timerPeriod = 0;
  TimerId timer = 0;
  Lifetime<DialogState> lifetime{*this};
};

/// Those that are open, in the order in which they were opened.
std::vector<GeDialog*> openDialogs();

/// The user wants to close it: closes it unless it refuses. Gives whether it is closed.
bool requestClose(GeDialog& dialog);

/// Closes all, the last opened first, without asking.
void closeAllDialogs();

/// Sends a message to the dialog, with its plug-in as the one being called. `gone` tells that the dialog has
/// been destroyed meanwhile.
LONG sendMessage(GeDialog& dialog, const BaseContainer& message, bool* gone = nullptr);

/// Every gadget of a tree, parents first.
template <class Gadgets, class Visit>
void forEachGadget(Gadgets& gadget, const Visit& visit) {
  visit(gadget);
  for (auto& child : gadget.children)
    forEachGadget(static_cast<Gadgets&>(*child), visit);
}

/// The gadget to change; null when there is none. ID 0 finds nothing.
Gadget* findGadget(DialogState& state, LONG id);

} // namespace host
