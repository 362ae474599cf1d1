// The counterpart of MaterialReader: writes pictures, textures, shaders and materials.
#pragma once

#include "gltf_extras_writer.h"
#include "gltf_output.h"

namespace host {

class MaterialWriter {
 public:
  /// Pictures outside the scene are named as seen from `folder`; with an empty one, or `packed`, they are
  /// written into the file.
  MaterialWriter(GltfOutput& output, ExtrasWriter& extras, Filename folder, bool packed)
      : output_(output), extras_(extras), folder_(std::move(folder)), packed_(packed) {}
  void writeMaterials(const NodeList& materials);
  /// The picture's index in the file.
  int pictureIndex(const PicturePtr& picture);

 private:
  void writeMaterial(const MaterialState& material);
  void writeShaders(const MaterialState& material, Json& extras);
  Json shaderEntry(const ShaderState& shader);
  int textureIndex(const ShaderState& bitmap);
  void putSource(const Picture& picture, Json& texture, int index);

  GltfOutput& output_;
  ExtrasWriter& extras_;
  const Filename folder_;
  const bool packed_;
  std::unordered_map<Identity, int> pictures_;
};

} // namespace host
