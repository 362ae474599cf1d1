// Frame stamps: texts and an image burnt into a finished render.
#pragma once

#include "c4d.h"
#include "lm_settings.h"
#include "lm_status.h"

/// Draws the stamps that the settings switch on into `bmp`. Any thread, while it alone uses the bitmap.
void DrawStamps(BaseBitmap* bmp, lmSettings* settings, LONG width, LONG height, LMTHREAD_DATA* data);

/// Minutes, seconds and frames, each with at least two digits, separated by ":". Minutes do not wrap at 60.
String GetTimeCode(const BaseTime& time, LONG fps);

/// The current local date and time: month/day/year, two blanks, hour:minute:second.
String GetTimeStamp();

/// Draws white text with a soft black shadow and a grey rim, its upper left corner at (x, y). The map must be
/// drawing, in blend mode.
void DrawShadowText(GeClipMap& map, LONG x, LONG y, const String& text);

// Copy the common area, from the top left corner: into the map with full alpha, back without alpha.
void CopyToClipMap(const BaseBitmap& bmp, GeClipMap& map);
void CopyFromClipMap(const GeClipMap& map, BaseBitmap& bmp);

// Print a debugging line: label, ": " and value, or only the value when the label is empty.
void Print(const LVector& value, const String& label, LONG before, LONG after);
void Print(Real value, const String& label, LONG before, LONG after);
void Print(const Filename& value, const String& label);
void Print(const String& value, const String& label);
void Print(LONG value, const String& label);

/// Subtracts `range` from `value` until it is below `range`, which must be above 0.
LONG Wrap(LONG value, LONG range);
