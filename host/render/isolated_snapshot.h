// A snapshot with a few objects alone, in the light of the whole scene. Any thread.
#pragma once

#include <span>

#include "c4d_document.h"
#include "snapshot.h"

namespace host::render {

/// The snapshot of the document with these objects and all below them. Lights and sky stay, and so do objects
/// that glow, unseen by the camera. The same snapshot when the document has none of the objects.
SnapshotPtr isolated(const SnapshotPtr& snapshot, const BaseDocument& document,
                     std::span<const Identity> objects);

} // namespace host::render
