// Rectangles and discs that shine evenly from one side, by Lambert's law. Read by every worker.
#pragma once

#include "vecmath.h"

namespace host::render {

struct AreaLight {
  Vec3 center, right, up, axis;        // unit vectors at right angles; light leaves along `axis`
  float halfWidth = 0, halfHeight = 0; // metres, above 0; of a disc both are its radius
  bool disc = false;

  float area() const { return halfWidth * halfHeight * (disc ? pi : 4.0f); }
  /// Half the extent of its bounds along the world's axes.
  Vec3 extent() const;
  bool shinesTo(Vec3 point) const { return dot(point - center, axis) > 0; }
};

/// A point of an area light, seen from another point.
struct AreaSample {
  Vec3 direction; // unit, towards the light
  float distance = 0;
  float pdf = 0; // over solid angle; 0: the light does not shine there
};

/// Samples a light from a point by `u`, in the unit square. Rectangles evenly over their solid angle (Urena,
/// Fajardo and King 2013, "An Area-Preserving Parametrization for Spherical Rectangles"), discs and tiny
/// rectangles evenly over their area.
AreaSample sampleArea(const AreaLight& light, Vec3 from, Vec2 u);

/// The shining side's point in a direction, with the density of `sampleArea`. `direction` is a unit vector.
AreaSample meetArea(const AreaLight& light, Vec3 from, Vec3 direction);

} // namespace host::render
