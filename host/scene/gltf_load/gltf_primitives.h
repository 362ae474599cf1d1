// The primitives of a glTF mesh.
#pragma once

#include "deformation.h"
#include "gltf_file.h"

namespace host {

/// A primitive's vertices and triangles.
struct PrimitiveData {
  Mesh vertices; // the attribute vectors; no triangles or groups
  Deformation deformation;
  std::vector<std::uint32_t> indices; // three a triangle
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
  std::vector<std::uint32_t> readTriangles(const tinygltf::Primitive& primitive, std::size_t vertices);
  /// Indices must be in range; joints without weights are dropped, normals and tangents get unit length.
  void check(PrimitiveData& data) const;

 private:
  const GltfFile& file_;
  LoadContext& context_;
  const std::string where_;
};

} // namespace host
