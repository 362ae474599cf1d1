// GeDialog.
#include "c4d_dialog.h"

#include <algorithm>
#include <optional>

#include "access.h"
#include "dialog_state.h"
#include "program.h"
#include "user_interface.h"

using host::DialogPlacement;
using host::DialogState;

namespace host {

namespace {

std::vector<GeDialog*>& opened() {
  static std::vector<GeDialog*>& list = *new std::vector<GeDialog*>;
  return list;
}

void closeAtShutdown() {
  static bool added = false;
  if (!added) addShutdownStep(ShutdownStage::closeDialogs, closeAllDialogs);
  added = true;
}

} // namespace

DialogState::DialogState(GeDialog& owner) : dialog(owner) {
  closeAtShutdown();
  mainLoop().add(this);
}

DialogState::~DialogState() {
  mainLoop().remove(this);
}

void DialogState::coreMessage(LONG id, const BaseContainer& message) {
  const PluginScope scope(plugin);
  dialog.CoreMessage(id, message);
}

std::vector<GeDialog*> openDialogs() {
  return opened();
}

bool requestClose(GeDialog& dialog) {
  const PluginScope scope(Access::state(dialog)->plugin);
  if (!dialog.IsOpen()) return true;
  return !dialog.AskClose() && dialog.Close();
}

void closeAllDialogs() {
  while (!opened().empty())
    opened().back()->Close();
}

} // namespace host

GeDialog::GeDialog() : state_(new DialogState(*this)) {
}

GeDialog::~GeDialog() {
  Close();
  delete state_;
}

Bool GeDialog::CreateLayout() {
  return TRUE;
}
Bool GeDialog::InitValues() {
  return TRUE;
}
Bool GeDialog::CoreMessage(LONG /*id*/, const BaseContainer& /*msg*/) {
  return FALSE;
}
Bool GeDialog::Command(LONG /*id*/, const BaseContainer& /*msg*/) {
  return FALSE;
}
Bool GeDialog::AskClose() {
  return FALSE;
}
void GeDialog::Timer(const BaseContainer& /*msg*/) {
}
void GeDialog::DestroyWindow() {
}
LONG GeDialog::Message(const BaseContainer& /*msg*/, BaseContainer& /*result*/) {
  return 0;
}

Bool GeDialog::Open(DLG_TYPE type, LONG pluginId, LONG x, LONG y, LONG width, LONG height, LONG subId) {
  const host::PluginScope scope(state_->plugin);
  if (state_->open) return TRUE;
  if (!CreateLayout() || !InitValues()) return FALSE;
  state_->open = true;
  state_->modal = type == DLG_TYPE_MODAL;
  state_->pluginId = pluginId;
  state_->subId = subId;
  host::opened().push_back(this);
  bool shown = false;
  {
    std::optional<host::ModalScope> modal;
    if (state_->modal) modal.emplace(this);
    shown = host::userInterface().openDialog(*this, {type, pluginId, subId, x, y, width, height});
  }
  if (!shown || state_->modal) Close();
  return shown ? TRUE : FALSE;
}

Bool GeDialog::RestoreLayout(LONG pluginId, LONG subId, void* secret) {
  DialogPlacement placement;
  if (!host::userInterface().restoredPlacement(pluginId, subId, secret, placement)) return FALSE;
  return Open(placement.type, pluginId, placement.x, placement.y, placement.width, placement.height, subId);
}

Bool GeDialog::IsOpen() const {
  return state_->open ? TRUE : FALSE;
}

Bool GeDialog::Close() {
  if (!state_->open) return FALSE;
  state_->open = false;
  auto& list = host::opened();
  list.erase(std::remove(list.begin(), list.end(), this), list.end());
  const host::PluginScope scope(state_->plugin);
  host::userInterface().closeDialog(*this);
  DestroyWindow();
  return TRUE;
}

Bool GeDialog::CheckCoreMessage(const BaseContainer& /*msg*/) const {
  return IsOpen();
}
