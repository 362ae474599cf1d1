// Numbers as text, and times as frames.
#pragma once

#include "c4d.h"

/// The decimal text of `value` with `pad` put in front while it is shorter than `width`. A minus sign stays
/// inside the padding: -5 at width 3 becomes 0-5. `pad` is not empty.
String StrPad(LONG value, LONG width, const String& pad);

/// The integer part; 0 when it does not fit.
LONG TruncToLong(Real value);

/// The frame at a time: trunc(floor(fps x numerator) / floor(denominator)); 0 where the denominator's floor
/// is 0.
LONG FrameFromTime(const BaseTime& time, LONG fps);
