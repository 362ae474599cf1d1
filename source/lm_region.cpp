#include "lm_region.h"

#include <cmath>
#include <new>

#include "dlg_lumenara.h"
#include "lm_keys.h"

namespace {

constexpr Real ASPECT = 1.333334;
constexpr LONG TOLERANCE = 3;
constexpr LONG CORNER = 8; // inward reach of a corner

/// The integer part of a number, limited so that sums of pixels do not overflow: records can be damaged, and
/// views can be empty.
LONG ToPixels(Real value) {
  constexpr Real LIMIT = 1.0e9;
  if (!(value > -LIMIT)) return std::isnan(value) ? 0 : static_cast<LONG>(-LIMIT);
  return static_cast<LONG>(value < LIMIT ? value : LIMIT);
}

LONG Floor(Real value) {
  return ToPixels(std::floor(value));
}

/// The settings if the hook acts on this view, else null.
const BaseContainer* GetActingSettings(BaseDocument* doc, BaseDraw* bd) {
  const BaseContainer* settings = GetWorldPluginData(ID_LUMENARA);
  if (!settings || !doc || !bd) return nullptr;
  if (settings->GetLong(LM_MODE, LM_MODE_NORMAL) != LM_MODE_REGION) return nullptr;
  if (!settings->GetBool(LM_ENABLED) || !settings->GetBool(LM_REGION_SHOWN)) return nullptr;
  return bd == doc->GetActiveBaseDraw() ? settings : nullptr;
}

Bool IsLocked(const BaseContainer& settings) {
  return settings.GetBool(LM_LOCK, FALSE);
}

/// A rectangle of lines: left, right, top, bottom.
void DrawRectangle2D(BaseDraw* bd, Real left, Real top, Real right, Real bottom) {
  bd->DrawLine2D(Vector(left, top, 0), Vector(left, bottom, 0));
  bd->DrawLine2D(Vector(right, top, 0), Vector(right, bottom, 0));
  bd->DrawLine2D(Vector(left, top, 0), Vector(right, top, 0));
  bd->DrawLine2D(Vector(left, bottom, 0), Vector(right, bottom, 0));
}

void DrawCorners2D(BaseDraw* bd, Real left, Real top, Real right, Real bottom) {
  bd->DrawPoint2D(Vector(left, top, 0));
  bd->DrawPoint2D(Vector(right, top, 0));
  bd->DrawPoint2D(Vector(left, bottom, 0));
  bd->DrawPoint2D(Vector(right, bottom, 0));
}

} // namespace

lmRegionInfo LoadRegionInfo(BaseDocument* doc) {
  lmRegionInfo info;
  const BaseContainer region = doc->GetData().GetContainer(LM_REGION);
  info.size = region.GetReal(LM_REGION_SIZE, 0.5);
  info.x = region.GetReal(LM_REGION_X, 0.0);
  info.y = region.GetReal(LM_REGION_Y, 0.0);
  const BaseContainer* settings = GetWorldPluginData(ID_LUMENARA);
  info.aspect = settings ? settings->GetReal(LM_ASPECT, ASPECT) : ASPECT;
  return info;
}

// ---- The hook

NodeData* lmRegionHook::Alloc() {
  auto* hook = new (std::nothrow) lmRegionHook;
  if (!hook) return nullptr;
  hook->tolerance = TOLERANCE;
  if (BaseDocument* doc = GetActiveDocument()) hook->lmRegionHook::GetRegionInfo(doc);
  return hook;
}

Bool lmRegionHook::Draw(BaseSceneHook* /*node*/, BaseDocument* doc, BaseDraw* bd, BaseDrawHelp* /*bh*/,
                        BaseThread* /*bt*/, SCENEHOOKDRAW flags) {
  if (!GetActingSettings(doc, bd)) return TRUE;
  if (!(flags & SCENEHOOKDRAW_FOREGROUND_PASS)) return TRUE;
  GetRegion(bd, doc);
  DrawBox(bd);
  return TRUE;
}

void lmRegionHook::DrawBox(BaseDraw* bd) {
  const Vector black(0, 0, 0), white(1, 1, 1);
  bd->SetMatrix_Screen(0);

  bd->SetPen(black);
  DrawRectangle2D(bd, left + 1, top + 1, right - 1, bottom - 1);
  bd->SetPen(white);
  DrawRectangle2D(bd, left, top, right, bottom);
  bd->SetPen(black);
  DrawRectangle2D(bd, left - 1, top - 1, right + 1, bottom + 1);

  bd->SetPen(black);
  DrawCorners2D(bd, left - 1, top - 1, right + 1, bottom + 1);
  bd->SetPen(white);
  DrawCorners2D(bd, left, top, right, bottom);
  bd->SetPen(black);
  DrawCorners2D(bd, left + 1, top + 1, right - 1, bottom - 1);
}

