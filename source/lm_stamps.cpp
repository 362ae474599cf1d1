#include "lm_stamps.h"

#include <algorithm>
#include <cmath>

#include "lm_keys.h"
#include "lm_numbers.h"

namespace {

enum Horizontal : LONG { LEFT = 0, CENTRE = 1, RIGHT = 2 };
enum Vertical : LONG { TOP = 0, MIDDLE = 1, BOTTOM = 2 };

constexpr LONG MARGIN = 4;

/// The extent taken in each of the nine anchor cells.
struct AnchorStack {
  LONG taken[9] = {};
};

struct Painter {
  GeClipMap& map;
  lmSettings* settings;
  LONG width, height;
  LONG textHeight;
  AnchorStack stack;
};

LONG HorizontalPlace(LONG code, LONG width, LONG itemWidth) {
  switch (code) {
  case LEFT:
    return MARGIN;
  case CENTRE:
    return (width - itemWidth) / 2;
  case RIGHT:
    return width - itemWidth - MARGIN;
  default:
    return code;
  }
}

// The image neither uses nor changes the anchor stack.
void StampImage(Painter& painter) {
  if (!painter.settings->GetValue(LM_STAMP_IMAGE, 0)) return;
  const Filename file(painter.settings->GetValue(LM_STAMP_IMAGE_FILE, String()));
  AutoAlloc<GeClipMap> image;
  if (!image || image->Init(file) != IMAGERESULT_OK) return;

  const LONG w = image->GetBw(), h = image->GetBh();
  const LONG x = HorizontalPlace(painter.settings->GetValue(LM_STAMP_IMAGE_H, 0), painter.width, w);
  const LONG y = HorizontalPlace(painter.settings->GetValue(LM_STAMP_IMAGE_V, 0), painter.height, h);
  painter.map.Blit(x, y, *image, 0, 0, w - 1, h - 1);
}

// A middle item adds its absolute position to the stack, so that a second one lands far below the first; this
// is deliberate. A code other than 0 to 2 is itself the coordinate; the stack then counts as 0 and stays.
LONG VerticalPlace(Painter& painter, LONG horizontal, LONG vertical, Bool updateStack) {
  const LONG th = painter.textHeight;
  const Bool inCell = horizontal >= LEFT && horizontal <= RIGHT && vertical >= TOP && vertical <= BOTTOM;
  LONG unused = 0;
  LONG& s = inCell ? painter.stack.taken[vertical * 3 + horizontal] : unused;

  LONG y = vertical;
  LONG next = s;
  switch (vertical) {
  case TOP:
    y = s + MARGIN;
    next = y + th;
    break;
  case MIDDLE:
    y = (painter.height - th) / 2 + s;
    next = y + MARGIN + th;
    break;
  case BOTTOM: {
    const LONG t = th + MARGIN + s;
    y = painter.height - t;
    next = t + MARGIN;
    break;
  }
  default:
    break;
  }
  if (updateStack) s = next;
  return y;
}

void StampText(Painter& painter, LONG key, const String& text, LONG horizontalKey, LONG verticalKey,
               Bool updateStack = TRUE) {
  if (!painter.settings->GetValue(key, 0)) return;
  const LONG horizontal = painter.settings->GetValue(horizontalKey, 0);
  const LONG vertical = painter.settings->GetValue(verticalKey, 0);
  const LONG x = HorizontalPlace(horizontal, painter.width, painter.map.GetTextWidth(text));
  const LONG y = VerticalPlace(painter, horizontal, vertical, updateStack);
  DrawShadowText(painter.map, x, y, text);
}

void StampTexts(Painter& painter, const LMTHREAD_DATA& data) {
  const auto text = [&](LONG key) { return painter.settings->GetValue(key, String()); };
  StampText(painter, LM_STAMP_RENDER_TIME, RealToString(data.renderTime, 1, 3) + " seconds",
            LM_STAMP_RENDER_TIME_H, LM_STAMP_RENDER_TIME_V);
  StampText(painter, LM_STAMP_DATE, GetTimeStamp(), LM_STAMP_DATE_H, LM_STAMP_DATE_V);
  StampText(painter, LM_STAMP_DOCUMENT, data.documentName, LM_STAMP_DOCUMENT_H, LM_STAMP_DOCUMENT_V);
  StampText(painter, LM_STAMP_TIMECODE, GetTimeCode(data.frameTime, data.fps), LM_STAMP_TIMECODE_H,
            LM_STAMP_TIMECODE_V);
  StampText(painter, LM_STAMP_CAMERA, data.cameraName, LM_STAMP_CAMERA_H, LM_STAMP_CAMERA_V);
  StampText(painter, LM_STAMP_CUSTOM1, text(LM_STAMP_TEXT1), LM_STAMP_CUSTOM1_H, LM_STAMP_CUSTOM1_V);
  StampText(painter, LM_STAMP_CUSTOM2, text(LM_STAMP_TEXT2), LM_STAMP_CUSTOM2_H, LM_STAMP_CUSTOM2_V, FALSE);
}

} // namespace

