// Triangles seen from a point, sampled evenly over their solid angle.
#pragma once

#include "vecmath.h"

namespace host::render {

/// Of corners relative to the point.
class SphericalTriangle {
 public:
  SphericalTriangle(Vec3 a, Vec3 b, Vec3 c) : a_(normalize(a)), b_(normalize(b)), c_(normalize(c)) {}

  /// Van Oosterom and Strackee 1983, "The Solid Angle of a Plane Triangle".
  float solidAngle() const {
    const float across = std::abs(dot(a_, cross(b_, c_)));
    return 2 * std::atan2(across, 1 + dot(a_, b_) + dot(b_, c_) + dot(c_, a_));
  }

  /// A direction by `u`, in the unit square: Arvo 1995, "Stratified Sampling of Spherical Triangles". Zero
  /// for degenerate triangles.
  Vec3 sample(Vec2 u) const {
    // The angle at the first corner, between the planes of its sides.
    const Vec3 ab = cross(a_, b_), ac = cross(a_, c_);
    const float cosAlpha = std::clamp(dot(normalize(ab), normalize(ac)), -1.0f, 1.0f);
    const float alpha = std::acos(cosAlpha), sinAlpha = std::sin(alpha);
    const float part = u.x * solidAngle() - alpha;
    const float s = std::sin(part), t = std::cos(part);
    const float x = t - cosAlpha, y = s + sinAlpha * dot(a_, b_);
    const float below = (y * s + x * t) * sinAlpha;
    if (below == 0) return {};
    const float q = std::clamp(((y * t - x * s) * cosAlpha - y) / below, -1.0f, 1.0f);
    const Vec3 side = a_ * q + beside(c_, a_) * root(q);
    const float z = 1 - u.y * (1 - dot(side, b_));
    return b_ * z + beside(side, b_) * root(z);
  }

 private:
  static float root(float cosine) { return std::sqrt(std::max(0.0f, 1 - cosine * cosine)); }
  // The unit vector of the part of `v` at right angles to `axis`.
  static Vec3 beside(Vec3 v, Vec3 axis) { return normalize(v - axis * dot(v, axis)); }

  Vec3 a_, b_, c_;
};

} // namespace host::render
