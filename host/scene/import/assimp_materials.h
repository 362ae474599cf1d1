// Materials and pictures of an imported scene.
#pragma once

#include <assimp/material.h>

#include <map>
#include <string>
#include <vector>

#include "gltf_file.h"
#include "node_state.h"

struct aiScene;

namespace host {

class AssimpMaterials {
 public:
  /// Pictures are looked for in `folder` and below it.
  AssimpMaterials(const aiScene& scene, const Filename& folder, LoadContext& context)
      : scene_(scene), folder_(folder), context_(context) {}
  /// Appends the scene's materials.
  void makeMaterials(NodeList& materials);
  /// The identity of a material by its index in the scene; 0 for an index that is out of range.
  Identity identity(unsigned index) const { return index < identities_.size() ? identities_[index] : 0; }

 private:
  void fillMaterial(const aiMaterial& from, MaterialState& to);
  void fillTextures(const aiMaterial& from, MaterialState& to);
  bool addTexture(const aiMaterial& from, aiTextureType type, int slot, MaterialState& to);
  PicturePtr picture(const aiString& path);
  BytesPtr pictureFile(const std::string& name, Filename& found) const;

  const aiScene& scene_;
  const Filename folder_;
  LoadContext& context_;
  std::vector<Identity> identities_;
  std::map<std::string, PicturePtr> pictures_;
};

} // namespace host
