#include "screen_color.h"

#include <algorithm>
#include <cmath>

#include "display_transform.h"

namespace host {

namespace {

float encoded(double linear) {
  return static_cast<float>(linearToSrgb(std::isfinite(linear) ? std::clamp(linear, 0.0, 1.0) : 0));
}

} // namespace

QColor screenColor(const Vector& linear) {
  return QColor::fromRgbF(encoded(linear.x), encoded(linear.y), encoded(linear.z));
}

Vector linearColor(const QColor& color) {
  return {srgbToLinear(static_cast<double>(color.redF())), srgbToLinear(static_cast<double>(color.greenF())),
          srgbToLinear(static_cast<double>(color.blueF()))};
}

} // namespace host
