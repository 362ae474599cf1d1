// Frame stamps: what is burnt into a finished render, and the texts for it.
#pragma once

#include "c4d.h"
#include "lm_settings.h"
#include "lm_status.h"

/// Draws the stamps that the settings switch on into `bmp`, in place. Any thread that owns the bitmap's
/// content then.
void DrawStamps(BaseBitmap* bmp, lmSettings* settings, LONG width, LONG height, LMTHREAD_DATA* data);

/// Minutes, seconds and frames, each at least two digits, separated by ":". Minutes are not wrapped at 60.
String GetTimeCode(const BaseTime& time, LONG fps);

/// The current local date and time: month/day/year, two blanks, hour:minute:second.
String GetTimeStamp();

/// White text with a soft black shadow and a grey rim, its upper left corner at (x, y). The map is drawing
/// and in blend mode.
void DrawShadowText(GeClipMap& map, LONG x, LONG y, const String& text);

// Copy pixel by pixel from the top left corner as far as both reach: into the map with full alpha, back
// without alpha.
void CopyToClipMap(const BaseBitmap& bmp, GeClipMap& map);
void CopyFromClipMap(const GeClipMap& map, BaseBitmap& bmp);

// Lines on the console for debugging: label, ": " and the value; without the ": " when the label is empty.
void Print(const LVector& value, const String& label, LONG before, LONG after);
void Print(Real value, const String& label, LONG before, LONG after);
void Print(const Filename& value, const String& label);
void Print(const String& value, const String& label);
void Print(LONG value, const String& label);

/// `value` while it is below `range`, else less `range` as often as needed. `range` is above 0.
LONG Wrap(LONG value, LONG range);