void DrawStamps(BaseBitmap* bmp, lmSettings* settings, LONG width, LONG height, LMTHREAD_DATA* data) {
  AutoAlloc<GeClipMap> map;
  if (!map || map->Init(bmp->GetBw(), bmp->GetBh(), 32) != IMAGERESULT_OK) return;

  map->BeginDraw();
  map->SetDrawMode(GE_CM_DRAWMODE_BLEND, 255);
  CopyToClipMap(*bmp, *map);

  Painter painter{*map, settings, width, height, map->GetTextHeight(), {}};
  StampImage(painter);
  StampTexts(painter, *data);
  map->EndDraw();

  CopyFromClipMap(*map, *bmp);
}

void DrawShadowText(GeClipMap& map, LONG x, LONG y, const String& text) {
  const auto drawAround = [&](LONG reach) {
    for (LONG dy = -reach; dy <= reach; ++dy) {
      for (LONG dx = -reach; dx <= reach; ++dx)
        map.TextAt(x + dx, y + dy, text);
    }
  };
  map.SetColor(0, 0, 0, 16);
  drawAround(2);
  map.SetColor(64, 64, 64, 128);
  drawAround(1);
  map.SetColor(255, 255, 255, 255);
  drawAround(0);
}

void CopyToClipMap(const BaseBitmap& bmp, GeClipMap& map) {
  const LONG width = std::min(bmp.GetBw(), map.GetBw()), height = std::min(bmp.GetBh(), map.GetBh());
  UWORD r, g, b;
  for (LONG y = 0; y < height; ++y) {
    for (LONG x = 0; x < width; ++x) {
      bmp.GetPixel(x, y, &r, &g, &b);
      map.SetPixelRGBA(x, y, r, g, b, 255);
    }
  }
}

void CopyFromClipMap(const GeClipMap& map, BaseBitmap& bmp) {
  const LONG width = std::min(bmp.GetBw(), map.GetBw()), height = std::min(bmp.GetBh(), map.GetBh());
  LONG r, g, b, a;
  for (LONG y = 0; y < height; ++y) {
    for (LONG x = 0; x < width; ++x) {
      map.GetPixelRGBA(x, y, &r, &g, &b, &a);
      bmp.SetPixel(x, y, r, g, b);
    }
  }
}

String GetTimeCode(const BaseTime& time, LONG fps) {
  const Real seconds = time.GetDenominator() == 0 ? 0 : time.GetNumerator() / time.GetDenominator();
  const Real minutes = seconds * 0.016666666666666666;
  const LONG frames = fps == 0 ? 0 : FrameFromTime(time, fps) % fps;
  const LONG wholeMinutes = TruncToLong(std::floor(minutes));
  const LONG restSeconds = TruncToLong(std::floor(seconds) - std::floor(minutes) * 60);
  return StrPad(wholeMinutes, 2, "0") + ":" + StrPad(restSeconds, 2, "0") + ":" + StrPad(frames, 2, "0");
}

String GetTimeStamp() {
  DateTime now;
  GetDateTimeNow(now);
  const auto two = [](LONG value) { return StrPad(value, 2, "0"); };
  return two(now.month) + "/" + two(now.day) + "/" + LongToString(now.year) + "  " + two(now.hour) + ":" +
         two(now.minute) + ":" + two(now.second);
}

namespace {

String Labelled(const String& label, const String& value) {
  return label.Content() ? label + ": " + value : value;
}

} // namespace

void Print(const LVector& value, const String& label, LONG before, LONG after) {
  const auto number = [&](Real component) { return RealToString(component, before, after, FALSE, '0'); };
  GePrint(Labelled(label, number(value.x) + ", " + number(value.y) + ", " + number(value.z)));
}

void Print(Real value, const String& label, LONG before, LONG after) {
  GePrint(Labelled(label, RealToString(value, before, after, FALSE, '0')));
}

void Print(const Filename& value, const String& label) {
  GePrint(Labelled(label, value.GetString()));
}

void Print(const String& value, const String& label) {
  GePrint(Labelled(label, value));
}

void Print(LONG value, const String& label) {
  GePrint(Labelled(label, LongToString(value)));
}

LONG Wrap(LONG value, LONG range) {
  while (value >= range)
    value -= range;
  return value;
}
