#include "lm_userarea.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "lm_folder.h"
#include "lm_keys.h"
#include "lm_stamps.h"
#include "lm_thread.h"

namespace {

constexpr LONG STRIP_FRAME_HEIGHT = 35;
constexpr LONG TIMER_INTERVAL = 100;

/// Whether `time` is not earlier than `other`; both wrap around.
Bool IsNotEarlier(LONG time, LONG other) {
  return static_cast<LONG>(static_cast<ULONG>(time) - static_cast<ULONG>(other)) >= 0;
}

inline void CopyPixel(const BaseBitmap& from, LONG fromX, LONG fromY, BaseBitmap& to, LONG x, LONG y) {
  UWORD r, g, b;
  from.GetPixel(fromX, fromY, &r, &g, &b);
  to.SetPixel(x, y, r, g, b);
}

/// Writes `mix(a, b)` of every channel value into the target's upper left part.
template <class Mix>
void MixPixels(const BaseBitmap& a, const BaseBitmap& b, BaseBitmap& target, LONG w, LONG h, Mix mix) {
  UWORD aR, aG, aB, bR, bG, bB;
  for (LONG y = 0; y < h; ++y) {
    for (LONG x = 0; x < w; ++x) {
      a.GetPixel(x, y, &aR, &aG, &aB);
      b.GetPixel(x, y, &bR, &bG, &bB);
      target.SetPixel(x, y, mix(aR, bR), mix(aG, bG), mix(aB, bB));
    }
  }
}

} // namespace

lmUserArea::lmUserArea(GeDialog* owner, lmSettings* store) : dialog(owner), settings(store) {
  dataFolder = GetDataFolder();
  historyFolder = dataFolder + "history";
  for (const Filename& folder : {dataFolder, historyFolder}) {
    if (!GeFExist(folder, TRUE)) GeFCreateDirRec(folder);
  }
}

Bool lmUserArea::InitValues() {
  const Filename pictures = GeGetPluginPath() + "res" + "gui";
  if (splash) splash->Init(pictures + "splash.tif");
  if (strip) strip->Init(pictures + "progress.tif");
  stripFrames = strip && strip->GetBw() ? strip->GetBh() / STRIP_FRAME_HEIGHT : 0;

  composed = 0;
  SetTimer(TIMER_INTERVAL);
  Redraw();
  LayoutChanged();
  if (settings->GetValue(LM_HISTORY_AUTOLOAD, 0)) AutoloadRecent();
  return TRUE;
}

Bool lmUserArea::GetMinSize(LONG& w, LONG& h) {
  if (!enabled) {
    w = splash ? splash->GetBw() : 120;
    h = splash ? splash->GetBh() : 90;
    return TRUE;
  }

  switch (settings->GetValue(LM_VIEW_SIZE, 1)) {
  case 0: {
    LONG left = 0, top = 0, right = w, bottom = h;
    dialog->GetVisibleArea(GADGET_IMAGE_GROUP, &left, &top, &right, &bottom);
    w = right - left;
    h = bottom - top;
    break;
  }
  case 1:
    w = settings->GetValue(LM_MIN_WIDTH, 320);
    h = settings->GetValue(LM_MIN_HEIGHT, 240);
    break;
  case 2:
    w = 320;
    h = 240;
    break;
  case 3:
    w = 400;
    h = 300;
    break;
  case 4:
    w = 640;
    h = 480;
    break;
  case 5:
    w = 800;
    h = 600;
    break;
  case 6:
    w = 1024;
    h = 768;
    break;
  default:
    break;
  }
  width = w;
  height = h;
  return TRUE;
}

void lmUserArea::Sized(LONG w, LONG h) {
  width = w;
  height = h;
  if (display) {
    display->FlushAll();
    display->Init(w, h, 32); // black
  }
  if (!enabled) return;

  settings->SetValue(LM_ASPECT, static_cast<Real>(w) / h);
  settings->Save();
  DrawViews(DRAWFLAGS_ALL_VIEWS_SOON);
}

