// The model of a dialog: a tree of gadgets and a menu. Widgets mirror it, tests read it. Main thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "c4d_dialog.h"
#include "c4d_math.h"

namespace host {

enum class GadgetKind {
  group,
  scrollGroup,
  button,
  staticText,
  editText,
  editNumber,
  editNumberArrows,
  editSlider, // a field and a slider
  slider,
  checkBox,
  comboBox,
  colorField,
  userArea,
  separatorH,
  separatorV,
};

/// Format and range of a number field. A percent field holds a fraction; its bounds are per cent.
enum class NumberKind { integer, real, percent, meter };

struct NumberSpec {
  NumberKind kind = NumberKind::integer;
  Real min = MINLONGl, max = MAXLONGl, step = 1; // of the shown number
};

struct ComboEntry {
  LONG value = 0; // -1: cannot be chosen
  String text;    // empty with -1: a separator
};

/// A gadget. Only `GeDialog`'s calls and user actions (gadget_actions.h) change it.
struct Gadget {
  GadgetKind kind = GadgetKind::group;
  LONG id = 0;
  LONG flags = 0; // BFH_, BFV_
  LONG initWidth = 0, initHeight = 0;
  String text;    // label, title, or the text of an edit field
  String tooltip; // may be empty
  bool enabled = true, hidden = false;

  Real number = 0; // the value; check box: 0 or 1; combo box: the entry's value
  NumberSpec spec;
  Vector color; // colour field, 0 to 1
  Real brightness = 1;
  std::vector<ComboEntry> entries;

  // Groups.
  LONG columns = 0, rows = 0; // 0: as many as needed
  LONG scroll = 0;            // SCROLLGROUP_...
  LONG border = BORDER_NONE;
  LONG spaceX = 4, spaceY = 4;
  LONG borderLeft = 0, borderTop = 0, borderRight = 0, borderBottom = 0;
  LONG freeWidth = 0, freeHeight = 0; // pixels that a scroll group keeps free at its right and lower edge
  std::vector<std::unique_ptr<Gadget>> children;
  Gadget* parent = nullptr;

  GeUserArea* area = nullptr; // null until one is attached

  /// The number that a field shows: times 100 for per cent.
  Real shownNumber() const noexcept { return spec.kind == NumberKind::percent ? number * 100 : number; }
};

/// A menu entry, or a menu with children.
struct MenuEntry {
  LONG id = 0; // 0: a menu or a separator
  String text; // empty: a separator
  bool enabled = true, checked = false;
  std::vector<MenuEntry> children;
};

/// The gadgets and menus of one dialog.
struct DialogModel {
  String title;
  Gadget root; // a group of one column
  std::vector<MenuEntry> menus;
};

/// The dialog's model. It lives as long as the dialog; each opening makes new gadgets.
const DialogModel& dialogModel(const GeDialog& dialog);
/// Searches depth first; null for an unknown ID and for ID 0.
const Gadget* findGadget(const GeDialog& dialog, LONG id);
const MenuEntry* findMenuEntry(const GeDialog& dialog, LONG id);

struct Place {
  LONG x = 0, y = 0, width = 0, height = 0;
};

/// The window of a dialog. `UserInterface::openDialog` sets it with `setDialogView`. Without one the model
/// works alone: user areas have their minimum size, and `setScrollSize` (gadget_actions.h) sets the visible
/// size of a scroll group.
class DialogView {
 public:
  /// A value, text, range or entry, or the enabled or hidden state changed.
  virtual void gadgetChanged(const Gadget& gadget) = 0;
  /// The user area's minimum size may have changed (see `areaMinSize`), gadgets were hidden or shown, or the
  /// free pixels of a scroll group changed.
  virtual void layoutChanged(const Gadget& gadget) = 0;
  virtual void menuChanged() = 0;
  virtual void titleChanged() = 0;
  /// The area's surface has a new picture (`areaSurface`).
  virtual void areaPainted(const Gadget& gadget) = 0;

  /// Without the pixels that the group keeps free.
  virtual bool visibleArea(const Gadget& gadget, LONG& left, LONG& top, LONG& right, LONG& bottom) const = 0;
  /// Relative to the window's content.
  virtual bool place(const Gadget& gadget, Place& place) const = 0;
  /// The screen position of the window's content.
  virtual bool origin(LONG& x, LONG& y) const = 0;

 protected:
  ~DialogView() = default;
};

/// Null removes the view.
void setDialogView(GeDialog& dialog, DialogView* view);

} // namespace host
