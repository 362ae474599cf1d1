// The messages of one client, gathered until a commit. On the connection's thread.
#pragma once

#include <unordered_map>

#include "link_frame.h"
#include "link_scene.h"

namespace host {

class LinkStage {
 public:
  LinkStage();

  /// Takes a message about the scene. The scene of a commit, null for other messages. Throws LinkError; the
  /// message then had no effect.
  LinkScenePtr take(const LinkFrame& frame);
  /// Whether messages of this type are about the scene.
  static bool isScene(const std::string& type);

 private:
  struct MeshEntry {
    MeshPtr mesh;
    std::uint64_t pass = 0;
  };
  struct PictureEntry {
    PicturePtr picture;
    std::uint64_t pass = 0;
  };
  struct MaterialEntry {
    LinkMaterialPtr material;
    Json json;
    std::vector<std::string> pictures; // their keys
    std::uint64_t pass = 0;
  };
  struct ObjectEntry {
    LinkObjectPtr object;
    std::uint64_t pass = 0, order = 0;
  };

  void sceneBegin(const LinkFrame& frame);
  void sceneEnd();
  void mesh(const LinkFrame& frame);
  void picture(const LinkFrame& frame);
  void material(const LinkFrame& frame);
  void object(const LinkFrame& frame);
  void sky(const LinkFrame& frame);
  void transforms(const LinkFrame& frame);
  void visibility(const LinkFrame& frame);
  void rename(const LinkFrame& frame);
  void parent(const LinkFrame& frame);
  void remove(const LinkFrame& frame);
  void time(const LinkFrame& frame);
  void settings(const LinkFrame& frame);
  LinkScenePtr commit(const LinkFrame& frame);

  LinkMaterialPtr makeMaterial(const Json& json, Identity identity, std::vector<std::string>& pictures) const;
  void fillKind(const LinkFrame& frame, LinkObject& object);
  void fillMesh(const LinkFrame& frame, LinkObject& object);
  PicturePtr pictureOf(const Json& from, const char* key) const;
  ObjectEntry& objectAt(const std::string& key);
  template <class Change>
  void change(ObjectEntry& entry, const Change& apply) {
    auto changed = std::make_shared<LinkObject>(*entry.object);
    apply(*changed);
    entry.object = std::move(changed);
    objectsChanged_ = true;
  }
  void resolveTree();
  void listObjects();

  std::unordered_map<std::string, MeshEntry> meshes_;
  std::unordered_map<std::string, PictureEntry> pictures_;
  std::unordered_map<std::string, MaterialEntry> materials_;
  std::unordered_map<std::string, ObjectEntry> objects_;
  std::uint64_t pass_ = 1, order_ = 0;
  bool sending_ = false, treeChanged_ = true, objectsChanged_ = true, materialsChanged_ = true;
  std::vector<std::string> sorted_; // keys of the objects, parents first
  Identity skyIdentity_;
  LinkScene scene_; // of the last commit, with the parts that changed since
};

} // namespace host
