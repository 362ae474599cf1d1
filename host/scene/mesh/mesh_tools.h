// Small operations on meshes under construction. Any thread.
#pragma once

#include "mesh.h"

namespace host {

/// Sets `low` and `high`; both are 0 without vertices.
void setBounds(Mesh& mesh);
/// The centre of the bounds when the mesh lies far from its own origin compared with its size; 0 for others.
/// Differences from it keep the precision of the vertices.
Float3 farCenter(const Mesh& mesh) noexcept;
/// Unit normals at the vertices: the mean over the triangles around each, weighted by area. Vertices of the
/// same number in `point` share a normal; without `point` none do.
std::vector<Float3> smoothNormals(const Mesh& mesh, const std::vector<std::uint32_t>* point = nullptr);
/// The size of the mesh's arrays in bytes.
std::size_t bytesOf(const Mesh& mesh) noexcept;
/// The vector at unit length; `otherwise` for a null vector.
Float3 unit(const Float3& v, const Float3& otherwise) noexcept;
Float3 cross(const Float3& a, const Float3& b) noexcept;
Float3 minus(const Float3& a, const Float3& b) noexcept;

} // namespace host
