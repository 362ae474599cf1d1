#include "gadget_actions.h"

#include <algorithm>
#include <cmath>

#include "access.h"
#include "area_state.h"
#include "dialog_geometry.h"
#include "dialog_state.h"
#include "plugin_call.h"

namespace host {

namespace {

// The gadget if a user can use it now; null when it is missing, or when it or a group around it is disabled
// or hidden.
Gadget* usable(GeDialog& dialog, LONG id) {
  DialogState& state = *Access::state(dialog);
  Gadget* gadget = state.open ? findGadget(state, id) : nullptr;
  for (const Gadget* at = gadget; at; at = at->parent)
    if (!at->enabled || at->hidden) return nullptr;
  return gadget;
}

bool isNumberField(const Gadget& gadget) {
  return gadget.kind == GadgetKind::editNumber || gadget.kind == GadgetKind::editNumberArrows ||
         gadget.kind == GadgetKind::editSlider || gadget.kind == GadgetKind::slider;
}

BaseContainer action(LONG id) {
  BaseContainer message(BFM_ACTION);
  message.SetLong(BFM_ACTION_ID, id);
  return message;
}

// The click or key that caused an action. The keyboard presses a button with the space bar.
void addCause(BaseContainer& message, const ActionInput& input) {
  message.SetLong(BFM_INPUT_DEVICE, input.fromMouse ? BFM_INPUT_MOUSE : BFM_INPUT_KEYBOARD);
  message.SetLong(BFM_INPUT_CHANNEL, input.fromMouse ? BFM_INPUT_MOUSELEFT : ' ');
  message.SetLong(BFM_INPUT_VALUE, 1);
  message.SetLong(BFM_INPUT_QUALIFIER, input.qualifiers);
}

void addValue(BaseContainer& message, const Gadget& gadget) {
  const bool whole = !isNumberField(gadget) || gadget.spec.kind == NumberKind::integer;
  if (whole)
    message.SetLong(BFM_ACTION_VALUE, static_cast<LONG>(gadget.number));
  else
    message.SetReal(BFM_ACTION_VALUE, gadget.number);
}

// Notifies the view of the new value, then the dialog.
bool notifyDialog(GeDialog& dialog, const Gadget& gadget, const BaseContainer& message) {
  if (DialogView* view = Access::state(dialog)->view) view->gadgetChanged(gadget);
  sendMessage(dialog, message);
  return true;
}

// Closes a window for the user, in whichever way. Returns whether it is closed.
bool closeWith(GeDialog& dialog, Bool result) {
  if (!dialog.IsOpen()) return true;
  bool gone = false;
  sendMessage(dialog, BaseContainer(BFM_CLOSE), &gone);
  if (gone || !dialog.IsOpen()) return true;
  GeModalDialog* const modal = Access::state(dialog)->modalDialog;
  if (modal) Access::setResult(*modal, result);
  const WeakRef alive = Access::state(dialog)->lifetime.ref();
  const bool closed = requestClose(dialog);
  if (!closed && modal && alive) Access::setResult(*modal, FALSE);
  return closed;
}

} // namespace

bool clickGadget(GeDialog& dialog, LONG id, const ActionInput& input) {
  Gadget* gadget = usable(dialog, id);
  if (!gadget || (gadget->kind != GadgetKind::button && gadget->kind != GadgetKind::checkBox)) return false;
  BaseContainer message = action(id);
  const bool button = gadget->kind == GadgetKind::button;
  if (!button) {
    gadget->number = gadget->number != 0 ? 0 : 1;
    addValue(message, *gadget);
    if (DialogView* view = Access::state(dialog)->view) view->gadgetChanged(*gadget);
  }
  addCause(message, input);
  bool gone = false;
  sendMessage(dialog, message, &gone);
  if (gone || !button || (id != IDC_OK && id != IDC_CANCEL)) return true;
  if (dialog.IsOpen() && Access::state(dialog)->modal) closeWith(dialog, id == IDC_OK ? TRUE : FALSE);
  return true;
}

bool enterNumber(GeDialog& dialog, LONG id, Real shown, const ActionInput& input) {
  Gadget* gadget = usable(dialog, id);
  if (!gadget || !isNumberField(*gadget) || std::isnan(shown)) return false;
  const NumberSpec& spec = gadget->spec;
  if (spec.kind == NumberKind::integer) shown = std::round(shown);
  shown = std::max(spec.min, std::min(spec.max, shown));
  gadget->number = spec.kind == NumberKind::percent ? shown / 100 : shown;
  BaseContainer message = action(id);
  addValue(message, *gadget);
  message.SetLong(BFM_ACTION_INDRAG, input.inDrag ? 1 : 0);
  message.SetLong(BFM_INPUT_QUALIFIER, input.qualifiers);
  return notifyDialog(dialog, *gadget, message);
}

bool enterText(GeDialog& dialog, LONG id, const String& text) {
  Gadget* gadget = usable(dialog, id);
  if (!gadget || gadget->kind != GadgetKind::editText) return false;
  gadget->text = text;
  return notifyDialog(dialog, *gadget, action(id));
}

bool chooseEntry(GeDialog& dialog, LONG id, LONG value) {
  Gadget* gadget = usable(dialog, id);
  if (!gadget || gadget->kind != GadgetKind::comboBox || value == -1) return false;
  const auto is = [value](const ComboEntry& entry) { return entry.value == value; };
  if (std::none_of(gadget->entries.begin(), gadget->entries.end(), is)) return false;
  gadget->number = value;
  BaseContainer message = action(id);
  addValue(message, *gadget);
  return notifyDialog(dialog, *gadget, message);
}

bool enterColor(GeDialog& dialog, LONG id, const Vector& color, Real brightness) {
  Gadget* gadget = usable(dialog, id);
  if (!gadget || gadget->kind != GadgetKind::colorField) return false;
  const auto cut = [](Real value, Real most) { return value > 0 ? std::min(value, most) : 0; };
  const Real brightest = gadget->spec.kind == NumberKind::real ? gadget->spec.max : 1;
  gadget->color = Vector(cut(color.x, 1), cut(color.y, 1), cut(color.z, 1));
  gadget->brightness = cut(brightness, brightest);
  return notifyDialog(dialog, *gadget, action(id));
}

bool chooseMenu(GeDialog& dialog, LONG id, const ActionInput& input) {
  const MenuEntry* entry = dialog.IsOpen() ? findMenuEntry(dialog, id) : nullptr;
  if (!entry || !entry->enabled || entry->text == String()) return false;
  BaseContainer message = action(id);
  addCause(message, input);
  sendMessage(dialog, message);
  return true;
}

bool pressKey(GeDialog& dialog, LONG channel, const String& text, LONG qualifiers) {
  if (!dialog.IsOpen()) return false;
  BaseContainer message(BFM_INPUT);
  message.SetLong(BFM_INPUT_DEVICE, BFM_INPUT_KEYBOARD);
  message.SetLong(BFM_INPUT_CHANNEL, channel);
  message.SetLong(BFM_INPUT_VALUE, 1);
  message.SetLong(BFM_INPUT_QUALIFIER, qualifiers);
  message.SetString(BFM_INPUT_ASC, text);
  return sendMessage(dialog, message) != 0;
}

bool closeByUser(GeDialog& dialog) {
  return closeWith(dialog, FALSE);
}

void setScrollSize(GeDialog& dialog, LONG id, LONG width, LONG height) {
  Access::state(dialog)->scrollSizes[id] = {0, 0, std::max<LONG>(width, 0), std::max<LONG>(height, 0)};
}

} // namespace host
