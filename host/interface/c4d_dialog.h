// Dialogs, their gadgets and menus, and user areas. Main thread. Lengths are logical pixels.
#pragma once

#include "c4d_bitmap.h"
#include "c4d_container.h"
#include "c4d_input.h"
#include "c4d_string.h"

class BaseBitmap;
class GeDialog;
class GeResource;
class GeUserArea;

enum DLG_TYPE { DLG_TYPE_MODAL = 10, DLG_TYPE_ASYNC = 20 };

// A gadget's place in its cell: one horizontal and one vertical value; SCALE takes a share of the space left
// over.
inline constexpr LONG BFH_CENTER = 0;
inline constexpr LONG BFH_LEFT = 1;
inline constexpr LONG BFH_RIGHT = 2;
inline constexpr LONG BFH_FIT = 3;
inline constexpr LONG BFH_SCALE = 8;
inline constexpr LONG BFV_CENTER = 0;
inline constexpr LONG BFV_TOP = 16;
inline constexpr LONG BFV_BOTTOM = 32;
inline constexpr LONG BFV_FIT = 48;
inline constexpr LONG BFV_SCALE = 128;
inline constexpr LONG BFH_SCALEFIT = BFH_SCALE | BFH_FIT;
inline constexpr LONG BFV_SCALEFIT = BFV_SCALE | BFV_FIT;

inline constexpr LONG BORDER_NONE = 0;
inline constexpr LONG BORDER_GROUP_IN = 3; // a frame with the group's title

inline constexpr LONG SCROLLGROUP_VERT = 1;
inline constexpr LONG SCROLLGROUP_HORIZ = 2;

// Buttons for `AddDlgGroup`, bits.
inline constexpr LONG DLG_OK = 1;
inline constexpr LONG DLG_CANCEL = 2;
/// Gadget IDs of these two buttons.
inline constexpr LONG IDC_OK = 1;
inline constexpr LONG IDC_CANCEL = 2;

inline constexpr LONG USERAREA_0 = 0;
// Modes of DrawBitmap, bits: nearest pixel, smooth scaling, with the alpha channel.
inline constexpr LONG BMP_NORMAL = 0;
inline constexpr LONG BMP_NORMALSCALED = 1;
inline constexpr LONG BMP_ALLOWALPHA = 256;

inline constexpr LONG MINLONGl = -2147483647 - 1;
inline constexpr LONG MAXLONGl = 2147483647;
inline constexpr Real MINREALr = -1.0e308;
inline constexpr Real MAXREALr = 1.0e308;

/// The state of a key or button: `answer` receives BFM_INPUT_... entries, positions in screen coordinates;
/// BFM_INPUT_VALUE is 1 while it is pressed. False without a display.
C4D_API Bool GetInputState(LONG device, LONG channel, BaseContainer& answer);

/// Shows a popup menu and waits for the user. Gives the chosen ID, 0 when the menu was closed. An entry is a
/// string under its ID; ID 0 (or an empty text) is a separator. A text's end "&c&" puts a check mark, "&d&"
/// greys it out. A position of 0x7fffffff is at the pointer.
C4D_API LONG ShowPopupMenu(GeDialog* dialog, LONG screenX, LONG screenY, const BaseContainer& entries);

/// A window of a plug-in. It gets core messages from its construction on, also while it is closed.
///
/// `Open` calls `CreateLayout`, which builds the gadgets, then `InitValues`. A user's action changes a gadget
/// and then calls `Command`; a setter changes it within its range and calls nothing. IDs of gadgets and menu
/// entries share one number space; 0 is a gadget without an ID.
class C4D_API GeDialog {
 public:
  GeDialog();
  virtual ~GeDialog();
  GeDialog(const GeDialog&) = delete;
  GeDialog& operator=(const GeDialog&) = delete;

  virtual Bool CreateLayout();
  virtual Bool InitValues();
  virtual Bool CoreMessage(LONG id, const BaseContainer& msg);
  virtual Bool Command(LONG id, const BaseContainer& msg);
  /// True refuses to close.
  virtual Bool AskClose();
  virtual void Timer(const BaseContainer& msg);
  virtual void DestroyWindow();
  /// Gets every message to the window: BFM_INPUT, BFM_SIZED, BFM_CLOSE, BFM_ACTION. The base calls `Command`
  /// for BFM_ACTION. A result other than 0 says that the message was used.
  virtual LONG Message(const BaseContainer& msg, BaseContainer& result);

  // The window.