void lmUserArea::DrawMsg(LONG, LONG, LONG, LONG, const BaseContainer&) {
  OffScreenOn();
  if (!enabled) {
    if (!splash) return;
    const LONG w = splash->GetBw(), h = splash->GetBh();
    DrawBitmap(splash, (GetWidth() - w) / 2, (GetHeight() - h) / 2, w, h, 0, 0, w, h,
               BMP_NORMALSCALED | BMP_ALLOWALPHA);
    return;
  }
  if (!display) return;

  const LONG mode = settings->GetValue(LM_MODE, LM_MODE_NORMAL);
  if (mode == LM_MODE_COMPARE) {
    DrawCompare();
  } else if (!data.stampsPending) {
    DrawRender(mode);
  }
  DrawBitmap(display, 0, 0, width, height, 0, 0, display->GetBw(), display->GetBh(), BMP_NORMAL);
}

void lmUserArea::DrawCompare() {
  if (!lastCompose) display->Clear(0, 0, 0);

  const LONG now = GeGetTimer();
  if (lastCompose && !IsNotEarlier(now, lastCompose)) return;
  if (imageA && imageA->GetBw() > 0 && imageB && imageB->GetBw() > 0) {
    Real slider = 0.0;
    dialog->GetReal(GADGET_SLIDER, slider);
    HistoryPrepare(slider, settings->GetValue(LM_COMPARE_STYLE, COMPARE_BLEND));
  }
  lastCompose = now;
}

// Whether the image holds a render. Until a job has begun, the image holds the previous render, unless it was
// re-created for the job; a starting job with a new image has nothing to compose.
Bool lmUserArea::HasRender() const {
  if (!image || image->GetBw() < 1) return FALSE;
  return !job || job->begun || (!imageIsNew && !job->IsRunning());
}

// The rendering flag is read once, before the picture: a picture shown as finished was finished then.
void lmUserArea::DrawRender(LONG mode) {
  if (!HasRender()) return;
  const Bool rendering = data.rendering;

  if (mode == LM_MODE_REGION) {
    AutoAlloc<BaseBitmap> part(
        image->GetClonePart(regionLeft, regionTop, regionRight - regionLeft, regionBottom - regionTop));
    if (part) {
      part->ScaleIt(display, 256, FALSE, FALSE);
      composed = 1;
    }
  } else {
    image->ScaleIt(display, 256, FALSE, FALSE);
    composed = 1;
  }

  if (rendering) {
    if (mode != LM_MODE_REGION && settings->GetValue(LM_PROGRESS_BAR, 0)) DrawProgressBar();
    if (stripFrames > 0 && settings->GetValue(LM_PROGRESS_STRIP, 0)) DrawProgressStrip();
    return;
  }
  stripCounter = 0;

  if (data.result == RENDERRESULT_OK) {
    data.stampsPending = 1;
    if (data.rendering) { // a job has begun: its picture is composed at its end
      data.stampsPending = 0;
      return;
    }
    DrawStamps(display, settings, width, height, &data);
  }
  if (data.stampsPending) {
    data.progress = 2.0; // the finished picture has been shown
    if (!settings->GetValue(LM_HISTORY_ADD, 0)) AddToHistory();
  }
}

void lmUserArea::DrawProgressBar() {
  const Real progress = std::clamp<Real>(data.progress, 0.0, 1.0);
  const LONG length = static_cast<LONG>(std::floor(display->GetBw() * progress));
  const LONG bottom = display->GetBh();
  for (LONG y = bottom - 10; y <= bottom - 2; ++y) {
    for (LONG x = 1; x <= length - 2; ++x)
      display->SetPixel(x, y, 140, 147, 157);
  }
}

void lmUserArea::DrawProgressStrip() {
  const LONG frame = ++stripCounter % stripFrames;
  const LONG columns = std::min(strip->GetBw(), display->GetBw());
  const LONG rows = std::min(STRIP_FRAME_HEIGHT, display->GetBh());
  const LONG first = frame * STRIP_FRAME_HEIGHT;

  for (LONG y = 0; y < rows; ++y) {
    for (LONG x = 0; x < columns; ++x) {
      LONG r, g, b, a;
      strip->GetPixelRGBA(x, first + y, &r, &g, &b, &a);
      UWORD oldR, oldG, oldB;
      display->GetPixel(x, y, &oldR, &oldG, &oldB);
      // floor((strip - display) * a / 255 + display); never negative
      const auto blend = [a](LONG top, LONG bottom) { return ((top - bottom) * a + bottom * 255) / 255; };
      display->SetPixel(x, y, blend(r, oldR), blend(g, oldG), blend(b, oldB));
    }
  }
}

