// Whether two snapshots look the same in an editor view, so that what was built for one serves the other. Any
// thread.
#pragma once

#include "snapshot.h"

namespace host {

/// Compares what a view shows: objects, meshes, places, base colours, alpha and glow. Lights, cameras and sky
/// do not count.
bool sameLook(const Snapshot& a, const Snapshot& b);

} // namespace host
