// What the host knows of a user area, and its course from a layout to a painted surface. Main thread.
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
  ~AreaState(); // leaves its gadget
  AreaState(const AreaState&) = delete;
  AreaState& operator=(const AreaState&) = delete;

  /// idle: not laid out since the dialog was opened; failed: `Init` refused; started: `Init` has run;
  /// shown: it has a size and `InitValues` has run.
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
  LONG toldWidth = 0, toldHeight = 0; // the size that BFM_SIZED told last, or that of the opening

  // The size of the bitmap that a viewer renders into: it follows the area's size when both sides differ.
  LONG renderedWidth = 0, renderedHeight = 0;
  unsigned long long rendersSeen = 0;
  bool rendered = false; // else the size is that of the opening
  Lifetime<AreaState> lifetime{*this};
};

/// An area is repainted at most once in this many milliseconds.
inline constexpr Milliseconds frameTime = 16;
/// BFM_SIZED comes when a size has stood this long.
inline constexpr Milliseconds sizedDelay = 150;

/// Whether its dialog is open and `Init` has run well.
bool isLive(const AreaState& state) noexcept;
/// `Init`, once an opening.
void startArea(AreaState& state);
/// The window closes: timers and waiting redraws go.
void stopArea(AreaState& state);
/// Takes it out of its gadget.
void detachArea(AreaState& state);
/// Puts it into a gadget of kind userArea; whatever was there before leaves.
void attachArea(AreaState& state, GeDialog& dialog, Gadget& gadget);

/// Asks `GetMinSize`. Within `GetMinSize` it does nothing.
void askMinSize(AreaState& state);
/// Asks for the size anew and has the window laid out: by the view, or, without one, the area gets its
/// minimum size soon.
void relayoutArea(AreaState& state);
/// Has it painted soon.
void requestPaint(AreaState& state);
void paintNow(AreaState& state);
/// Sets or stops the timer; 0 stops. It runs while the area is live.
void setAreaTimer(AreaState& state, LONG milliseconds);

} // namespace host
