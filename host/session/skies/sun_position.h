// The sun's place in the sky. Any thread.
#pragma once

namespace host {

/// A place and a moment. Numbers that are not finite, or out of range, are brought in.
struct SunTime {
  double latitude = 48;    // degrees, north positive, -90 to 90
  double longitude = 11;   // degrees, east positive, -180 to 180
  int year = 2026;         // 1901 to 2099
  int month = 6, day = 21; // 1 to 12, 1 to 31
  double hour = 12;        // by the clock, 0 to 24
  double zone = 1;         // hours that the clock is ahead of UTC, -12 to 14
  friend bool operator==(const SunTime&, const SunTime&) = default;
};

struct SunPlace {
  double elevation = 0; // degrees above the horizon, without refraction
  double azimuth = 0;   // degrees from north over east, 0 up to 360
};

/// Good to a few hundredths of a degree from 1901 to 2099. Formulas: Meeus 1998, "Astronomical Algorithms",
/// chapters 12 and 25 (low accuracy).
SunPlace sunPlaceAt(const SunTime& when);

} // namespace host
