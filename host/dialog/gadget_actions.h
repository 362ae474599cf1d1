// User actions on a dialog, called by widgets and tests. Each changes the model as a user does and calls the
// dialog in its plug-in's scope. On a missing, disabled or hidden gadget they do nothing and return false.
// Main thread.
#pragma once

#include "gadget.h"
#include "surface.h"

namespace host {

struct ActionInput {
  LONG qualifiers = 0;   // QSHIFT...
  bool inDrag = false;   // the slider is still being dragged
  bool fromMouse = true; // false: by the keyboard
};

/// Clicks a button or a check box, which toggles first. IDC_OK and IDC_CANCEL then close a modal dialog as
/// `closeByUser` does; OK makes its result TRUE.
bool clickGadget(GeDialog& dialog, LONG id, const ActionInput& input = {});
/// Enters a number by typing or dragging, as shown (per cent for a percent field); clamped to the range.
bool enterNumber(GeDialog& dialog, LONG id, Real shown, const ActionInput& input = {});
bool enterText(GeDialog& dialog, LONG id, const String& text);
/// Chooses the combo box's entry of this value; -1 cannot be chosen.
bool chooseEntry(GeDialog& dialog, LONG id, LONG value);
/// Chooses a colour, 0 to 1 per channel; clamped where the field allows no brightness above 1.
bool enterColor(GeDialog& dialog, LONG id, const Vector& color, Real brightness = 1);
bool chooseMenu(GeDialog& dialog, LONG id, const ActionInput& input = {});
/// Presses a key that no gadget of the focused dialog uses: BFM_INPUT to `Message`. `text` is the typed text.
/// True when the dialog used it.
bool pressKey(GeDialog& dialog, LONG channel, const String& text, LONG qualifiers = 0);
/// Uses the window's close button, or Escape in a modal dialog: BFM_CLOSE to `Message`, then `AskClose`, then
/// closes unless that refused (a modal dialog with result FALSE). Returns whether the dialog is closed.
bool closeByUser(GeDialog& dialog);

// User areas. Positions are relative to the area.

bool pressMouse(GeUserArea& area, LONG channel, LONG x, LONG y, const ActionInput& input = {},
                bool doubleClick = false);
/// Moves the pointer over the area. Returns the cursor that the area asks for (MOUSE_...), else MOUSE_NORMAL.
LONG hoverMouse(GeUserArea& area, LONG x, LONG y, LONG qualifiers = 0);

/// The minimum size of the area's gadget.
void areaMinSize(GeUserArea& area, LONG& width, LONG& height);
/// Resizes the gadget: calls `Sized`, then makes a surface of that size (times `pixelRatio`), clears it to
/// the window's colour and paints before it returns. BFM_SIZED follows for the area and the dialog, once for
/// changes within 150 ms. Does nothing for the same size and ratio.
void sizeArea(GeUserArea& area, LONG width, LONG height, double pixelRatio = 1);
/// The surface of the last painting.
const Surface& areaSurface(const GeUserArea& area);
/// Paints now if a redraw is pending.
void paintArea(GeUserArea& area);

/// The window colour, 0xAARRGGBB, on which every `DrawMsg` begins. Setting it repaints all shown areas.
void setWindowColor(std::uint32_t color);
std::uint32_t windowColor() noexcept;

// Dialogs without a view.

/// Starts the areas without a size at their minimum. `UserInterface::openDialog` calls it when it sets no
/// view; `GeDialog::Open` calls it for a dialog that is not modal.
void layoutWithoutView(GeDialog& dialog);
/// Sets the visible size of a scroll group; by default all of its contents are visible.
void setScrollSize(GeDialog& dialog, LONG id, LONG width, LONG height);

/// State of mouse and keyboard for `GetInputState`. A program with real windows keeps it up to date; in a
/// dialog without a view, `pressMouse` and `hoverMouse` move the pointer.
struct InputState {
  bool known = false;
  LONG mouseX = 0, mouseY = 0; // screen
  bool left = false, middle = false, right = false;
  LONG qualifiers = 0;
  std::vector<LONG> keys; // pressed keys, as keyboard channels
};
void setInputState(const InputState& state);
InputState inputState();

} // namespace host