  /// Opens the window: a position of -1 and a size of 0 are the host's choice. False without a display.
  Bool Open(DLG_TYPE type, LONG pluginId, LONG x = -1, LONG y = -1, LONG width = 0, LONG height = 0,
            LONG subId = 0);
  /// Opens the window where it was when the program ended; false when it was not open then.
  Bool RestoreLayout(LONG pluginId, LONG subId, void* secret);
  Bool IsOpen() const;
  Bool Close();
  /// Whether a core message is meant for this dialog: true while it is open.
  Bool CheckCoreMessage(const BaseContainer& msg) const;
  void SetTitle(const String& title);
  /// Calls `Timer` every `milliseconds`; 0 stops it. It stands still while the dialog is closed. A call
  /// restarts the period.
  void SetTimer(LONG milliseconds);

  // Layout calls, in `CreateLayout`. `flags` are BFH_... and BFV_...; a size of 0 is the gadget's own.

  Bool GroupBegin(LONG id, LONG flags, LONG columns, LONG rows, const String& title, LONG groupFlags,
                  LONG initWidth = 0, LONG initHeight = 0);
  Bool ScrollGroupBegin(LONG id, LONG flags, LONG scrollFlags, LONG initWidth = 0, LONG initHeight = 0);
  Bool GroupEnd();
  // For the group that was begun last.
  Bool GroupSpace(LONG x, LONG y);
  Bool GroupBorderSpace(LONG left, LONG top, LONG right, LONG bottom);
  Bool GroupBorder(LONG border); // BORDER_...; shows the title

  Bool AddButton(LONG id, LONG flags, LONG initWidth, LONG initHeight, const String& name);
  Bool AddStaticText(LONG id, LONG flags, LONG initWidth, LONG initHeight, const String& name, LONG border);
  Bool AddEditText(LONG id, LONG flags, LONG initWidth = 80, LONG initHeight = 0);
  Bool AddEditNumber(LONG id, LONG flags, LONG initWidth = 70, LONG initHeight = 0);
  Bool AddEditNumberArrows(LONG id, LONG flags, LONG initWidth = 70, LONG initHeight = 0);
  Bool AddEditSlider(LONG id, LONG flags, LONG initWidth = 80, LONG initHeight = 0); // a field and a slider
  Bool AddSlider(LONG id, LONG flags, LONG initWidth = 90, LONG initHeight = 0);
  Bool AddCheckbox(LONG id, LONG flags, LONG initWidth, LONG initHeight, const String& name);
  Bool AddComboBox(LONG id, LONG flags, LONG initWidth = 80, LONG initHeight = 0);
  /// An entry of a combo box. An entry of value -1 cannot be chosen; without text it is a separator.
  Bool AddChild(LONG id, LONG value, const String& text);
  Bool AddColorField(LONG id, LONG flags, LONG initWidth = 0, LONG initHeight = 0);
  Bool AddUserArea(LONG id, LONG flags, LONG initWidth = 0, LONG initHeight = 0);
  /// Puts an area into its gadget. The area stays the caller's and must outlive the window.
  Bool AttachUserArea(GeUserArea& area, LONG id, LONG flags = USERAREA_0);
  Bool AddSeparatorH(LONG initWidth = 0, LONG flags = BFH_FIT);
  Bool AddSeparatorV(LONG initHeight = 0, LONG flags = BFV_FIT);
  /// The buttons IDC_OK and IDC_CANCEL. In a modal dialog they close it after `Command`.
  Bool AddDlgGroup(LONG buttons);
  /// Builds the gadgets of a description in the resource folder; `resource` null: the plug-in's own.
  Bool LoadDialogResource(LONG id, GeResource* resource = nullptr, LONG flags = 0);

  // Menus. Building starts with `MenuFlushAll` and ends with `MenuFinished`.

  Bool MenuFlushAll();
  Bool MenuSubBegin(const String& title);
  Bool MenuSubEnd();
  Bool MenuAddString(LONG id, const String& title);
  Bool MenuAddSeparator();
  Bool MenuFinished();
  /// Changes an entry.
  Bool MenuInitString(LONG id, Bool enabled, Bool checked);

  // Gadgets. False when the ID is unknown or the gadget does not hold a value of this type.

