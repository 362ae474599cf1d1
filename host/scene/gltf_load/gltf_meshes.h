// Meshes of a glTF file.
#pragma once

#include <unordered_map>

#include "gltf_mesh_builder.h"

namespace host {

/// The material of a group in a variant of the scene.
struct VariantMaterial {
  LONG group = 0, variant = 0;
  int material = 0;
  std::string name; // of the mapping; usually empty
};

struct LoadedMesh {
  MeshPtr mesh;
  DeformationPtr deformation; // null: nothing bends it
  std::vector<float> weights; // of the morph targets at rest
  std::vector<int> materials; // of each group; -1 none
  std::vector<VariantMaterial> variants;
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
  struct Part {
    const tinygltf::Primitive* primitive;
    const Json* draco; // its extension; a null value without one
  };
  std::vector<Part> partsOf(int index, LoadedMesh& loaded);
  void readVariants(const Json& primitive, int mesh, LONG group, std::vector<VariantMaterial>& variants);
  static bool shareVertices(const std::vector<Part>& parts);
  void readSharedParts(const std::vector<Part>& parts, PrimitiveReader& reader, MeshBuilder& builder);
  void readSeparateParts(const std::vector<Part>& parts, PrimitiveReader& reader, MeshBuilder& builder);
  const Shape& shapeOf(int index, const std::vector<Part>& parts);

  const GltfFile& file_;
  LoadContext& context_;
  std::unordered_map<std::string, Shape> shapes_; // by the numbers that they are made of
};

} // namespace host
