// What a user does with a dialog: called by widgets and by tests. Each changes the model as a user would and
// calls the dialog, with its plug-in as the one being called. A gadget that is missing, disabled or hidden
// does nothing: false. Main thread.
#pragma once

#include "gadget.h"
#include "surface.h"

namespace host {

struct ActionInput {
  LONG qualifiers = 0;   // QSHIFT...
  bool inDrag = false;   // a slider that is still being dragged
  bool fromMouse = true; // else by the keyboard
};

/// A button, or a check box: it toggles first. IDC_OK and IDC_CANCEL of a modal dialog close it afterwards,
/// as `closeByUser` does; OK gives the result TRUE.
bool clickGadget(GeDialog& dialog, LONG id, const ActionInput& input = {});
/// A number that the user typed or dragged to, as shown (per cent for a percent field); it is cut to the
/// range.
bool enterNumber(GeDialog& dialog, LONG id, Real shown, const ActionInput& input = {});
bool enterText(GeDialog& dialog, LONG id, const String& text);
/// The combo box's entry of this value; -1 cannot be chosen.
bool chooseEntry(GeDialog& dialog, LONG id, LONG value);
/// 0 to 1 each; a field that allows no brightness above 1 cuts.
bool enterColor(GeDialog& dialog, LONG id, const Vector& color, Real brightness = 1);
bool chooseMenu(GeDialog& dialog, LONG id, const ActionInput& input = {});
/// A key pressed while the dialog has the focus and no gadget took it: BFM_INPUT to `Message`. `text` is what
/// it types. True when the dialog used it.
bool pressKey(GeDialog& dialog, LONG channel, const String& text, LONG qualifiers = 0);
/// The window's close button, or Escape in a modal dialog: BFM_CLOSE to `Message`, then `AskClose`, then it
/// is closed (a modal one with the result FALSE) unless that refused. Gives whether it is closed.
bool closeByUser(GeDialog& dialog);

// User areas. Positions are the area's own.

bool pressMouse(GeUserArea& area, LONG channel, LONG x, LONG y, const ActionInput& input = {},
                bool doubleClick = false);
/// The pointer moves over the area. Gives the cursor that the area wants (MOUSE_...), MOUSE_NORMAL for none.
LONG hoverMouse(GeUserArea& area, LONG x, LONG y, LONG qualifiers = 0);

/// The size that its gadget should have at least.
void areaMinSize(GeUserArea& area, LONG& width, LONG& height);
/// The gadget has got another size: `Sized`, then a surface of that size (times `pixelRatio`), cleared to the
/// window's colour and painted before this returns; and BFM_SIZED to the area and to the dialog, posted, once
/// for several changes that come quickly after each other (150 ms). Same size and ratio: nothing.
void sizeArea(GeUserArea& area, LONG width, LONG height, double pixelRatio = 1);
/// What was painted last.
const Surface& areaSurface(const GeUserArea& area);
/// Paints it now if a redraw is waiting.
void paintArea(GeUserArea& area);

/// The colour of windows, 0xAARRGGBB: every `DrawMsg` begins on it. Repaints the areas that are shown.
void setWindowColor(std::uint32_t color);
std::uint32_t windowColor() noexcept;

// Dialogs without a view.

/// Starts the areas that have no size yet, at their minimum. `UserInterface::openDialog` calls it when it
/// sets no view; `GeDialog::Open` does for one that is not modal.
void layoutWithoutView(GeDialog& dialog);
/// How much a scroll group shows; without a call it is all that it holds.
void setScrollSize(GeDialog& dialog, LONG id, LONG width, LONG height);

/// The state of mouse and keyboard, as `GetInputState` gives it; whoever has a real window keeps it up to
/// date. In a dialog without a view `pressMouse` and `hoverMouse` move the pointer.
struct InputState {
  bool known = false;
  LONG mouseX = 0, mouseY = 0; // screen
  bool left = false, middle = false, right = false;
  LONG qualifiers = 0;
  std::vector<LONG> keys; // channels of the keyboard that are down
};
void setInputState(const InputState& state);
InputState inputState();

} // namespace host
