// The place that a renderer counts positions from. Floats far from zero are coarse: 8 mm at 100 km. Any
// thread.
#pragma once

#include "snapshot.h"

namespace host {

/// The point of the scene nearest to the camera, rounded to a coarse grid; 0 near the world's origin.
Vector renderOrigin(const Snapshot& snapshot);

/// The snapshot with every position counted from `origin`; the same snapshot for 0.
SnapshotPtr movedSnapshot(const SnapshotPtr& snapshot, const Vector& origin);

} // namespace host
