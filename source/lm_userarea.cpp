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

/// A row of pixels, a word each. The bytes of a word are alpha, red, green and blue in memory.
using PixelRow = std::vector<ULONG>;

constexpr LONG PIXEL_BYTES = sizeof(ULONG);

/// Reads a row from (x, y); pixels outside are black.
void ReadRow(const BaseBitmap& from, LONG x, LONG y, PixelRow& row) {
  from.GetPixelCnt(x, y, static_cast<LONG>(row.size()), reinterpret_cast<UCHAR*>(row.data()), PIXEL_BYTES,
                   COLORMODE_ARGB);
}

/// Writes the colours of a row, which may leave the target; the alpha channel stays.
void WriteRow(BaseBitmap& to, LONG x, LONG y, const PixelRow& row) {
  const auto* colors = reinterpret_cast<const UCHAR*>(row.data()) + 1;
  to.SetPixelCnt(x, y, static_cast<LONG>(row.size()), colors, PIXEL_BYTES, COLORMODE_RGB);
}

/// Calls `mix(a, b, count, y)` for the words of every row, which changes `a`, and writes `a` into the
/// target's upper left part.
template <class Mix>
void MixRows(const BaseBitmap& a, const BaseBitmap& b, BaseBitmap& target, LONG w, LONG h, Mix mix) {
  PixelRow rowA(static_cast<std::size_t>(w)), rowB(rowA.size());
  for (LONG y = 0; y < h; ++y) {
    ReadRow(a, 0, y, rowA);
    ReadRow(b, 0, y, rowB);
    mix(rowA.data(), rowB.data(), rowA.size(), y);
    WriteRow(target, 0, y, rowA);
  }
}

/// The same with `mix(a, b)` of every channel value.
template <class Mix>
void MixBytes(const BaseBitmap& a, const BaseBitmap& b, BaseBitmap& target, LONG w, LONG h, Mix mix) {
  MixRows(a, b, target, w, h, [mix](ULONG* rowA, const ULONG* rowB, std::size_t count, LONG) {
    auto* to = reinterpret_cast<UCHAR*>(rowA);
    const auto* from = reinterpret_cast<const UCHAR*>(rowB);
    const std::size_t bytes = count * PIXEL_BYTES;
    std::size_t i = 0;
    // Blocks of a fixed size, in arrays that cannot overlap, become vector instructions.
    constexpr std::size_t BLOCK = 32;
    for (UCHAR blockTo[BLOCK], blockFrom[BLOCK]; i + BLOCK <= bytes; i += BLOCK) {
      std::copy_n(to + i, BLOCK, blockTo);
      std::copy_n(from + i, BLOCK, blockFrom);
      for (std::size_t k = 0; k < BLOCK; ++k)
        blockTo[k] = static_cast<UCHAR>(mix(blockTo[k], blockFrom[k]));
      std::copy_n(blockTo, BLOCK, to + i);
    }
    for (; i < bytes; ++i)
      to[i] = static_cast<UCHAR>(mix(to[i], from[i]));
  });
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
  const BaseBitmap* const a = PrepareSlot(imageA, *workA);
  const BaseBitmap* const b = PrepareSlot(imageB, *workB);
  if (!a || !b) return;

  if ((style >= COMPARE_COLUMNS && style <= COMPARE_BLEND) || style == COMPARE_DIFFERENCE) composed = 1;
  switch (style) {
  case COMPARE_COLUMNS: {
    const auto split =
        static_cast<std::size_t>(std::clamp<Real>(std::floor(width * 0.5 * (slider + 1)), 0, width));
    MixRows(*a, *b, *display, width, height,
            [split](ULONG* rowA, const ULONG* rowB, std::size_t, LONG) { std::copy_n(rowB, split, rowA); });
    break;
  }
  case COMPARE_ROWS: {
    const Real split = std::floor(height * 0.5 * (slider + 1));
    MixRows(*a, *b, *display, width, height,
            [split](ULONG* rowA, const ULONG* rowB, std::size_t count, LONG y) {
              if (y < split) std::copy_n(rowB, count, rowA);
            });
    break;
  }
  case COMPARE_BLEND: {
    const Real t = (slider + 1) / 2;
    const auto blend = [t](LONG from, LONG to) {
      return static_cast<LONG>((to - from) * t + from);
    }; // rounds down
    if (t >= 0 && t <= 1)
      MixBytes(*a, *b, *display, width, height, blend);
    else
      MixBytes(*a, *b, *display, width, height,
               [blend](LONG from, LONG to) { return std::clamp(blend(from, to), 0, 255); });
    break;
  }
  case COMPARE_DIFFERENCE:
    MixBytes(*a, *b, *display, width, height, [](LONG from, LONG to) { return std::abs(from - to); });
    ShowBitmap(display);
    break;
  default:
    break;
  }
}

// A slot's picture in the view's size: the slot itself where it has that size, else a copy in `work`. Null:
// out of memory.
const BaseBitmap* lmUserArea::PrepareSlot(const BaseBitmap* slot, BaseBitmap& work) const {
  const Bool scale = settings->GetValue(LM_COMPARE_SCALE, 1) != 0;
  if (slot && scale && slot->GetBw() == width && slot->GetBh() == height) return slot;
  if (work.Init(width, height, 24) != IMAGERESULT_OK) return nullptr; // black
  if (slot) CopySlot(*slot, scale, work);
  return &work;
}

void lmUserArea::CopySlot(const BaseBitmap& slot, Bool scale, BaseBitmap& work) const {
  const LONG w = slot.GetBw(), h = slot.GetBh();
  if (scale) {
    slot.ScaleIt(&work, 256, TRUE, FALSE);
  } else if (settings->GetValue(LM_COMPARE_CENTER, 1)) {
    // A larger picture is cropped on both sides. The row bound is inclusive, the column bound is not.
    const LONG left = (width - w) / 2, top = (height - h) / 2;
    const LONG first = std::max(0, left), end = std::min(width, width - left);
    PixelRow row(static_cast<std::size_t>(std::max(0, end - first)));
    for (LONG y = std::max(0, top); y <= height - top && y < height; ++y) {
      ReadRow(slot, first - left, y - top, row);
      WriteRow(work, first, y, row);
    }
  } else {
    // Reads one row and one column outside of the picture, too.
    PixelRow row(static_cast<std::size_t>(std::max(0, std::min(width, w + 1))));
    for (LONG y = 0; y < height && y <= h; ++y) {
      ReadRow(slot, 0, y, row);
      WriteRow(work, 0, y, row);
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
