// Animation data: curves and tracks, immutable and shared between a document and its clones. Any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "c4d_math.h"

namespace host {

enum class Interpolation : std::uint8_t { step, linear, cubic };

/// Keys of `width` numbers each, at rising times in seconds. A cubic key holds in-tangent, value, out-tangent
/// (3 * width numbers), as glTF's cubic splines do.
struct Curve {
  Interpolation interpolation = Interpolation::linear;
  std::uint32_t width = 1;
  std::vector<float> times;
  std::vector<float> values;
};
using CurvePtr = std::shared_ptr<const Curve>;

enum class TrackPath : std::uint8_t { translation, rotation, scale, weights };

/// The animation of one property of an object.
struct Track {
  TrackPath path = TrackPath::translation;
  std::uint32_t animation = 0; // index into the document's animation names
  CurvePtr curve;
};
using Tracks = std::vector<Track>;
using TracksPtr = std::shared_ptr<const Tracks>;

/// A quaternion x, y, z, w.
struct Quaternion {
  Real x = 0, y = 0, z = 0, w = 1;
  friend constexpr bool operator==(const Quaternion&, const Quaternion&) = default;
};

/// A local transformation in parts.
struct Pose {
  Vector translation;
  Quaternion rotation;
  Vector scale{1, 1, 1};
  friend constexpr bool operator==(const Pose& a, const Pose& b) noexcept {
    return a.translation == b.translation && a.rotation == b.rotation && a.scale == b.scale;
  }
};

/// `translation * rotation * scale`. The quaternion is normalised; a null one rotates nothing.
Matrix matrixOf(const Pose& pose);
/// The parts of a matrix. Shear is lost; a mirrored matrix gives a negative x scale.
Pose poseOf(const Matrix& matrix);

/// The curve's `width` numbers at a time in seconds; the first and last keys hold before and after. With
/// `rotation` the numbers are quaternions: linear ones follow the arc, and the result has unit length.
std::vector<double> sampleCurve(const Curve& curve, double seconds, bool rotation);

} // namespace host
