// The range of numbers that a renderer can compute with. Files and animations may hold any; a snapshot is
// brought into range once, so that renderers and views need no checks of their own.
#pragma once

#include "snapshot.h"

namespace host {

struct DocumentState;

/// Metres from the origin. Products of two edges of a triangle are squared in floats, so surfaces end at a
/// million kilometres; cameras and lights may stand farther away.
constexpr double farthestSurface = 1e9, farthestEye = 1e12;

/// A camera's place: each coordinate brought into range, 0 for one that is not a number.
Vector eyeInRange(const Vector& place);

/// Leaves out instances and lights that are out of range or not finite, moves the camera into range, and
/// limits what describes them. Adds a sentence to `problems` for what was left out, and one for the camera.
void keepInRange(Snapshot& snapshot, const DocumentState& document);

} // namespace host
