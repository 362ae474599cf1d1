// Where the gadgets of a dialog lie when no view shows it.
#pragma once

#include "dialog_state.h"

namespace host {

/// The size that a gadget needs, with texts at 7 pixels a character and controls 24 high. A scroll group
/// needs its initial size.
Place gadgetMinimum(const Gadget& gadget);
/// The size of what a scroll group holds.
Place scrollContent(const Gadget& gadget);
/// In the window's content; false when the gadget or one around it is hidden.
bool computePlace(const DialogState& state, const Gadget& gadget, Place& place);

/// The gadget's place from the view, else computed.
bool gadgetPlace(const DialogState& state, const Gadget& gadget, Place& place);
/// Where the window's content begins on the screen.
bool windowOrigin(const DialogState& state, LONG& x, LONG& y);

} // namespace host
