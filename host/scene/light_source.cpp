#include "light_source.h"

#include <algorithm>
#include <cmath>

#include "parameters.h"

namespace host {

Vector blackBodyColor(Real kelvin) {
  const Real t = 1000 / (kelvin > leastKelvin ? std::min(kelvin, mostKelvin) : leastKelvin);
  const bool warm = t >= 0.25; // up to 4000 K
  const Real x = warm ? ((-0.2661239 * t - 0.2343589) * t + 0.8776956) * t + 0.179910
                      : ((-3.0258469 * t + 2.1070379) * t + 0.2226347) * t + 0.240390;
  const Real y = t >= 1000.0 / 2222 ? ((-1.1063814 * x - 1.34811020) * x + 2.18555832) * x - 0.20219683
                 : warm             ? ((-0.9549476 * x - 1.37418593) * x + 2.09137015) * x - 0.16748867
                                    : ((3.0817580 * x - 5.87338670) * x + 3.75112997) * x - 0.37001483;
  const Real bigX = x / y, bigZ = (1 - x - y) / y;
  Vector color(3.2409699 * bigX - 1.5373832 - 0.4986108 * bigZ,
               -0.9692436 * bigX + 1.8759675 + 0.0415551 * bigZ,
               0.0556301 * bigX - 0.2039770 + 1.0569715 * bigZ);
  color = {std::max(color.x, 0.0), std::max(color.y, 0.0), std::max(color.z, 0.0)};
  return color * (1 / (0.2126390 * color.x + 0.7151687 * color.y + 0.0721923 * color.z));
}

Real viewAngleOf(const NodeState& object) {
  constexpr Real usual = 0.8, widestSpot = 2.6;
  if (object.type == Olight && param::integer(object, param::lightKind) == 1) {
    const Real cone = 2 * param::real(object, param::lightOuterCone);
    return std::isfinite(cone) ? std::clamp(cone, 1e-4, widestSpot) : usual;
  }
  if (object.type != Ocamera) return usual;
  const Real angle = param::real(object, param::cameraYfov);
  return std::isfinite(angle) ? std::clamp(angle, 1e-4, 3.14) : usual;
}

Vector lightColorOf(const NodeState& light) {
  const Vector own = param::vector(light, param::lightColor);
  const Real kelvin = param::real(light, param::lightTemperature);
  if (!(kelvin > 0)) return own;
  const Vector body = blackBodyColor(kelvin);
  return {own.x * body.x, own.y * body.y, own.z * body.z};
}

} // namespace host
