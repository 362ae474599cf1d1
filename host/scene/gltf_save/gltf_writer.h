// From a document to glTF's JSON and binary data. Each property is written and read back at once; extras hold
// the difference, so that nothing is lost and nothing is stored twice. Private to host/scene.
#pragma once

#include <functional>
#include <map>

#include "gltf_material_writer.h"
#include "gltf_mesh_writer.h"

namespace host {

/// Writes one document, once, under its lock. Throws SceneError and std::bad_alloc.
class GltfWriter {
 public:
  /// Outside pictures are named as seen from `folder`; with an empty folder, or `packed`, they are written
  /// into the scene. `progress` (may be empty) is called with 0 to 1.
  GltfWriter(const DocumentState& document, Filename folder, bool packed,
             std::function<void(double)> progress)
      : document_(document), progress_(std::move(progress)), extras_(document),
        materials_(output_, extras_, std::move(folder), packed), meshes_(output_) {}

  /// The root. Its buffer has the length of `data`; an empty one is left out.
  Json write();
  Bytes& data() noexcept { return output_.data(); }

 private:
  struct MeshTags {
    std::vector<int> materials;       // of each group; -1 for none
    std::vector<Json> mappings;       // of each group to the materials of variants; null values without
    const NodeState* other = nullptr; // the first tag that loading the mesh would not make
  };

  void writeObjects();
  void writeObject(const ObjectState& object);
  int plainMaterial(const NodeState& tag, std::size_t groups, bool ofVariant) const;
  static void addMapping(Json& mappings, const NodeState& tag, int material);
  MeshTags meshTagsOf(const ObjectState& object) const;
  void writeTags(const ObjectState& object, Json& extras);
  void writeAnimations();
  Json targetOf(const ObjectState& object, TrackPath path);
  void writeTrack(const ObjectState& object, const Track& track, Json& animation);
  void writeDocument();
  void writeViews(Json& extras);
  void finish();
  void nameExtensions();

  const DocumentState& document_;
  const std::function<void(double)> progress_;
  GltfOutput output_;
  Json lights_ = Json::array();
  std::map<Identity, std::size_t> contents_; // the indices of lights and cameras in their lists
  bool pointers_ = false;                    // a track points at one of them
  std::size_t variants_ = 0;                 // of materials
  ExtrasWriter extras_;
  MaterialWriter materials_;
  MeshWriter meshes_;
};

} // namespace host
