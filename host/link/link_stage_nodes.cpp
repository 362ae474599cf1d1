// Materials, objects and their tree.
#include <algorithm>
#include <cmath>
#include <map>

#include "gltf_one_material.h"
#include "link_blocks.h"
#include "link_stage.h"
#include "link_values.h"
#include "parameters.h"

namespace host {

namespace {

constexpr int deepest = 64;     // of nested JSON in a material
constexpr int mostLevels = 512; // of the tree of objects, as in scene files

// Replaces the keys of pictures in texture references by indices.
struct PictureIndices {
  Json textures = Json::array(), samplers = Json::array();
  std::vector<std::string> keys;

  int add(const std::string& key) {
    const auto found = std::find(keys.begin(), keys.end(), key);
    if (found != keys.end()) return static_cast<int>(found - keys.begin());
    keys.push_back(key);
    return static_cast<int>(keys.size()) - 1;
  }

  void addTexture(Json& info, const std::string& key) {
    Json sampler = Json::object();
    for (const char* name : {"wrapS", "wrapT"})
      if (member(info, name).is_number_integer()) sampler[name] = info[name];
    if (flagIn(info, "nearest")) sampler["magFilter"] = 9728, sampler["minFilter"] = 9728;
    info["index"] = textures.size();
    textures.push_back(Json{{"source", add(key)}, {"sampler", samplers.size()}});
    samplers.push_back(std::move(sampler));
  }

