// Meshes from messages of the live link. Any thread.
#pragma once

#include "link_frame.h"
#include "mesh.h"

namespace host {

/// The mesh of a message "mesh": polygons become triangles, and vertices whose corners differ are split.
/// Throws LinkError.
MeshPtr readLinkMesh(const LinkFrame& frame);

/// Appends the triangles of a polygon, as indices into `points`; nothing for fewer than 3 points. Concave
/// polygons are cut along their ears; above 1024 points, and where no ear is left, as a fan.
void cutPolygon(const std::vector<Float3>& points, std::vector<std::array<std::uint32_t, 3>>& triangles);

} // namespace host
