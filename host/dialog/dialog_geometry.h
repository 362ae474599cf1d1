// Positions of a dialog's gadgets without a view.
#pragma once

#include "dialog_state.h"

namespace host {

/// The minimum size of a gadget, with 7 pixels per character and controls 24 pixels high. For a scroll group
/// it is the initial size.
Place gadgetMinimum(const Gadget& gadget);
/// The size of a scroll group's contents.
Place scrollContent(const Gadget& gadget);
/// Relative to the window's content; false when the gadget or a group around it is hidden.
bool computePlace(const DialogState& state, const Gadget& gadget, Place& place);

/// The gadget's place: from the view, without one computed.
bool gadgetPlace(const DialogState& state, const Gadget& gadget, Place& place);
/// The screen position of the window's content.
bool windowOrigin(const DialogState& state, LONG& x, LONG& y);

} // namespace host
