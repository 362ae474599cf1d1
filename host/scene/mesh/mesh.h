// Geometry: immutable and shared between documents and their clones. Any thread.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "identity.h"

namespace host {

using Float2 = std::array<float, 2>;
using Float3 = std::array<float, 3>;
using Float4 = std::array<float, 4>;

/// A run of triangles that one material covers (a primitive of the file).
struct MeshGroup {
  std::uint32_t firstTriangle = 0;
  std::uint32_t triangleCount = 0;
};

/// Triangles. The attribute vectors are empty or have one entry a vertex; every index is below the vertex
/// count, every value finite; groups are in order, disjoint and cover all triangles.
struct Mesh {
  Identity id = newIdentity();
  std::vector<Float3> positions;
  std::vector<Float3> normals;  // unit length; empty: flat
  std::vector<Float4> tangents; // w is the bitangent's sign; empty: derived from uv[0] for normal maps
  std::array<std::vector<Float2>, 2> uv;
  std::vector<Float4> colors; // linear
  std::vector<std::array<std::uint32_t, 3>> triangles;
  std::vector<MeshGroup> groups;
  Float3 low{}, high{}; // bounds of the positions
};

using MeshPtr = std::shared_ptr<const Mesh>;

} // namespace host
