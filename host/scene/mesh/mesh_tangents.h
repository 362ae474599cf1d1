// Tangents of a mesh that has none, for normal maps: Mikkelsen 2008, "Simulation of Wrinkled Surfaces
// Revisited", section 3. Programs that bake normal maps use the same frames. Any thread.
#pragma once

#include <functional>

#include "mesh.h"

namespace host {

/// One tangent a corner; corners of smooth surfaces share theirs. As in Mesh::tangents, w is the sign of the
/// bitangent, which points to smaller v.
struct CornerTangents {
  std::vector<Float4> values;
  std::vector<std::array<std::uint32_t, 3>> corners; // indices into `values`, one entry a triangle
};

/// From texture coordinates `set` (0 or 1) and the normals, which the mesh must have. Empty after a break;
/// `stopped` may be empty.
CornerTangents cornerTangents(const Mesh& mesh, std::size_t set, const std::function<bool()>& stopped = {});

} // namespace host
