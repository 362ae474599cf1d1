// GeDialog: lifetime, window and timer.
#include "c4d_dialog.h"

#include <algorithm>
#include <optional>

#include "access.h"
#include "area_state.h"
#include "dialog_geometry.h"
#include "dialog_state.h"
#include "gadget_actions.h"
#include "plugin_call.h"
#include "program.h"
#include "user_interface.h"

using host::Access;
using host::callPlugin;
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

// The areas attached to the dialog's gadgets.
std::vector<AreaState*> areasOf(DialogState& state) {
  std::vector<AreaState*> areas;
  forEachGadget(state.model.root, [&](Gadget& gadget) {
    if (gadget.area) areas.push_back(Access::state(*gadget.area));
  });
  return areas;
}

void flushGadgets(DialogState& state) {
  for (AreaState* area : areasOf(state))
    detachArea(*area);
  state.model.root = Gadget();
  state.model.root.columns = 1;
  state.model.menus.clear();
  state.groups = {&state.model.root};
  state.menuPath.clear();
  state.scrollSizes.clear();
}

// Calls CreateLayout and InitValues. Closes groups and menus that the dialog left open.
bool build(DialogState& state) {
  flushGadgets(state);
  state.building = true;
  bool built = callPlugin(
      state.plugin, [&] { return state.dialog.CreateLayout() != FALSE; }, false);
  state.building = state.menuBuilding = false;
  state.groups.clear();
  state.menuPath.clear();
  return built && callPlugin(
                      state.plugin, [&] { return state.dialog.InitValues() != FALSE; }, false);
}

void startTimer(DialogState& state) {
  mainLoop().removeTimer(state.timer);
  state.timer = 0;
  if (!state.open || state.timerPeriod <= 0) return;
  const auto run = [&state] { callPlugin(state.plugin, [&] { state.dialog.Timer(BaseContainer()); }); };
  state.timer = mainLoop().addTimer(state.timerPeriod, run, Urgency::normal, &state.dialog);
}

bool show(DialogState& state, const DialogPlacement& placement) {
  GeDialog& dialog = state.dialog;
  const PluginScope scope(state.plugin);
  const WeakRef alive = state.lifetime.ref();
  bool shown = false;
  {
    std::optional<ModalScope> modal;
    if (state.modal) modal.emplace(&dialog);
    shown = userInterface().openDialog(dialog, placement);
  }
  if (!alive) return shown;
  if (!shown || state.modal)
    dialog.Close();
  else if (!state.view)
    layoutWithoutView(dialog);
  return shown;
}

} // namespace

DialogState::DialogState(GeDialog& owner) : dialog(owner) {
  model.root.columns = 1;
  closeAtShutdown();
  mainLoop().add(this);
}

DialogState::~DialogState() {
  mainLoop().remove(this);
  mainLoop().removeTimer(timer);
  for (AreaState* area : areasOf(*this))
    detachArea(*area);
}

void DialogState::coreMessage(LONG id, const BaseContainer& message) {
  const WeakRef there = lifetime.ref();
  callPlugin(plugin, [&] { dialog.CoreMessage(id, message); });
  if (!there) return;
  std::vector<WeakRef<AreaState>> areas;
  for (const AreaState* area : areasOf(*this))
    areas.push_back(area->lifetime.ref());
  for (const WeakRef<AreaState>& area : areas)
    if (area && isLive(*area.get())) callPlugin(area->plugin, [&] { area->area.CoreMessage(id, message); });
}

std::vector<GeDialog*> openDialogs() {
  return opened();
}

void reloadDialogs(LONG pluginId) {
  for (GeDialog* dialog : openDialogs()) {
    const std::vector<GeDialog*> now = openDialogs(); // the ones before may have closed it
    if (std::find(now.begin(), now.end(), dialog) == now.end()) continue;
    DialogState& state = *Access::state(*dialog);
    if (state.pluginId != pluginId) continue;
    callPlugin(
        state.plugin, [&] { return state.dialog.InitValues() != FALSE; }, false);
  }
}

bool requestClose(GeDialog& dialog) {
  if (!dialog.IsOpen()) return true;
  DialogState& state = *Access::state(dialog);
  const WeakRef alive = state.lifetime.ref();
  const bool refused = callPlugin(
      state.plugin, [&] { return dialog.AskClose() != FALSE; }, false);
  if (!alive || !dialog.IsOpen()) return true;
  return !refused && dialog.Close();
}

void closeAllDialogs() {
  while (!opened().empty())
    opened().back()->Close();
}

LONG sendMessage(GeDialog& dialog, const BaseContainer& message, bool* gone) {
  DialogState& state = *Access::state(dialog);
  const WeakRef alive = state.lifetime.ref();
  BaseContainer result;
  const LONG used = callPlugin(
      state.plugin, [&] { return dialog.Message(message, result); }, LONG{0});
  if (gone) *gone = !alive;
  return used;
}

const DialogModel& dialogModel(const GeDialog& dialog) {
  return Access::state(dialog)->model;
}

void setDialogView(GeDialog& dialog, DialogView* view) {
  Access::state(dialog)->view = view;
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
LONG GeDialog::Message(const BaseContainer& msg, BaseContainer& /*result*/) {
  if (msg.GetId() != BFM_ACTION) return 0;
  return Command(msg.GetLong(BFM_ACTION_ID), msg) ? 1 : 0;
}

Bool GeDialog::Open(DLG_TYPE type, LONG pluginId, LONG x, LONG y, LONG width, LONG height, LONG subId) {
  DialogState& state = *state_;
  if (state.open) return TRUE;
  if (state.building || !host::build(state)) return FALSE;
  state.open = true;
  state.modal = type == DLG_TYPE_MODAL;
  state.pluginId = pluginId;
  state.subId = subId;
  state.askedWidth = width;
  state.askedHeight = height;
  host::opened().push_back(this);
  host::startTimer(state);
  return host::show(state, {type, pluginId, subId, x, y, width, height}) ? TRUE : FALSE;
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
  DialogState& state = *state_;
  if (!state.open) return FALSE;
  state.open = false;
  auto& list = host::opened();
  list.erase(std::remove(list.begin(), list.end(), this), list.end());
  host::startTimer(state);
  for (host::AreaState* area : host::areasOf(state))
    host::stopArea(*area);
  const host::PluginScope scope(state.plugin);
  host::userInterface().closeDialog(*this);
  state.view = nullptr;
  callPlugin(state.plugin, [&] { DestroyWindow(); });
  return TRUE;
}

Bool GeDialog::CheckCoreMessage(const BaseContainer& /*msg*/) const {
  return IsOpen();
}

void GeDialog::SetTitle(const String& title) {
  state_->model.title = title;
  if (state_->view) state_->view->titleChanged();
}

void GeDialog::SetTimer(LONG milliseconds) {
  state_->timerPeriod = milliseconds;
  host::startTimer(*state_);
}

// ---- GeModalDialog

GeModalDialog::GeModalDialog() {
  Access::state(static_cast<GeDialog&>(*this))->modalDialog = this;
}

GeModalDialog::~GeModalDialog() = default;

Bool GeModalDialog::Open(LONG x, LONG y, LONG width, LONG height) {
  if (IsOpen()) return FALSE;
  result_ = FALSE;
  GeDialog::Open(DLG_TYPE_MODAL, 0, x, y, width, height);
  return result_;
}

Bool GeModalDialog::Close(Bool ok) {
  if (!IsOpen()) return FALSE;
  result_ = ok ? TRUE : FALSE;
  return GeDialog::Close();
}

Bool GeModalDialog::GetResult() const {
  return result_;
}
