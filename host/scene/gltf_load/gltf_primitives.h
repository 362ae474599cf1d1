// The primitives of a glTF mesh.
#pragma once

#include "deformation.h"
#include "gltf_file.h"

namespace host {

using Triangle = std::array<std::uint32_t, 3>;

/// A primitive's vertices and triangles.
struct PrimitiveData {
  Mesh vertices; // the attribute vectors; no triangles or groups
  Deformation deformation;
  std::vector<Triangle> triangles;
};

/// Decodes KHR_draco_mesh_compression. Throws SceneError.
void readDraco(const GltfFile& file, const Json& extension, LoadContext& context, PrimitiveData& data);

/// Reads and checks primitives. All throw SceneError.
class PrimitiveReader {
 public:
  /// `where` names the mesh in errors.
  PrimitiveReader(const GltfFile& file, LoadContext& context, std::string where)
      : file_(file), context_(context), where_(std::move(where)) {}
  void readAttributes(const tinygltf::Primitive& primitive, PrimitiveData& data);
  void readTargets(const tinygltf::Primitive& primitive, PrimitiveData& data);
  /// Strips and fans become triangles. `vertices` counts those that the indices choose from.
  std::vector<Triangle> readTriangles(const tinygltf::Primitive& primitive, std::size_t vertices);
  /// Indices must be below the number of vertices.
  void checkTriangles(const std::vector<Triangle>& triangles, std::size_t vertices) const;
  /// Joints without weights are dropped, normals and tangents get unit length.
  static void tidyVertices(PrimitiveData& data);

 private:
  const GltfFile& file_;
  LoadContext& context_;
  const std::string where_;
};

} // namespace host
