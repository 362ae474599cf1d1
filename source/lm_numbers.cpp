#include "lm_numbers.h"

#include <cmath>

String StrPad(LONG value, LONG width, const String& pad) {
  String text = LongToString(value);
  while (text.GetLength() < width)
    text = pad + text;
  return text;
}

LONG TruncToLong(Real value) {
  return value > -2147483649.0 && value < 2147483648.0 ? static_cast<LONG>(value) : 0;
}

LONG FrameFromTime(const BaseTime& time, LONG fps) {
  const Real denominator = std::floor(time.GetDenominator());
  if (denominator == 0) return 0;
  return TruncToLong(std::floor(fps * time.GetNumerator()) / denominator);
}
