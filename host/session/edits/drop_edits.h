// Objects put on the floor; see scene_edits.h.
#pragma once

#include <span>

#include "c4d_document.h"
#include "identity.h"

namespace host {

/// Moves these objects up or down, with all below them, so that the lowest vertex of their meshes lies at the
/// height of the document's first floor, or at 0 without one. Meshes count as they are at this time, before
/// subdivision. Objects without meshes, and floors, stay.
bool dropObjects(BaseDocument& document, std::span<const Identity> objects);

} // namespace host
