// Mouse and keyboard: input of user areas, and input state.
#include <algorithm>
#include <cmath>

#include "access.h"
#include "area_state.h"
#include "dialog_geometry.h"
#include "dialog_state.h"
#include "gadget_actions.h"
#include "plugin_call.h"

namespace host {

namespace {

InputState& current() {
  static InputState& state = *new InputState;
  return state;
}

// Adds the position in the window's content. Without a view it becomes the pointer's position.
void addPosition(const AreaState& state, LONG x, LONG y, LONG qualifiers, BaseContainer& message) {
  state.area.Local2Global(&x, &y);
  message.SetLong(BFM_INPUT_DEVICE, BFM_INPUT_MOUSE);
  message.SetLong(BFM_INPUT_QUALIFIER, qualifiers);
  message.SetReal(BFM_INPUT_X, x);
  message.SetReal(BFM_INPUT_Y, y);
  if (Access::state(*state.dialog)->view) return;
  state.dialog->Local2Screen(&x, &y);
  current().known = true;
  current().mouseX = x;
  current().mouseY = y;
  current().qualifiers = qualifiers;
}

// Whether the area accepts mouse input now.
bool takesMouse(const AreaState& state) {
  if (state.stage != AreaState::Stage::shown || !isLive(state)) return false;
  for (const Gadget* at = state.gadget; at; at = at->parent)
    if (!at->enabled || at->hidden) return false;
  return true;
}

bool isDown(const InputState& state, LONG device, LONG channel) {
  if (device == BFM_INPUT_KEYBOARD)
    return std::find(state.keys.begin(), state.keys.end(), channel) != state.keys.end();
  return (channel == BFM_INPUT_MOUSELEFT && state.left) || (channel == BFM_INPUT_MOUSERIGHT && state.right) ||
         (channel == BFM_INPUT_MOUSEMIDDLE && state.middle);
}

} // namespace

void setInputState(const InputState& state) {
  current() = state;
}

InputState inputState() {
  return current();
}

bool pressMouse(GeUserArea& area, LONG channel, LONG x, LONG y, const ActionInput& input, bool doubleClick) {
  AreaState& state = *Access::state(area);
  if (!takesMouse(state)) return false;
  BaseContainer message(BFM_INPUT), result;
  addPosition(state, x, y, input.qualifiers, message);
  message.SetLong(BFM_INPUT_CHANNEL, channel);
  message.SetLong(BFM_INPUT_VALUE, 1);
  message.SetLong(BFM_INPUT_DOUBLECLICK, doubleClick ? 1 : 0);
  return callPlugin(
             state.plugin, [&] { return area.Message(message, result); }, LONG{0}) != 0;
}

LONG hoverMouse(GeUserArea& area, LONG x, LONG y, LONG qualifiers) {
  AreaState& state = *Access::state(area);
  if (!takesMouse(state)) return MOUSE_NORMAL;
  BaseContainer message(BFM_GETCURSORINFO), result;
  addPosition(state, x, y, qualifiers, message);
  callPlugin(state.plugin, [&] { area.Message(message, result); });
  return result.GetLong(RESULT_CURSOR, MOUSE_NORMAL);
}

} // namespace host

Bool GetInputState(LONG device, LONG channel, BaseContainer& answer) {
  const host::InputState state = host::inputState();
  if (!state.known || (device != BFM_INPUT_MOUSE && device != BFM_INPUT_KEYBOARD)) return FALSE;
  answer = BaseContainer(BFM_INPUT);
  answer.SetLong(BFM_INPUT_DEVICE, device);
  answer.SetLong(BFM_INPUT_CHANNEL, channel);
  answer.SetLong(BFM_INPUT_VALUE, host::isDown(state, device, channel) ? 1 : 0);
  answer.SetLong(BFM_INPUT_QUALIFIER, state.qualifiers);
  answer.SetReal(BFM_INPUT_X, state.mouseX);
  answer.SetReal(BFM_INPUT_Y, state.mouseY);
  return TRUE;
}