void lmRegionHook::GetRegionInfo(BaseDocument* doc) {
  const lmRegionInfo info = LoadRegionInfo(doc);
  size = info.size;
  x = info.x;
  y = info.y;
  aspect = info.aspect;
}

void lmRegionHook::GetRegion(BaseDraw* bd, BaseDocument* doc) {
  LONG frameLeft = 0, frameTop = 0, frameRight = 0, frameBottom = 0;
  bd->GetFrame(&frameLeft, &frameTop, &frameRight, &frameBottom);
  const LONG w = frameRight - frameLeft;
  const LONG h = frameBottom - frameTop;
  GetRegionInfo(doc);

  // The size is a fraction of the height in a wide view, of the width in a tall one.
  const Real viewAspect = static_cast<Real>(w) / h;
  LONG boxW = 0, boxH = 0;
  if (viewAspect > aspect) {
    boxH = Floor(h * size);
    boxW = Floor(boxH * aspect);
  } else if (viewAspect == aspect) {
    boxW = Floor(w * size);
    boxH = Floor(h * size);
  } else {
    boxW = Floor(w * size);
    boxH = Floor(boxW / aspect);
  }
  left = Floor(w * x);
  top = Floor(h * y);
  right = left + boxW;
  bottom = top + boxH;

  LONG from = 0, to = 0, orientation = 0;
  bd->GetSafeFrame(&from, &to, &orientation);
  LONG minX = 0, minY = 0, maxX = 0, maxY = 0;
  if (orientation == 1) {
    minX = from, minY = 2, maxX = to, maxY = h;
  } else if (orientation == 2) {
    minX = 1, minY = from, maxX = w, maxY = to;
  } else if (orientation == 0) {
    minX = 1, minY = 2, maxX = w, maxY = h;
  }

  // The box moves and keeps its size. Later tests win.
  if (minX > left) {
    left = minX;
    right = left + boxW;
  }
  if (minY > top) {
    top = minY;
    bottom = top + boxH;
  }
  if (maxX <= right) {
    right = maxX;
    left = right - boxW;
  }
  if (maxY <= bottom) {
    bottom = maxY;
    top = bottom - boxH;
  }
  x = static_cast<Real>(left) / w;
  y = static_cast<Real>(top) / h;
}

LONG lmRegionHook::GetEdge(int px, int py) {
  if (left - tolerance < px && px < left + tolerance) return 0;
  if (right - tolerance < px && px < right + tolerance) return 1;
  if (top - tolerance < py && py < top + tolerance) return 2;
  if (bottom - tolerance < py && py < bottom + tolerance) return 3;
  return -1;
}

LONG lmRegionHook::GetCorner(int px, int py) {
  if (GetEdge(px, py) == -1) return -1;
  const Bool atLeft = left - tolerance < px && px < left + CORNER;
  const Bool atRight = right - CORNER < px && px < right + tolerance;
  const Bool atTop = top - tolerance < py && py < top + CORNER;
  const Bool atBottom = bottom - CORNER < py && py < bottom + tolerance;
  if (atLeft && atTop) return 0;
  if (atRight && atTop) return 1;
  if (atLeft && atBottom) return 2;
  if (atRight && atBottom) return 3;
  return -1;
}

Bool lmRegionHook::GetCursorInfo(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, Real px, Real py,
                                 BaseContainer& bc) {
  const BaseContainer* settings = GetActingSettings(doc, bd);
  if (settings && !IsLocked(*settings)) {
    GetRegion(bd, doc);
    if (GetEdge(ToPixels(px), ToPixels(py)) != -1) bc.SetLong(RESULT_CURSOR, MOUSE_MOVE);
  }
  return SceneHookData::GetCursorInfo(node, doc, bd, px, py, bc);
}

