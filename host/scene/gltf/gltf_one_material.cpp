#include "gltf_one_material.h"

#include "gltf_material_reader.h"

namespace host {

OneMaterial readOneMaterial(const Json& material, const Json& textures, const Json& samplers,
                            const std::vector<PicturePtr>& pictures) {
  GltfFile file;
  file.root = Json{{"textures", textures}, {"samplers", samplers}};
  file.root["materials"] = Json::array({material});
  file.images = pictures;
  file.root["images"] = Json::array();
  for (std::size_t i = 0; i < pictures.size(); ++i)
    file.root["images"].push_back(Json::object());
  ExtrasReader extras(file);
  MaterialReader reader(file, extras);
  DocumentState holder;
  reader.makeMaterials(holder.materials);
  reader.fillMaterials(holder.materials);
  NodeState* made = holder.materials.first();
  holder.materials.remove(*made);
  return OneMaterial(static_cast<MaterialState*>(made));
}

} // namespace host
