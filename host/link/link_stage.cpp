#include "link_stage.h"

#include <algorithm>
#include <atomic>

#include "link_blocks.h"
#include "link_mesh.h"
#include "link_pictures.h"
#include "link_values.h"
#include "scene_content.h"

namespace host {

namespace {

std::atomic<std::uint64_t> lastStage{0};

} // namespace

LinkStage::LinkStage() : skyIdentity_(newIdentity()) {
  scene_.stage = ++lastStage;
}

bool LinkStage::isScene(const std::string& type) {
  static constexpr const char* types[] = {"scene_begin", "scene_end", "mesh",       "picture",    "material",
                                          "object",      "sky",       "transforms", "visibility", "rename",
                                          "parent",      "remove",    "time",       "settings",   "commit"};
  return std::find(std::begin(types), std::end(types), type) != std::end(types);
}

LinkScenePtr LinkStage::take(const LinkFrame& frame) {
  const std::string type = textIn(frame.json, "type");
  try {
    if (type == "commit") return commit(frame);
    if (type == "scene_begin") sceneBegin(frame);
    if (type == "scene_end") sceneEnd();
    if (type == "mesh") mesh(frame);
    if (type == "picture") picture(frame);
    if (type == "material") material(frame);
    if (type == "object") object(frame);
    if (type == "sky") sky(frame);
    if (type == "transforms") transforms(frame);
    if (type == "visibility") visibility(frame);
    if (type == "rename") rename(frame);
    if (type == "parent") parent(frame);
    if (type == "remove") remove(frame);
    if (type == "time") time(frame);
    if (type == "settings") settings(frame);
  } catch (const SceneError& error) {
    throw LinkError(error.what(), error.advice);
  }
  return nullptr;
}

void LinkStage::sceneBegin(const LinkFrame& frame) {
  if (sending_) throw LinkError("A scene has begun already.", "Send scene_end first.");
  sending_ = true;
  ++pass_;
  scene_.replaces = flagIn(frame.json, "replace", true);
  scene_.name = String(textIn(frame.json, "name"));
}

void LinkStage::sceneEnd() {
  if (!sending_) throw LinkError("No scene has begun.", "Send scene_begin first.");
  sending_ = false;
  if (!scene_.replaces) return;
  const auto old = [this](const auto& item) { return item.second.pass != pass_; };
  std::erase_if(meshes_, old);
  std::erase_if(pictures_, old);
  std::erase_if(materials_, old);
  std::erase_if(objects_, old);
  treeChanged_ = objectsChanged_ = materialsChanged_ = true;
}

// Objects that show the mesh before get the new one.
void LinkStage::mesh(const LinkFrame& frame) {
  const std::string key = linkKey(frame.json);
  const MeshPtr made = readLinkMesh(frame);
  MeshEntry& entry = meshes_[key];
  const bool known = entry.mesh != nullptr;
  entry.pass = pass_;
  if (sameMesh(entry.mesh, made)) return; // sent once more: nothing is built again
  entry.mesh = made;
  if (!known) return;
  for (auto& [name, user] : objects_)
    if (user.object->meshKey == key) {
      auto changed = std::make_shared<LinkObject>(*user.object);
      changed->mesh = made;
      changed->materials.resize(made->groups.size());
      user.object = std::move(changed);
      objectsChanged_ = true;
    }
}

void LinkStage::picture(const LinkFrame& frame) {
  const std::string key = linkKey(frame.json);
  const PicturePtr made = readLinkPicture(frame, scene_.notes);
  PictureEntry& entry = pictures_[key];
  const bool known = entry.picture != nullptr;
  entry.pass = pass_;
  if (samePicture(entry.picture, made)) return;
  entry.picture = made;
  if (!known) return;
  for (auto& [name, user] : materials_)
    if (std::find(user.pictures.begin(), user.pictures.end(), key) != user.pictures.end()) {
      user.material = makeMaterial(user.json, user.material->identity, user.pictures);
      materialsChanged_ = true;
    }
}

PicturePtr LinkStage::pictureOf(const Json& from, const char* key) const {
  const std::string name = optionalLinkKey(from, key);
  if (name.empty()) return nullptr;
  const auto found = pictures_.find(name);
  if (found == pictures_.end()) throw LinkError("The picture \"" + name + "\" was not sent.");
  return found->second.picture;
}

LinkStage::ObjectEntry& LinkStage::objectAt(const std::string& key) {
  const auto found = objects_.find(key);
  if (found == objects_.end()) throw LinkError("The object \"" + key + "\" was not sent.");
  return found->second;
}

void LinkStage::sky(const LinkFrame& frame) {
  auto sky = std::make_shared<LinkSky>();
  sky->identity = skyIdentity_;
  sky->isShown = textIn(frame.json, "kind") != "none";
  sky->data = linkSky(frame.json);
  sky->picture = pictureOf(frame.json, "picture");
  scene_.sky = std::move(sky);
}

void LinkStage::transforms(const LinkFrame& frame) {
  const std::vector<std::string> keys = linkKeys(frame.json);
  const LinkBlocks blocks(frame);
  std::vector<std::array<double, 16>> matrices;
  if (blocks.isFormat("matrices", "f32x16"))
    for (const auto& single : blocks.read<std::array<float, 16>>("matrices"))
      std::copy(single.begin(), single.end(), matrices.emplace_back().begin());
  else
    matrices = blocks.read<std::array<double, 16>>("matrices");
  if (matrices.size() != keys.size())
    throw LinkError("There are " + std::to_string(keys.size()) + " keys but " +
                    std::to_string(matrices.size()) + " matrices.");
  for (const std::string& key : keys)
    objectAt(key);
  for (std::size_t i = 0; i < keys.size(); ++i)
    change(objectAt(keys[i]), [&](LinkObject& object) { object.local = linkMatrix(matrices[i].data()); });
}

void LinkStage::visibility(const LinkFrame& frame) {
  const std::vector<std::string> keys = linkKeys(frame.json);
  const Json &editor = member(frame.json, "editor"), &render = member(frame.json, "render");
  for (const std::string& key : keys)
    objectAt(key);
  for (std::size_t i = 0; i < keys.size(); ++i)
    change(objectAt(keys[i]), [&](LinkObject& object) {
      if (element(editor, i).is_boolean()) object.inEditor = editor[i].get<bool>();
      if (element(render, i).is_boolean()) object.inRender = render[i].get<bool>();
    });
}

void LinkStage::rename(const LinkFrame& frame) {
  change(objectAt(linkKey(frame.json)),
         [&](LinkObject& object) { object.name = String(textIn(frame.json, "name")); });
}

void LinkStage::parent(const LinkFrame& frame) {
  const std::vector<std::string> keys = linkKeys(frame.json), parents = linkKeys(frame.json, "parents");
  if (keys.size() != parents.size()) throw LinkError("\"keys\" and \"parents\" differ in their length.");
  for (const std::string& key : keys)
    objectAt(key);
  for (std::size_t i = 0; i < keys.size(); ++i)
    change(objectAt(keys[i]), [&](LinkObject& object) { object.parentKey = parents[i]; });
  treeChanged_ = true;
}

// Children of a removed object go with it; meshes, pictures and materials may be named as well.
void LinkStage::remove(const LinkFrame& frame) {
  resolveTree();
  std::unordered_map<std::string, bool> gone;
  for (const std::string& key : linkKeys(frame.json)) {
    gone[key] = true;
    meshes_.erase(key);
    pictures_.erase(key);
    if (materials_.erase(key) > 0) materialsChanged_ = true;
  }
  for (const std::string& key : sorted_) {
    const auto found = objects_.find(key);
    if (found != objects_.end() && gone.contains(found->second.object->parentKey)) gone[key] = true;
  }
  std::erase_if(objects_, [&](const auto& item) { return gone.contains(item.first); });
  treeChanged_ = objectsChanged_ = true;
}

LinkScenePtr LinkStage::commit(const LinkFrame& frame) {
  if (sending_) throw LinkError("The scene has not ended.", "Send scene_end before commit.");
  resolveTree();
  listObjects();
  if (materialsChanged_ || !scene_.materials) {
    auto list = std::make_shared<std::vector<LinkMaterialPtr>>();
    for (const auto& [key, entry] : materials_)
      list->push_back(entry.material);
    std::sort(list->begin(), list->end(),
              [](const auto& a, const auto& b) { return a->identity < b->identity; });
    scene_.materials = std::move(list);
    materialsChanged_ = false;
  }
  const Json& number = member(frame.json, "n");
  scene_.commit = number.is_number_integer() ? number.get<std::int64_t>() : 0;
  scene_.undo = flagIn(frame.json, "undo");
  auto scene = std::make_shared<const LinkScene>(scene_);
  scene_.notes.clear();
  return scene;
}

} // namespace host
