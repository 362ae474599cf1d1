#include "sun_position.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double radians = pi / 180;

double within(double value, double low, double high, double otherwise) {
  return std::isfinite(value) ? std::clamp(value, low, high) : otherwise;
}

// Of noon (UTC) on the first of January 2000; the Gregorian calendar from 1901 to 2099.
double daysSince2000(int year, int month, int day, double hours) {
  const int days = 367 * year - 7 * (year + (month + 9) / 12) / 4 + 275 * month / 9 + day - 730530;
  return days - 1.5 + hours / 24;
}

double turned(double degrees) {
  return degrees - 360 * std::floor(degrees / 360);
}

} // namespace

SunPlace sunPlaceAt(const SunTime& when) {
  const double latitude = within(when.latitude, -90, 90, 0) * radians;
  const double longitude = within(when.longitude, -180, 180, 0);
  const double hours = within(when.hour, 0, 24, 12) - within(when.zone, -12, 14, 0);
  const double days = daysSince2000(std::clamp(when.year, 1901, 2099), std::clamp(when.month, 1, 12),
                                    std::clamp(when.day, 1, 31), hours);
  const double centuries = days / 36525;
  const double mean = (280.46646 + 36000.76983 * centuries) * radians; // longitude
  const double anomaly = (357.52911 + 35999.05029 * centuries) * radians;
  const double center = (1.914602 - 0.004817 * centuries) * std::sin(anomaly) +
                        0.019993 * std::sin(2 * anomaly) + 0.000289 * std::sin(3 * anomaly);
  const double node = (125.04 - 1934.136 * centuries) * radians;
  const double seen = mean + (center - 0.00569 - 0.00478 * std::sin(node)) * radians;
  const double tilt = (23.439291 - 0.0130042 * centuries + 0.00256 * std::cos(node)) * radians;
  const double ascension = std::atan2(std::cos(tilt) * std::sin(seen), std::cos(seen));
  const double declination = std::asin(std::sin(tilt) * std::sin(seen));
  const double sidereal = (280.46061837 + 360.98564736629 * days + longitude) * radians;
  const double hour = sidereal - ascension; // west of south
  const double high = std::asin(std::clamp(std::sin(latitude) * std::sin(declination) +
                                               std::cos(latitude) * std::cos(declination) * std::cos(hour),
                                           -1.0, 1.0));
  const double west = std::atan2(std::sin(hour), std::cos(hour) * std::sin(latitude) -
                                                     std::tan(declination) * std::cos(latitude));
  return {high / radians, turned(west / radians + 180)};
}

} // namespace host
