// The motion between snapshots of a document at several times. Any thread.
#pragma once

#include "snapshot.h"

namespace host {

/// The snapshot of a frame with the motion of its instances and its camera. `steps`: two or more snapshots of
/// the same document, at even times from the opening of the shutter to its closing. What stands still has no
/// motion; nor has an instance that another snapshot lacks. Lights and materials stay those of the frame.
SnapshotPtr withMotion(const SnapshotPtr& frame, const std::vector<SnapshotPtr>& steps);

} // namespace host
