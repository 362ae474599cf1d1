// Comparison of two snapshots by their look in an editor view: equal ones share their structures. Any thread.
#pragma once

#include "snapshot.h"

namespace host {

/// Compares objects, meshes, places, base colours, alpha and glow; ignores lights, cameras and sky.
bool sameLook(const Snapshot& a, const Snapshot& b);

} // namespace host
