// Edits of the values that the attribute manager shows; see scene_edits.h.
#pragma once

#include <span>

#include "attributes.h"

namespace host {

/// An empty name is refused.
bool renameNode(BaseDocument& document, Identity node, const String& name);
/// Sets one attribute of all these nodes, clipped to its range; a file is read. Nodes without it, and files
/// that cannot be read, are passed over. `component` 0 to 2 sets only that part (x, y, z) of a vector, from
/// the value as a real; -1 all of it.
bool setAttribute(BaseDocument& document, std::span<const Identity> nodes, AttributeId attribute,
                  const GeData& value, int component = -1);

} // namespace host
