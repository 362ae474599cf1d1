// The host's state of a dialog. Main thread.
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

  /// Passes the message, in the plug-in's scope, to the dialog and then to its shown areas.
  void coreMessage(LONG id, const BaseContainer& message) override;

  GeDialog& dialog;
  GeModalDialog* modalDialog = nullptr;              // the same dialog if it is modal, else null
  const PluginUnit* plugin = threadContext().plugin; // its owner
  bool open = false;
  bool modal = false;
  bool building = false; // while CreateLayout runs
  LONG pluginId = 0, subId = 0;
  LONG askedWidth = 0, askedHeight = 0; // of the window; 0: the minimum

  DialogModel model;
  DialogView* view = nullptr;
  std::vector<Gadget*> groups;       // open groups, the root first
  std::vector<std::size_t> menuPath; // open menus, as indices
  bool menuBuilding = false;
  std::map<LONG, Place> scrollSizes; // setScrollSize
  LONG timerPeriod = 0;
  TimerId timer = 0;
  Lifetime<DialogState> lifetime{*this};
};

/// Open dialogs, in the order of opening.
std::vector<GeDialog*> openDialogs();

/// Lets the open dialogs with this ID show their stored values again (`InitValues`).
void reloadDialogs(LONG pluginId);

/// Closes the dialog for the user unless it refuses. Returns whether it is closed.
bool requestClose(GeDialog& dialog);

/// Closes all dialogs, the last opened first, without asking.
void closeAllDialogs();

/// Sends a message to the dialog in its plug-in's scope. `gone` is set when the dialog was destroyed by it.
LONG sendMessage(GeDialog& dialog, const BaseContainer& message, bool* gone = nullptr);

/// Visits every gadget of a tree, parents first.
template <class Gadgets, class Visit>
void forEachGadget(Gadgets& gadget, const Visit& visit) {
  visit(gadget);
  for (auto& child : gadget.children)
    forEachGadget(static_cast<Gadgets&>(*child), visit);
}

/// The gadget, to be changed; null for an unknown ID and for ID 0.
Gadget* findGadget(DialogState& state, LONG id);

} // namespace host
