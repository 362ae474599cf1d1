// The host's state of a user area, from its layout to its painted surface. Main thread.
#pragma once

#include <memory>

#include "c4d_dialog.h"
#include "gadget.h"
#include "lifetime.h"
#include "main_loop.h"
#include "surface.h"
#include "thread_context.h"

namespace host {

struct AreaState {
  explicit AreaState(GeUserArea& owner);
  ~AreaState(); // detaches it from its gadget
  AreaState(const AreaState&) = delete;
  AreaState& operator=(const AreaState&) = delete;

  /// idle: not laid out since the dialog was opened; failed: `Init` returned false; started: `Init` has run;
  /// shown: the area has a size and `InitValues` has run.
  enum class Stage { idle, failed, started, shown };

  GeUserArea& area;
  const PluginUnit* plugin = threadContext().plugin;
  GeDialog* dialog = nullptr; // with `gadget`: both or none
  Gadget* gadget = nullptr;
  Stage stage = Stage::idle;

  LONG width = 0, height = 0;
  LONG minWidth = 0, minHeight = 0;
  bool minKnown = false, askingMin = false, sizeWaits = false;

  Surface surface;
  Vector pen;
  bool drawing = false, redrawWaits = false, painted = false;
  Milliseconds lastPaint = 0;
  TimerId paintTimer = 0;

  LONG timerPeriod = 0;
  TimerId timer = 0;

  TimerId sizedTimer = 0;
  LONG toldWidth = 0, toldHeight = 0; // the size of the last BFM_SIZED, at first that of the opening

  // The size of the bitmap that a viewer renders into: it follows the area's size when both sides differ.
  LONG renderedWidth = 0, renderedHeight = 0;
  unsigned long long rendersSeen = 0;
  bool rendered = false; // false: the size is that of the opening
  Lifetime<AreaState> lifetime{*this};
};

/// Minimum interval between two repaints of an area, in milliseconds.
inline constexpr Milliseconds frameTime = 16;
/// BFM_SIZED is sent when the size has not changed for this many milliseconds.
inline constexpr Milliseconds sizedDelay = 150;

/// Whether the dialog is open and `Init` has succeeded.
bool isLive(const AreaState& state) noexcept;
/// Calls `Init`, once per opening of the dialog.
void startArea(AreaState& state);
/// Stops timers and pending redraws, as the window closes.
void stopArea(AreaState& state);
/// Detaches the area from its gadget.
void detachArea(AreaState& state);
/// Attaches the area to a gadget of kind userArea; an area that was attached there is detached.
void attachArea(AreaState& state, GeDialog& dialog, Gadget& gadget);

/// Calls `GetMinSize`; does nothing during such a call.
void askMinSize(AreaState& state);
/// Calls `GetMinSize` again and lays the window out: the view does so, or, without a view, the area soon gets
/// its minimum size.
void relayoutArea(AreaState& state);
/// Schedules a repaint.
void requestPaint(AreaState& state);
void paintNow(AreaState& state);
/// Sets the timer; 0 stops it. It runs while the area is live.
void setAreaTimer(AreaState& state, LONG milliseconds);

} // namespace host
