// Small operations on meshes under construction. Any thread.
#pragma once

#include "mesh.h"

namespace host {

/// Sets `low` and `high`; both 0 for no vertices.
void setBounds(Mesh& mesh);
/// Unit normals at the vertices, the mean of the triangles around weighted by their area. Vertices of the
/// same number in `point` share one; without it each stands alone.
std::vector<Float3> smoothNormals(const Mesh& mesh, const std::vector<std::uint32_t>* point = nullptr);
/// Bytes that the mesh's arrays take.
std::size_t bytesOf(const Mesh& mesh) noexcept;
/// Unit length; `otherwise` when there is none.
Float3 unit(const Float3& v, const Float3& otherwise) noexcept;
Float3 cross(const Float3& a, const Float3& b) noexcept;
Float3 minus(const Float3& a, const Float3& b) noexcept;

} // namespace host