Bool lmRegionHook::MouseInput(BaseSceneHook* node, BaseDocument* doc, BaseDraw* bd, EditorWindow* win,
                              const BaseContainer& msg) {
  const BaseContainer* settings = GetActingSettings(doc, bd);
  if (settings && !IsLocked(*settings)) {
    const Real mx = msg.GetReal(BFM_INPUT_X);
    const Real my = msg.GetReal(BFM_INPUT_Y);
    LONG frameLeft = 0, frameTop = 0, frameRight = 0, frameBottom = 0;
    bd->GetFrame(&frameLeft, &frameTop, &frameRight, &frameBottom);
    const LONG dragW = frameRight - frameLeft - 1;
    const LONG dragH = frameBottom - frameTop - 1;
    const LONG channel = msg.GetLong(BFM_INPUT_CHANNEL);
    if (channel == BFM_INPUT_MOUSELEFT && GetEdge(ToPixels(mx), ToPixels(my)) != -1) {
      win->MouseDragStart(KEY_MLEFT, mx, my, MOUSEDRAGFLAGS_0);
      Real dx = 0, dy = 0;
      BaseContainer channels;
      while (win->MouseDrag(&dx, &dy, &channels) == MOUSEDRAGRESULT_CONTINUE) {
        if (dx == 0 && dy == 0) continue;
        MoveBox(doc, bd, dragW, dragH, dx, dy);
      }
      win->MouseDragEnd();
      DrawViews(DRAWFLAGS_ACTIVE_VIEW_NOW);
      doc->SetChanged();
      if (settings->GetBool(LM_AUTO_REFRESH, FALSE)) SpecialEventAdd(ID_LUMENARA_REGION_CHANGED);
    }
  }
  return SceneHookData::MouseInput(node, doc, bd, win, msg);
}

/// One step of a drag. Replaces the record, so a camera link in it is lost.
void lmRegionHook::MoveBox(BaseDocument* doc, BaseDraw* bd, LONG dragW, LONG dragH, Real dx, Real dy) {
  x = (dragW * x + dx) / dragW;
  y = (dragH * y + dy) / dragH;
  BaseContainer region;
  region.SetReal(LM_REGION_X, x);
  region.SetReal(LM_REGION_Y, y);
  region.SetReal(LM_REGION_SIZE, size);
  doc->GetDataInstance()->SetContainer(LM_REGION, region);
  GetRegion(bd, doc);
  DrawViews(DRAWFLAGS_ACTIVE_VIEW_NOW);
}

Bool RegisterRegionHook() {
  return RegisterSceneHookPlugin(ID_LUMENARA_REGION, "Lumenara", 1, lmRegionHook::Alloc, 1000, 0);
}

// ---- The viewer's side

void DlgLumenara::GetRegionInfo(BaseDocument* doc) {
  const lmRegionInfo info = LoadRegionInfo(doc);
  aspect = info.aspect;
  size = info.size;
  x = info.x;
  y = info.y;
}

void DlgLumenara::GetRegion(BaseDraw* bd, BaseDocument* doc, LONG* width, LONG* height) {
  LONG frameLeft = 0, frameTop = 0, frameRight = 0, frameBottom = 0;
  bd->GetFrame(&frameLeft, &frameTop, &frameRight, &frameBottom);
  LONG w = frameRight - frameLeft;
  LONG h = frameBottom - frameTop;
  LONG from = 0, to = 0, orientation = 0;
  bd->GetSafeFrame(&from, &to, &orientation);
  // The safe frame's border is subtracted only once.
  if (orientation == 1) w -= from;
  if (orientation == 2) h -= from;
  GetRegionInfo(doc);

  const Real viewAspect = static_cast<Real>(w) / h;
  LONG r = settings.GetValue(LM_OPT_RES_DIVISOR, static_cast<LONG>(1));
  if (r < 1) r = 1; // a damaged setting must not divide by zero
  LONG boxW = 0, boxH = 0;
  if (viewAspect > aspect) {
    *height = ToPixels((regionHeight / r) / size);
    *width = Floor(*height * viewAspect);
    boxH = Floor(*height * size);
    boxW = Floor(boxH * aspect);
  } else {
    *width = ToPixels((regionWidth / r) / size);
    *height = Floor(*width / viewAspect);
    boxW = Floor(*width * size);
    boxH = Floor(boxW / aspect);
  }

  x1 = Floor(*width * x);
  y1 = Floor(*height * y);
  if (orientation == 1) x1 -= from;
  if (orientation == 2) y1 -= from;
  if (x1 < 0) x1 = 0;
  if (y1 < 0) y1 = 0;
  x2 = x1 + boxW - 1;
  y2 = y1 + boxH - 1;
  if (x2 >= *width - 1) {
    x1 = (*width - 1) - (boxW - 1);
    x2 = *width - 1;
  }
  if (y2 >= *height - 1) {
    y1 = (*height - 1) - (boxH - 1);
    y2 = *height - 1;
  }
}
