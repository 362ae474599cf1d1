// Catmull-Clark subdivision of triangle meshes. Any thread.
#pragma once

#include "c4d_threading.h"
#include "mesh.h"

namespace host {

/// The mesh after `level` steps. Vertices at the same place count as one, so the surface stays closed where
/// the file splits it; coordinates and colours keep their seams. Pairs of triangles that form a quad are
/// refined as one face. The level is lowered until the result has at most 32 million triangles. The mesh
/// itself for level 0 or a shape that cannot be subdivided; null after a break.
MeshPtr subdivide(const MeshPtr& mesh, int level, const BaseThread* thread);

} // namespace host
