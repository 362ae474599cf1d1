// A document whose editor view, safe frame and region a test chooses, and the region hook in it.
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

  /// A view whose frame is all of its area, and safe.
  void setView(LONG width, LONG height);
  /// Keeps the frame; its safe frame is the part that a format covers.
  void setFormat(LONG width, LONG height);
  void setViewAndFormat(LONG width, LONG height);
  void setRegion(Real x, Real y, Real size);
  BaseContainer region() const;
  void store(LONG key, LONG value);
  void store(LONG key, Real value);
  /// As `store`, but not onto the disk; for many rounds.
  static void setAspect(Real aspect) { GetWorldPluginData(ID_LUMENARA)->SetReal(LM_ASPECT, aspect); }
  BaseDraw* draw() const { return document->GetActiveBaseDraw(); }

  /// What the hook draws.
  host::Overlay drawn(LONG flags = SCENEHOOKDRAW_FOREGROUND_PASS);
  /// The white box that it draws.
  Box drawnBox();
  /// The pointer that it asks for at a place; 0 for none.
  LONG cursorAt(Real x, Real y);
  /// A press of a button, and what the mouse does afterwards.
  bool press(Real x, Real y, const std::deque<host::DragEvent>& events, LONG channel = BFM_INPUT_MOUSELEFT);
  static host::DragEvent moveTo(double x, double y);
  static host::DragEvent release(double x, double y);

  BaseDocument* document = nullptr;
  lmRegionHook* hook = nullptr; // the same as the document's, for its functions
  std::unique_ptr<NodeData> owned;
  host::SceneHooks hooks;
  int pumped = 0; // events that a drag took
};
