// The range of numbers that a renderer can compute with. Files and animations may hold any number; a snapshot
// is brought into range once, so that renderers and views need no checks.
#pragma once

#include "snapshot.h"

namespace host {

struct DocumentState;

/// Metres from the origin. Products of two edges of a triangle are squared in floats, so surfaces end at a
/// million kilometres; cameras and lights may stand farther away.
constexpr double farthestSurface = 1e9, farthestEye = 1e12;

/// A camera's position with each coordinate clamped to the range; 0 for one that is not a number.
Vector eyeInRange(const Vector& place);

/// Leaves out instances and lights that are out of range or not finite, moves the camera into range and
/// clamps other numbers. Adds a sentence to `problems` for the objects left out, and one for the camera.
void keepInRange(Snapshot& snapshot, const DocumentState& document);

} // namespace host
