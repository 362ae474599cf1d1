// The counterpart of MeshReader: writes meshes, skins and curves, each once however many objects share it.
#pragma once

#include <map>
#include <utility>

#include "gltf_extras_writer.h"
#include "gltf_output.h"

namespace host {

class MeshWriter {
 public:
  explicit MeshWriter(GltfOutput& output) : output_(output) {}
  /// The index of an object's mesh with these materials, one for each group; -1 for none. `mappings`: of each
  /// group to the materials of variants; null values, or an empty list, without.
  int meshIndex(const ObjectState& object, const std::vector<int>& materials,
                const std::vector<Json>& mappings);
  int skinIndex(const SkinPtr& skin);
  /// The attributes of EXT_mesh_gpu_instancing.
  const Json& placementAttributes(const Placements& placements);
  /// Writes the skins that were asked for. After the objects: a joint that is not in the document becomes a
  /// node of its own, in no scene.
  void writeSkins(const ExtrasWriter& extras);
  /// The accessors of a track's times and values.
  std::pair<int, int> curveAccessors(const Track& track);

 private:
  struct Shape {
    std::map<std::string, int> attributes;
    std::vector<std::map<std::string, int>> targets;
    std::vector<int> indices; // of each group
  };
  const Shape& shapeOf(const ObjectState& object);
  void addDeformation(const Deformation& deformation, Shape& shape);

  GltfOutput& output_;
  std::map<std::pair<Identity, Identity>, Shape> shapes_; // by mesh and deformation
  std::map<Identity, Json> placements_;
  std::map<const Curve*, std::pair<int, int>> curves_;
  std::vector<SkinPtr> skins_;
};

} // namespace host
