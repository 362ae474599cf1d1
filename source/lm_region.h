// The render region in the editor view.
#pragma once

#include "c4d.h"

/// The region of a document, normalised: its record (LM_REGION in the document's data container) and the
/// aspect from the viewer's settings.
struct lmRegionInfo {
  Real aspect = 1.333334; // width / height of the box
  Real size = 0.5;        // fraction of the view's limiting dimension
  Real x = 0.0, y = 0.0;  // fractions of the view's width and height
};

/// The region of `doc`; absent values have the defaults above.
lmRegionInfo LoadRegionInfo(BaseDocument* doc);

/// Draws the region's box over the active view, and lets the user drag it by its edges; the document stores
/// it. Acts while the viewer is on, shows the region and is in Region mode. Main thread.
class lmRegionHook : public SceneHookData {
 public:
  /// Null when memory is short.
  static NodeData* Alloc();

  Bool MouseInput(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, EditorWindow* win,
                  const BaseContainer& msg) override;
  Bool GetCursorInfo(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, Real x, Real y,
                     BaseContainer& bc) override;
  Bool Draw(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, BaseDrawHelp* bh, BaseThread* bt,
            SCENEHOOKDRAW flags) override;

  virtual void DrawBox(BaseDraw* bd);
  virtual void GetRegionInfo(BaseDocument* doc);
  /// Computes the box in view pixels, and corrects the hook's x and y to the safe frame; the document keeps
  /// its values.
  virtual void GetRegion(BaseDraw* bd, BaseDocument* doc);
  /// 0 left, 1 right, 2 top, 3 bottom, else -1. An edge is hit along its whole line through the view.
  virtual LONG GetEdge(int x, int y);
  /// 0 top left, 1 top right, 2 bottom left, 3 bottom right, else -1.
  virtual LONG GetCorner(int x, int y);

 private:
  void MoveBox(BaseDocument* doc, BaseDraw* bd, LONG dragW, LONG dragH, Real dx, Real dy);

  LONG left = 0, top = 0, right = 0, bottom = 0; // the box of the last GetRegion, relative to the frame
  Real aspect = 1.333334;
  Real size = 0.5;
  Real x = 0.0, y = 0.0; // loaded, or corrected
  LONG tolerance = 0;    // hit distance of an edge in pixels
};

/// Registers the hook.
Bool RegisterRegionHook();