  Bool Enable(LONG id, Bool enabled);
  Bool HideElement(LONG id, Bool hidden);
  /// Asks the user area or group for its size again and lays out the window.
  Bool LayoutChanged(LONG id);
  /// A number within min to max; on check boxes 0 or 1, on combo boxes the entry's value.
  Bool SetLong(LONG id, LONG value, LONG min = MINLONGl, LONG max = MAXLONGl, LONG step = 1);
  Bool SetReal(LONG id, Real value, Real min = MINREALr, Real max = MAXREALr, Real step = 1.0);
  /// `value` is a fraction; bounds and step are per cent.
  Bool SetPercent(LONG id, Real value, Real min = 0.0, Real max = 100.0, Real step = 1.0);
  Bool SetMeter(LONG id, Real value, Real min = MINREALr, Real max = MAXREALr, Real step = 0.01);
  Bool SetBool(LONG id, Bool value);
  Bool SetString(LONG id, const String& text);
  Bool SetFilename(LONG id, const Filename& name);
  /// `color` 0 to 1 times `brightness`.
  Bool SetColorField(LONG id, const Vector& color, Real brightness = 1.0, Real maxBrightness = 1.0);
  Bool GetLong(LONG id, LONG& value) const;
  Bool GetReal(LONG id, Real& value) const; // a percent field's fraction
  Bool GetBool(LONG id, Bool& value) const;
  Bool GetString(LONG id, String& text) const;
  Bool GetFilename(LONG id, Filename& name) const;
  Bool GetColorField(LONG id, Vector& color, Real& brightness) const;

  // Geometry, while the dialog is open.

  /// The visible part of a scroll group's content, in the content's coordinates.
  Bool GetVisibleArea(LONG id, LONG* left, LONG* top, LONG* right, LONG* bottom) const;
  /// A gadget's place in the window.
  Bool GetItemDim(LONG id, LONG* x, LONG* y, LONG* width, LONG* height) const;
  /// From the window to the screen, in place.
  Bool Local2Screen(LONG* x, LONG* y) const;

 private:
  friend struct host::Access;
  host::DialogState* state_;
};

/// A dialog that holds up the program until it is closed.
class C4D_API GeModalDialog : public GeDialog {
 public:
  GeModalDialog();
  ~GeModalDialog() override;
  /// Returns when it has closed: true when OK did it.
  Bool Open(LONG x = -1, LONG y = -1, LONG width = 0, LONG height = 0);
  Bool Close(Bool ok);
  Bool GetResult() const;

 private:
  Bool result_ = FALSE;
  friend struct host::Access;
};

/// A surface in a dialog that draws itself.
///
/// The layout of the dialog calls `Init`, `GetMinSize`, `Sized`, `InitValues`. `Redraw` asks for `DrawMsg`,
/// which is called later, at most once a frame of the display. Calls that draw do nothing outside `DrawMsg`.
class C4D_API GeUserArea {
 public:
  GeUserArea();
  virtual ~GeUserArea();
  GeUserArea(const GeUserArea&) = delete;
  GeUserArea& operator=(const GeUserArea&) = delete;

  virtual Bool Init();
  virtual Bool InitValues();
  /// `w` and `h` hold the gadget's initial size. False keeps it.
  virtual Bool GetMinSize(LONG& w, LONG& h);
  virtual void Sized(LONG w, LONG h);
  virtual void Draw(LONG x1, LONG y1, LONG x2, LONG y2);
  /// The base calls `Draw`.
  virtual void DrawMsg(LONG x1, LONG y1, LONG x2, LONG y2, const BaseContainer& msg);
  virtual Bool InputEvent(const BaseContainer& msg);
  virtual Bool CoreMessage(LONG id, const BaseContainer& msg);
  virtual void Timer(const BaseContainer& msg);
  virtual LONG Message(const BaseContainer& msg, BaseContainer& result);

  LONG GetId() const;
  LONG GetWidth() const;
  LONG GetHeight() const;
  GeDialog* GetDialog() const;
  void Redraw();
  /// Asks `GetMinSize` again and lays out the window.
  void LayoutChanged();
  void SetTimer(LONG milliseconds); // like GeDialog::SetTimer; goes on while a modal box is open
  /// The area's upper left corner is (0, 0); global is the window's content, screen the display.
  Bool Global2Local(LONG* x, LONG* y) const;
  Bool Local2Global(LONG* x, LONG* y) const;
  Bool Local2Screen(LONG* x, LONG* y) const;
  /// As the function of this name, with positions in global coordinates.
  Bool GetInputState(LONG device, LONG channel, BaseContainer& answer) const;
  /// Sends a message to the dialog that holds the area.
  LONG SendParentMessage(const BaseContainer& msg);

  // In `DrawMsg`.

  /// The drawing appears at once at its end: always so in this host.
  Bool OffScreenOn();
  void DrawSetPen(const Vector& color);
  void DrawLine(LONG x1, LONG y1, LONG x2, LONG y2);
  void DrawRectangle(LONG x1, LONG y1, LONG x2, LONG y2); // filled, inclusive
  /// Draws the part (x, y, width, height) of a bitmap into (wx, wy, ww, wh). `mode`: BMP_....
  void DrawBitmap(const BaseBitmap* bitmap, LONG wx, LONG wy, LONG ww, LONG wh, LONG x, LONG y, LONG width,
                  LONG height, LONG mode);

 private:
  friend struct host::Access;
  host::AreaState* state_;
};