// ---- Compare

void lmUserArea::HistoryPrepare(Real slider, LONG style) {
  AutoAlloc<BaseBitmap> workA, workB;
  if (!workA || !workB || !display) return;
  if (workA->Init(width, height, 24) != IMAGERESULT_OK) return; // black
  if (workB->Init(width, height, 24) != IMAGERESULT_OK) return;
  if (imageA) PrepareSlot(*imageA, *workA);
  if (imageB) PrepareSlot(*imageB, *workB);

  if ((style >= COMPARE_COLUMNS && style <= COMPARE_BLEND) || style == COMPARE_DIFFERENCE) composed = 1;
  switch (style) {
  case COMPARE_COLUMNS: {
    const Real split = std::floor(width * 0.5 * (slider + 1));
    for (LONG y = 0; y < height; ++y) {
      for (LONG x = 0; x < width; ++x)
        CopyPixel(x < split ? *workB : *workA, x, y, *display, x, y);
    }
    break;
  }
  case COMPARE_ROWS: {
    const Real split = std::floor(height * 0.5 * (slider + 1));
    for (LONG y = 0; y < height; ++y) {
      const BaseBitmap& source = y < split ? *workB : *workA;
      for (LONG x = 0; x < width; ++x)
        CopyPixel(source, x, y, *display, x, y);
    }
    break;
  }
  case COMPARE_BLEND: {
    // floor((B - A) * t + A) of every pair of channel values
    const Real t = (slider + 1) / 2;
    std::vector<UCHAR> table(256 * 256);
    for (LONG a = 0; a < 256; ++a) {
      for (LONG b = 0; b < 256; ++b)
        table[static_cast<std::size_t>(a * 256 + b)] =
            static_cast<UCHAR>(std::clamp((b - a) * t + a, 0.0, 255.0)); // the conversion rounds down
    }
    MixPixels(*workA, *workB, *display, width, height,
              [values = table.data()](UWORD a, UWORD b) { return values[a * 256 + b]; });
    break;
  }
  case COMPARE_DIFFERENCE:
    MixPixels(*workA, *workB, *display, width, height, [](UWORD a, UWORD b) { return std::abs(a - b); });
    ShowBitmap(display);
    break;
  default:
    break;
  }
}

// Copies a slot into a work bitmap of the view's size.
void lmUserArea::PrepareSlot(const BaseBitmap& slot, BaseBitmap& work) const {
  const LONG w = slot.GetBw(), h = slot.GetBh();
  if (settings->GetValue(LM_COMPARE_SCALE, 1)) {
    slot.ScaleIt(&work, 256, TRUE, FALSE);
  } else if (settings->GetValue(LM_COMPARE_CENTER, 1)) {
    // A larger picture is cropped on both sides. The row bound is inclusive, the column bound is not.
    const LONG left = (width - w) / 2, top = (height - h) / 2;
    for (LONG y = top, fromY = 0; y <= height - top; ++y, ++fromY) {
      if (y < 0 || y >= height) continue;
      for (LONG x = left, fromX = 0; x < width - left; ++x, ++fromX) {
        if (x >= 0 && x < width) CopyPixel(slot, fromX, fromY, work, x, y);
      }
    }
  } else {
    // Reads one row and one column outside of the picture, too.
    for (LONG y = 0; y < height && y <= h; ++y) {
      for (LONG x = 0; x < width && x <= w; ++x)
        CopyPixel(slot, x, y, work, x, y);
    }
  }
}

void lmUserArea::Timer(const BaseContainer&) {
  if (settings->GetValue(LM_MODE, LM_MODE_NORMAL) == LM_MODE_COMPARE) return;
  if (enabled) Redraw();
  if (settings->GetValue(LM_VIEW_SIZE, 1) != 0) return;

  LONG left = 0, top = 0, right = 0, bottom = 0;
  if (!dialog->GetVisibleArea(GADGET_IMAGE_GROUP, &left, &top, &right, &bottom)) return;
  if (width != right - left || height != bottom - top) LayoutChanged();
}

void lmUserArea::SaveToPictureViewer() {
  if (display && display->GetBw() >= 1) ShowBitmap(display);
}
