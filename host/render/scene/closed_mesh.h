// Meshes that enclose a space: nobody outside sees the back of their triangles.
#pragma once

#include <cstdint>
#include <vector>

#include "mesh.h"

namespace host::render {

/// For each triangle the side of it that faces outwards: 1 the front (counter-clockwise), -1 the back, 0 for
/// triangles of a piece that is not closed. A piece is closed when its triangles meet edge to edge, two at
/// each, wound alike; vertices within a hundred-thousandth of the size count as one. Empty for meshes with
/// more than 65536 triangles: looking at them would take longer than it saves.
std::vector<std::int8_t> outwardSides(const Mesh& mesh);

} // namespace host::render
