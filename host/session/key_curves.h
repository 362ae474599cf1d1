// Changes of a curve's keys. A key belongs to the frame nearest to its time. Smooth curves are cubic splines
// whose tangents follow the neighbouring keys; tangents of keys away from a change stay as they are. Curves
// are immutable: each function returns a new one. Any thread.
#pragma once

#include <set>
#include <span>

#include "animation.h"

namespace host {

/// The frame of a key at `seconds`.
long frameOfKey(double seconds, long fps);
/// The frames of all keys.
std::set<long> keyFrames(const Curve& curve, long fps);

/// Sets the key at a frame to `width` numbers; keys that already belong to the frame give way. With
/// `rotation` the numbers are a quaternion, which is kept on the side of its neighbour.
Curve withKey(const Curve& curve, long frame, long fps, std::span<const float> value, bool rotation);
/// Without the keys of a frame; empty when they were the only ones.
Curve withoutKeys(const Curve& curve, long frame, long fps);
/// Moves the keys of a frame to another one, where they replace what was there.
Curve withMovedKeys(const Curve& curve, long from, long to, long fps);
/// The same keys, interpolated in another way.
Curve withInterpolation(const Curve& curve, Interpolation interpolation);

} // namespace host
