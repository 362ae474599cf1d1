// Colours as an artist picks them: hue, saturation and value of the screen, and temperature. Any thread.
#pragma once

#include <optional>

#include "c4d_math.h"

namespace host {

/// Of values as the screen shows them (sRGB), as HSV by Smith 1978, "Color Gamut Transform Pairs". A grey has
/// the hue 0; black also the saturation 0.
struct Hsv {
  Real hue = 0;        // degrees, 0 up to 360
  Real saturation = 0; // 0 to 1
  Real value = 0;      // 0 to 1
  friend bool operator==(const Hsv&, const Hsv&) = default;
};

/// Of a colour in linear light (Rec. 709 primaries), brought into 0 to 1.
Hsv hsvOf(const Vector& linear);
/// The colour in linear light. Hues outside of the circle are turned into it, the others clamped.
Vector linearOf(const Hsv& hsv);

/// The temperature of a black body with this hue, in kelvin, whatever the brightness (linear light). Empty
/// for black and for a hue that no black body from `leastKelvin` to `mostKelvin` has.
std::optional<Real> kelvinOf(const Vector& linear);
/// The hue of a black body; its brightest part is `brightest`.
Vector kelvinColor(Real kelvin, Real brightest);

} // namespace host
