#include "area_light.h"

namespace host::render {
namespace {

// Below this solid angle the points of a rectangle are seen alike, and rounding would show.
constexpr double leastSolidAngle = 1e-5;
constexpr float leastFacing = 1e-6f; // cosine at the light

/// A rectangle seen from a point at the origin: x0 to x1, y0 to y1 in a plane at z0 < 0. In double precision,
/// because the solid angle is a small difference of large angles.
class SphericalRectangle {
 public:
  SphericalRectangle(const AreaLight& light, Vec3 from) {
    const Vec3 to = light.center - from;
    const double x = static_cast<double>(dot(to, light.right)), y = static_cast<double>(dot(to, light.up));
    x0_ = x - static_cast<double>(light.halfWidth), x1_ = x + static_cast<double>(light.halfWidth);
    y0_ = y - static_cast<double>(light.halfHeight), y1_ = y + static_cast<double>(light.halfHeight);
    z0_ = static_cast<double>(dot(to, light.axis));
    // The planes through the point and the sides: below, right, above, left.
    const double below = std::hypot(z0_, y0_), right = std::hypot(z0_, x1_), above = std::hypot(z0_, y1_),
                 left = std::hypot(z0_, x0_);
    if (!(below > 0 && right > 0 && above > 0 && left > 0)) return;
    b0_ = -y0_ / below, b1_ = y1_ / above;
    const double g0 = corner(y0_ * x1_, below * right), g1 = corner(-x1_ * y1_, right * above);
    const double g2 = corner(y1_ * x0_, above * left), g3 = corner(-x0_ * y0_, left * below);
    k_ = 2 * piD - g2 - g3;
    solidAngle_ = g0 + g1 - k_;
  }

  double solidAngle() const { return solidAngle_; }

  /// x, y and z of a point in the light's axes.
  Vec3 sample(Vec2 u) const {
    const double au = static_cast<double>(u.x) * solidAngle_ + k_;
    const double fu = (std::cos(au) * b0_ - b1_) / std::sin(au);
    const double cu = std::clamp(std::copysign(1 / std::sqrt(fu * fu + b0_ * b0_), fu), -1.0, 1.0);
    const double x = std::clamp(-cu * z0_ / std::max(1e-9, std::sqrt(1 - cu * cu)), x0_, x1_);
    const double d = std::hypot(x, z0_);
    const double h0 = y0_ / std::hypot(d, y0_), h1 = y1_ / std::hypot(d, y1_);
    const double h = h0 + static_cast<double>(u.y) * (h1 - h0);
    const double y = 1 - h * h > 1e-12 ? h * d / std::sqrt(1 - h * h) : y1_;
    return {static_cast<float>(x), static_cast<float>(std::clamp(y, y0_, y1_)), static_cast<float>(z0_)};
  }

 private:
  static constexpr double piD = 3.14159265358979323846;
  // The angle between two neighbouring planes, from the product of their normals.
  static double corner(double product, double lengths) {
    return std::acos(std::clamp(product / lengths, -1.0, 1.0));
  }

  double x0_ = 0, x1_ = 0, y0_ = 0, y1_ = 0, z0_ = 0;
  double b0_ = 0, b1_ = 0, k_ = 0, solidAngle_ = 0;
};

// Density over solid angle of an even choice over the area.
float areaPdf(const AreaLight& light, float distance, float facing) {
  return distance * distance / (light.area() * facing);
}

AreaSample sampleEvenly(const AreaLight& light, Vec3 from, Vec2 u) {
  const Vec2 p = light.disc ? squareToDisc(u) : Vec2(2 * u.x - 1, 2 * u.y - 1);
  const Vec3 to =
      light.center - from + light.right * (p.x * light.halfWidth) + light.up * (p.y * light.halfHeight);
  AreaSample out;
  out.distance = length(to);
  if (!(out.distance > 0)) return {};
  out.direction = to / out.distance;
  const float facing = -dot(out.direction, light.axis);
  if (facing > leastFacing) out.pdf = areaPdf(light, out.distance, facing);
  return out;
}

} // namespace

Vec3 AreaLight::extent() const {
  if (!disc) return abs(right) * halfWidth + abs(up) * halfHeight;
  const auto across = [&](float a) { return halfWidth * std::sqrt(std::max(0.0f, 1 - a * a)); };
  return {across(axis.x), across(axis.y), across(axis.z)};
}

AreaSample sampleArea(const AreaLight& light, Vec3 from, Vec2 u) {
  if (!light.shinesTo(from)) return {};
  if (light.disc) return sampleEvenly(light, from, u);
  const SphericalRectangle seen(light, from);
  if (!(seen.solidAngle() > leastSolidAngle)) return sampleEvenly(light, from, u);
  const Vec3 p = seen.sample(u);
  const Vec3 to = light.right * p.x + light.up * p.y + light.axis * p.z;
  AreaSample out;
  out.distance = length(to);
  if (!(out.distance > 0)) return {};
  out.direction = to / out.distance;
  out.pdf = static_cast<float>(1 / seen.solidAngle());
  return out;
}

AreaSample meetArea(const AreaLight& light, Vec3 from, Vec3 direction) {
  const float facing = -dot(direction, light.axis);
  if (!(facing > leastFacing) || !light.shinesTo(from)) return {};
  AreaSample out{direction, dot(from - light.center, light.axis) / facing};
  const Vec3 at = from + direction * out.distance - light.center;
  const float x = dot(at, light.right) / light.halfWidth, y = dot(at, light.up) / light.halfHeight;
  if (light.disc ? x * x + y * y > 1 : std::max(std::abs(x), std::abs(y)) > 1) return {};
  const double solidAngle = light.disc ? 0 : SphericalRectangle(light, from).solidAngle();
  out.pdf = solidAngle > leastSolidAngle ? static_cast<float>(1 / solidAngle)
                                         : areaPdf(light, out.distance, facing);
  return out;
}

} // namespace host::render
