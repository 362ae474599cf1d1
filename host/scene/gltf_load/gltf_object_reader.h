// The objects of a glTF file, one for each node of the shown scene.
#pragma once

#include <utility>

#include "gltf_extras_reader.h"
#include "gltf_meshes.h"
#include "gltf_tracks.h"

namespace host {

class ObjectReader {
 public:
  ObjectReader(const GltfFile& file, LoadContext& context, ExtrasReader& extras)
      : file_(file), context_(context), extras_(extras), meshes_(file, context) {}
  /// Appends the scene's objects with meshes, cameras, lights, tracks and skins. Throws SceneError.
  void makeObjects(NodeList& objects);
  /// Adds extras, whose links may name any node, to the objects that `makeObjects` made.
  void applyExtras();

 private:
  struct Contents {
    int mesh = -1, camera = -1, light = -1;
  };

  const Json& json(std::size_t index) const { return element(member(file_.root, "nodes"), index); }
  const Json& lightList() const { return member(extension(file_.root, "KHR_lights_punctual"), "lights"); }
  Contents contentsOf(std::size_t index) const;
  LONG typeOf(std::size_t index, const Contents& contents);
  ObjectState* makeObjectOf(int node);
  void addContents(std::size_t index, const Contents& contents, ObjectState& object);
  void fillMesh(std::size_t index, int mesh, ObjectState& object);
  NodeState& addTexture(ObjectState& object, int material, LONG group);
  void becomeContent(std::size_t index, ObjectState& camera);
  void bindSkins();
  void applyExtras(std::size_t index);

  void numberCameras(const std::vector<int>& roots);
  std::string givenName(std::size_t index, const Contents& contents) const;
  std::string nameOf(std::size_t index, const Contents& contents, LONG type) const;

  const GltfFile& file_;
  LoadContext& context_;
  ExtrasReader& extras_;
  MeshReader meshes_;
  std::vector<Identity> identities_;            // of each node's object
  std::vector<ObjectState*> primary_, content_; // of each node; null for nodes that are not in the scene
  std::vector<std::pair<std::size_t, ObjectState*>> meshObjects_; // with the index of their node
  FileTracks tracks_;
  std::map<std::size_t, std::string> cameraName_; // of nodes with a numbered camera
};

} // namespace host
