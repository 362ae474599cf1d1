// Meshes of a glTF file.
#pragma once

#include <unordered_map>

#include "deformation.h"
#include "gltf_file.h"

namespace host {

struct LoadedMesh {
  MeshPtr mesh;
  DeformationPtr deformation; // null: nothing bends it
  std::vector<float> weights; // of the morph targets at rest
  std::vector<int> materials; // of each group; -1 none
};

/// Reads meshes; two that are made of the same numbers share one geometry.
class MeshReader {
 public:
  MeshReader(const GltfFile& file, LoadContext& context) : file_(file), context_(context) {}
  /// `index` must be in the file. Throws SceneError.
  LoadedMesh read(int index);

 private:
  struct Shape {
    MeshPtr mesh;
    DeformationPtr deformation;
  };
  const GltfFile& file_;
  LoadContext& context_;
  std::unordered_map<std::string, Shape> shapes_; // by the numbers that they are made of
};

/// A primitive's vertices and triangles while they are put together.
struct PrimitiveData {
  Mesh vertices; // the attribute vectors; no triangles or groups
  Deformation deformation;
  std::vector<std::uint32_t> indices; // three a triangle
};

/// Decodes KHR_draco_mesh_compression. Throws SceneError.
void readDraco(const GltfFile& file, const Json& extension, LoadContext& context, PrimitiveData& data);

} // namespace host