  void replace(Json& value, int depth = 0) {
    if (depth > deepest) throw LinkError("The material is nested too deeply.");
    if (value.is_object()) {
      const std::string key = optionalLinkKey(value, "picture");
      if (!key.empty() && value.contains("type"))
        value["image"] = add(key); // a shader of ours
      else if (!key.empty())
        addTexture(value, key);
    }
    if (value.is_structured())
      for (auto& child : value)
        replace(child, depth + 1);
  }
};

} // namespace

LinkMaterialPtr LinkStage::makeMaterial(const Json& json, Identity identity,
                                        std::vector<std::string>& pictures) const {
  PictureIndices indices;
  Json gltf = json;
  indices.replace(gltf);
  std::vector<PicturePtr> files;
  for (const std::string& key : indices.keys) {
    const auto found = pictures_.find(key);
    if (found == pictures_.end()) throw LinkError("The picture \"" + key + "\" was not sent.");
    files.push_back(found->second.picture);
  }
  const OneMaterial node = readOneMaterial(gltf, indices.textures, indices.samplers, files);
  auto made = std::make_shared<LinkMaterial>();
  node->identity = made->identity = identity;
  made->image = takeImage(*node, nullptr);
  pictures = indices.keys;
  return made;
}

void LinkStage::material(const LinkFrame& frame) {
  const std::string key = linkKey(frame.json);
  Json json = member(frame.json, "gltf");
  if (!json.is_object()) throw LinkError("The material \"" + key + "\" has no object \"gltf\".");
  if (const std::string name = textIn(frame.json, "name"); !name.empty()) json["name"] = name;
  const auto known = materials_.find(key);
  MaterialEntry entry;
  entry.pass = pass_;
  entry.material = makeMaterial(
      json, known == materials_.end() ? newIdentity() : known->second.material->identity, entry.pictures);
  entry.json = std::move(json);
  materials_[key] = std::move(entry);
  materialsChanged_ = true;
}

void LinkStage::object(const LinkFrame& frame) {
  const Json& json = frame.json;
  auto made = std::make_shared<LinkObject>();
  made->key = linkKey(json);
  made->parentKey = optionalLinkKey(json, "parent");
  made->name = String(textIn(json, "name"));
  made->local = linkMatrix(member(json, "matrix"));
  made->inEditor = flagIn(member(json, "visible"), "editor", true);
  made->inRender = flagIn(member(json, "visible"), "render", true);
  fillKind(frame, *made);
  const auto known = objects_.find(made->key);
  const bool isNew = known == objects_.end();
  made->identity = isNew ? newIdentity() : known->second.object->identity;
  treeChanged_ = treeChanged_ || isNew || known->second.object->parentKey != made->parentKey;
  const std::uint64_t order = isNew ? ++order_ : known->second.order;
  const std::string key = made->key;
  objects_[key] = {std::move(made), pass_, order};
  objectsChanged_ = true;
}

void LinkStage::fillKind(const LinkFrame& frame, LinkObject& object) {
  const std::string kind = textIn(frame.json, "kind");
  if (kind == "mesh" || kind == "instances") return fillMesh(frame, object);
  if (kind == "light") {
    object.type = Olight;
    object.data = linkLight(member(frame.json, "light"));
  } else if (kind == "camera") {
    object.type = Ocamera;
    object.data = linkCamera(member(frame.json, "camera"));
  } else if (kind != "null" && !kind.empty()) {
    throw LinkError("The object \"" + object.key + "\" is of an unknown kind, \"" + kind + "\".");
  }
}

void LinkStage::fillMesh(const LinkFrame& frame, LinkObject& object) {
  const Json& inside = member(frame.json, "instances");
  const Json& json = inside.is_object() ? inside : frame.json;
  object.type = Opolygon;
  object.meshKey = linkKey(json, "mesh");
  const auto mesh = meshes_.find(object.meshKey);
  if (mesh == meshes_.end()) throw LinkError("The mesh \"" + object.meshKey + "\" was not sent.");
  object.mesh = mesh->second.mesh;
  const Json& materials = member(json, "materials");
  object.materials.resize(object.mesh->groups.size());
  for (std::size_t i = 0; i < std::min(countOf(materials), object.materials.size()); ++i) {
    if (materials[i].is_null()) continue;
    const std::string key = materials[i].is_string() ? materials[i].get<std::string>() : std::string();
    const auto found = materials_.find(key);
    if (found == materials_.end()) throw LinkError("The material \"" + key + "\" was not sent.");
    object.materials[i] = found->second.material->identity;
  }
  if (textIn(frame.json, "kind") != "instances") return;
  const LinkBlocks blocks(frame);
  auto placements = std::make_shared<Placements>();
  placements->translations = blocks.read<Float3>("translations");
  placements->rotations = blocks.read<Float4>("rotations");
  placements->scales = blocks.read<Float3>("scales");
  placements->count =
      std::max({placements->translations.size(), placements->rotations.size(), placements->scales.size()});
  for (const std::size_t size :
       {placements->translations.size(), placements->rotations.size(), placements->scales.size()})
    if (size != 0 && size != placements->count)
      throw LinkError("The blocks of the instances \"" + object.key + "\" differ in their length.");
  object.placements = std::move(placements);
}

void LinkStage::time(const LinkFrame& frame) {
  auto time = std::make_shared<LinkTime>();
  const auto seconds = [&](const char* key) -> std::optional<double> {
    const auto value = maybeNumber(frame.json, key);
    if (value && std::abs(*value) > 1e6) throw LinkError("\"" + std::string(key) + "\" is out of range.");
    return value;
  };
  time->seconds = seconds("seconds").value_or(0);
  time->from = seconds("from");
  time->to = seconds("to");
  if (time->from && time->to && *time->to < *time->from)
    throw LinkError("The range of time ends before it begins.");
  if (const auto fps = maybeNumber(frame.json, "fps")) {
    if (*fps < 1 || *fps > 1000) throw LinkError("\"fps\" must be a number from 1 to 1000.");
    time->fps = static_cast<LONG>(std::lround(*fps));
  }
  scene_.time = std::move(time);
}

void LinkStage::settings(const LinkFrame& frame) {
  auto settings = std::make_shared<LinkSettings>();
  const auto whole = [&](const char* key, double most) -> std::optional<LONG> {
    const auto value = maybeNumber(frame.json, key);
    if (value && (*value < 1 || *value > most))
      throw LinkError("\"" + std::string(key) + "\" must be a number from 1 to " +
                      std::to_string(static_cast<long>(most)) + ".");
    return value ? std::optional(static_cast<LONG>(*value)) : std::nullopt;
  };
  settings->width = whole("width", 16384);
  settings->height = whole("height", 16384);
  settings->samples = whole("samples", 1e6);
  if (member(frame.json, "denoise").is_boolean()) settings->denoise = flagIn(frame.json, "denoise");
  settings->noise = maybeNumber(frame.json, "noise");
  if (settings->noise && (*settings->noise < 0 || *settings->noise > 1))
    throw LinkError("\"noise\" must be a number from 0 to 1.");
  if (frame.json.contains("camera")) {
    const std::string key = optionalLinkKey(frame.json, "camera");
    if (!key.empty() && objectAt(key).object->type != Ocamera)
      throw LinkError("The object \"" + key + "\" is no camera.");
    settings->camera = key.empty() ? 0 : objectAt(key).object->identity;
  }
  scene_.settings = std::move(settings);
}

// Resolves the parents and sorts the objects so that parents come first. Objects without their parent, and
// those of a cycle, stand at the top.
void LinkStage::resolveTree() {
  if (!treeChanged_) return;
  treeChanged_ = false;
  objectsChanged_ = true;
  std::map<std::uint64_t, std::string> byOrder;
  for (const auto& [key, entry] : objects_)
    byOrder.emplace(entry.order, key);
  std::unordered_map<std::string, int> level; // 0: on the way, which shows a cycle
  sorted_.clear();
  for (const auto& ordered : byOrder) {
    std::vector<std::string> way;
    std::string key = ordered.second;
    while (!key.empty() && objects_.contains(key) && !level.contains(key)) {
      level[key] = 0;
      way.push_back(key);
      key = objects_[key].object->parentKey;
    }
    for (; !way.empty(); way.pop_back()) {
      ObjectEntry& entry = objects_[way.back()];
      const std::string& parentKey = entry.object->parentKey;
      const auto above = level.find(parentKey);
      const bool hangs = above != level.end() && above->second > 0 && above->second < mostLevels;
      if (!parentKey.empty() && !hangs)
        scene_.notes.push_back("\"" + entry.object->name.GetUTF8() +
                               "\" stands at the top: its parent was not sent, or is below it.");
      const Identity parent = hangs ? objects_[parentKey].object->identity : 0;
      level[way.back()] = hangs ? above->second + 1 : 1;
      if (entry.object->parent != parent) change(entry, [&](LinkObject& object) { object.parent = parent; });
      sorted_.push_back(way.back());
    }
  }
}

void LinkStage::listObjects() {
  if (!objectsChanged_ && scene_.objects) return;
  objectsChanged_ = false;
  auto list = std::make_shared<std::vector<LinkObjectPtr>>();
  scene_.triangles = 0;
  for (const std::string& key : sorted_) {
    list->push_back(objects_[key].object);
    if (const MeshPtr& mesh = list->back()->mesh)
      scene_.triangles +=
          mesh->triangles.size() * (list->back()->placements ? list->back()->placements->count : 1);
  }
  scene_.objects = std::move(list);
}

} // namespace host
