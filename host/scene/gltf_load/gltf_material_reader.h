// Materials and shaders of a glTF file.
#pragma once

#include "gltf_extras_reader.h"

namespace host {

class MaterialReader {
 public:
  MaterialReader(const GltfFile& file, ExtrasReader& extras) : file_(file), extras_(extras) {}
  /// Appends the file's materials with the parameters that glTF's own words give. Throws SceneError.
  void makeMaterials(NodeList& materials);
  /// Adds extras and shaders, whose links may name any node, to the materials that `makeMaterials` appended.
  void fillMaterials(NodeList& materials);

 private:
  void fillSlots(const Json& json, MaterialState& material);
  void addOwnShaders(const Json& extras, MaterialState& material);
  NodeState* makeBitmap(const Json& textureInfo);
  NodeState* makeShader(const Json& from, int depth = 0);

  const GltfFile& file_;
  ExtrasReader& extras_;
};

} // namespace host
