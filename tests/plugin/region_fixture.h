// The region hook in a document whose editor view, safe frame and region a test chooses.
#pragma once

#include <deque>
#include <memory>

#include "active_document.h"
#include "lm_keys.h"
#include "lm_region.h"
#include "overlay.h"
#include "plugin_fixture.h"
#include "scene_hooks.h"

/// A box in view pixels.
struct Box {
  LONG left = 0, top = 0, right = 0, bottom = 0;
  friend bool operator==(const Box&, const Box&) = default;
};
std::ostream& operator<<(std::ostream& out, const Box& box);

class RegionFixture : public PluginFixture {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// Makes a view whose frame and safe frame are its whole area.
  void setView(LONG width, LONG height);
  /// Keeps the frame; the safe frame becomes the part that a format covers.
  void setFormat(LONG width, LONG height);
  void setViewAndFormat(LONG width, LONG height);
  void setRegion(Real x, Real y, Real size);
  BaseContainer region() const;
  void store(LONG key, LONG value);
  void store(LONG key, Real value);
  /// Like `store`, but in memory only; for many rounds.
  static void setAspect(Real aspect) { GetWorldPluginData(ID_LUMENARA)->SetReal(LM_ASPECT, aspect); }
  BaseDraw* draw() const { return document->GetActiveBaseDraw(); }

  /// The hook's drawing.
  host::Overlay drawn(LONG flags = SCENEHOOKDRAW_FOREGROUND_PASS);
  /// The white box in the hook's drawing.
  Box drawnBox();
  /// The cursor that the hook asks for at a position; 0 without one.
  LONG cursorAt(Real x, Real y);
  /// Presses a button, then plays the mouse events. True when a hook used the press.
  bool press(Real x, Real y, const std::deque<host::DragEvent>& events, LONG channel = BFM_INPUT_MOUSELEFT);
  static host::DragEvent moveTo(double x, double y);
  static host::DragEvent release(double x, double y);

  BaseDocument* document = nullptr;
  lmRegionHook* hook = nullptr; // a second instance, for direct calls
  std::unique_ptr<NodeData> owned;
  host::SceneHooks hooks;
  int pumped = 0; // events consumed by drags
};
