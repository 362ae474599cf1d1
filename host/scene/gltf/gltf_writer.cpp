#include "gltf_writer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "parameters.h"

namespace host {

namespace {

constexpr int typeFloat = TINYGLTF_COMPONENT_TYPE_FLOAT, typeShort = TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT,
              typeInt = TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;

} // namespace

Json GltfWriter::write() {
  number(document_.children);
  int material = 0;
  for (const NodeState* node = document_.materials.first(); node; node = node->next)
    places_[node->identity] = Json{{"material", material++}};
  root_["asset"] = Json{{"version", "2.0"}, {"generator", "Lumenara"}};
  root_["scene"] = 0;
  root_["scenes"] = Json::array({Json::object()});
  writeMaterials();
  writeObjects();
  writeSkins();
  writeAnimations();
  writeDocumentPart();
  finish();
  return std::move(root_);
}

// ---- Numbers

// Objects get the numbers of their nodes, in document order.
void GltfWriter::number(const NodeList& list) {
  for (const NodeState* node = list.first(); node; node = node->next) {
    places_[node->identity] = Json{{"node", objects_.size()}};
    objects_.push_back(static_cast<const ObjectState*>(node));
    number(node->children);
  }
}

LinkWriter GltfWriter::links() {
  return [this](Identity identity) { return link(identity); };
}

// A node without a number of its own is named by a reference.
Json GltfWriter::link(Identity identity) {
  if (identity == 0) return nullptr;
  const auto found = places_.find(identity);
  if (found != places_.end()) return found->second;
  if (!findNode(document_, identity)) return nullptr;
  return Json{{"ref", refOf(identity)}};
}

std::string GltfWriter::refOf(Identity identity) {
  return refs_.try_emplace(identity, "r" + std::to_string(refs_.size() + 1)).first->second;
}

int GltfWriter::addView(std::span<const std::byte> bytes, int target) {
  data_.resize((data_.size() + 3) & ~std::size_t{3});
  Json view{{"buffer", 0}, {"byteOffset", data_.size()}, {"byteLength", bytes.size()}};
  if (target != 0) view["target"] = target;
  data_.insert(data_.end(), bytes.begin(), bytes.end());
  return append("bufferViews", std::move(view));
}

int GltfWriter::append(const char* list, Json value) {
  root_[list].push_back(std::move(value));
  return static_cast<int>(root_[list].size()) - 1;
}

// ---- Objects

void GltfWriter::writeObjects() {
  for (const NodeState* node = document_.children.first(); node; node = node->next)
    root_["scenes"][0]["nodes"].push_back(places_[node->identity]["node"]);
  const auto weightOf = [](const ObjectState& object) {
    return 1.0 + (object.mesh ? static_cast<double>(object.mesh->triangles.size()) : 0.0);
  };
  double all = 0, done = 0;
  for (const ObjectState* object : objects_)
    all += weightOf(*object);
  for (const ObjectState* object : objects_) {
    writeObject(*object);
    done += weightOf(*object);
    if (progress_) progress_(done / all);
  }
}

void GltfWriter::writeObject(const ObjectState& object) {
  Json json = Json::object(), extras = Json::object();
  putName(object, json, extras);
  if (needsType(object)) extras["type"] = object.type;
  writeTransform(object, json);
  BaseContainer derived;
  if (object.type == Ocamera) {
    const Json camera = cameraJson(object);
    derived = cameraParameters(camera);
    json["camera"] = append("cameras", camera);
  } else if (object.type == Olight) {
    const Json light = lightJson(object);
    derived = lightParameters(light);
    lights_.push_back(light);
    json["extensions"]["KHR_lights_punctual"]["light"] = lights_.size() - 1;
  } else if (object.mesh) {
    json["mesh"] = meshIndex(object);
    if (!object.weights.empty()) json["weights"] = weightsJson(object.weights);
    if (object.skin) json["skin"] = skinIndex(object.skin);
  }
  writeCommon(object, derived, extras);
  if (!object.deform) extras["deform"] = false;
  if (object.picture) extras["image"] = pictureIndex(object.picture);
  writeTags(object, extras);
  for (const NodeState* child = object.children.first(); child; child = child->next)
    json["children"].push_back(places_[child->identity]["node"]);
  putExtras(object, std::move(extras), json);
  append("nodes", std::move(json));
}

bool GltfWriter::needsType(const ObjectState& object) {
  switch (object.type) {
  case Onull:
  case Olight:
    return false;
  case Opolygon:
    return !object.mesh;
  case Ocamera:
    return object.tracks != nullptr;
  default:
    return true;
  }
}

Json GltfWriter::weightsJson(const std::vector<float>& weights) {
  Json numbers = Json::array();
  for (const float weight : weights)
    numbers.push_back(std::isfinite(weight) ? static_cast<double>(weight) : 0.0);
  return numbers;
}

void GltfWriter::writeTransform(const ObjectState& object, Json& json) {
  if (object.pose) {
    const Pose& p = *object.pose;
    json["translation"] = {p.translation.x, p.translation.y, p.translation.z};
    json["rotation"] = {p.rotation.x, p.rotation.y, p.rotation.z, p.rotation.w};
    json["scale"] = {p.scale.x, p.scale.y, p.scale.z};
  } else if (object.local != Matrix()) {
    const Matrix& m = object.local;
    json["matrix"] = {m.v1.x, m.v1.y, m.v1.z, 0.0, m.v2.x,  m.v2.y,  m.v2.z,  0.0,
                      m.v3.x, m.v3.y, m.v3.z, 0.0, m.off.x, m.off.y, m.off.z, 1.0};
  }
}

// The material of a texture tag that loading the mesh would make just so; -1 for other tags.
int GltfWriter::plainMaterial(const NodeState& tag, std::size_t groups) {
  if (tag.type != Ttexture || tag.bits != 0 || tag.name.Content() || tag.data.GetCount() != 2) return -1;
  if (tag.data.GetIndexId(0) != param::textureMaterial || tag.data.GetIndexId(1) != param::textureGroup)
    return -1;
  const LONG group = param::integer(tag, param::textureGroup);
  const auto place = places_.find(tag.data.GetBaseLink(param::textureMaterial).GetIdentity());
  if (tag.data.GetType(param::textureGroup) != DA_LONG || group < 0 ||
      static_cast<std::size_t>(group) >= groups || place == places_.end() ||
      !place->second.contains("material"))
    return -1;
  return place->second["material"].get<int>();
}

// The tags that the mesh itself brings: one a primitive, in order, at the front of the list.
std::vector<int> GltfWriter::materialsOf(const ObjectState& object, const NodeState*& firstOther) {
  std::vector<int> materials(object.mesh->groups.size(), -1);
  LONG last = -1;
  firstOther = object.tags.first();
  for (; firstOther; firstOther = firstOther->next) {
    const int material = plainMaterial(*firstOther, materials.size());
    const LONG group = param::integer(*firstOther, param::textureGroup);
    if (material < 0 || group <= last) break;
    materials[static_cast<std::size_t>(group)] = material;
    last = group;
  }
  return materials;
}

void GltfWriter::writeTags(const ObjectState& object, Json& extras) {
  const NodeState* tag = object.tags.first();
  if (object.mesh && object.type == Opolygon) materialsOf(object, tag);
  for (; tag; tag = tag->next)
    extras["tags"].push_back(entry(*tag));
}

// ---- Meshes

GltfWriter::Shape& GltfWriter::shapeOf(const ObjectState& object) {
  const auto key = std::pair(object.mesh->id, object.deformation ? object.deformation->id : 0);
  const auto known = shapes_.find(key);
  if (known != shapes_.end()) return known->second;
  Shape shape;
  const Mesh& mesh = *object.mesh;
  shape.attributes["POSITION"] = addPieces(mesh.positions);
  putBounds(mesh);
  if (!mesh.normals.empty()) shape.attributes["NORMAL"] = addPieces(mesh.normals);
  if (!mesh.tangents.empty()) shape.attributes["TANGENT"] = addPieces(mesh.tangents);
  if (!mesh.uv[0].empty()) shape.attributes["TEXCOORD_0"] = addPieces(mesh.uv[0]);
  if (!mesh.uv[1].empty()) shape.attributes["TEXCOORD_1"] = addPieces(mesh.uv[1]);
  if (!mesh.colors.empty()) shape.attributes["COLOR_0"] = addPieces(mesh.colors);
  if (object.deformation) addDeformation(*object.deformation, shape);
  for (const MeshGroup& group : mesh.groups) {
    const auto* first = reinterpret_cast<const std::byte*>(mesh.triangles.data() + group.firstTriangle);
    Json accessor{
        {"componentType", typeInt}, {"count", group.triangleCount * std::size_t{3}}, {"type", "SCALAR"}};
    accessor["bufferView"] = addView(std::span(first, group.triangleCount * sizeof(mesh.triangles[0])),
                                     TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER);
    shape.indices.push_back(append("accessors", std::move(accessor)));
  }
  return shapes_.emplace(key, std::move(shape)).first->second;
}

// The standard wants the bounds of positions.
void GltfWriter::putBounds(const Mesh& mesh) {
  Json& accessor = root_["accessors"].back();
  accessor["min"] = mesh.low;
  accessor["max"] = mesh.high;
}

void GltfWriter::addDeformation(const Deformation& d, Shape& shape) {
  for (std::size_t set = 0; set < d.joints.size(); ++set) {
    const std::string number = std::to_string(set);
    shape.attributes["JOINTS_" + number] =
        addAccessor(d.joints[set], typeShort, "VEC4", d.joints[set].size(), TINYGLTF_TARGET_ARRAY_BUFFER);
    shape.attributes["WEIGHTS_" + number] = addPieces(d.weights[set]);
  }
  for (const MorphTarget& target : d.targets) {
    std::map<std::string, int>& to = shape.targets.emplace_back();
    if (!target.positions.empty()) to["POSITION"] = addPieces(target.positions);
    if (!target.normals.empty()) to["NORMAL"] = addPieces(target.normals);
    if (!target.tangents.empty()) to["TANGENT"] = addPieces(target.tangents);
  }
}

int GltfWriter::meshIndex(const ObjectState& object) {
  const NodeState* other = nullptr;
  const std::vector<int> materials = materialsOf(object, other);
  const Shape& shape = shapeOf(object);
  Json mesh{{"primitives", Json::array()}};
  for (std::size_t group = 0; group < shape.indices.size(); ++group) {
    Json primitive{{"attributes", shape.attributes}, {"indices", shape.indices[group]}};
    if (!shape.targets.empty()) primitive["targets"] = shape.targets;
    if (materials[group] >= 0) primitive["material"] = materials[group];
    mesh["primitives"].push_back(std::move(primitive));
  }
  return shared("meshes", std::move(mesh));
}

// ---- Skins and animations

int GltfWriter::skinIndex(const SkinPtr& skin) {
  const auto found = std::find(skins_.begin(), skins_.end(), skin);
  if (found == skins_.end()) skins_.push_back(skin);
  return static_cast<int>(std::find(skins_.begin(), skins_.end(), skin) - skins_.begin());
}

// A joint that is not in the document becomes a node that is in no scene.
void GltfWriter::writeSkins() {
  for (const SkinPtr& skin : skins_) {
    Json json{{"joints", Json::array()}};
    std::vector<std::array<float, 16>> matrices;
    for (std::size_t i = 0; i < skin->joints.size(); ++i) {
      const auto place = places_.find(skin->joints[i]);
      const bool there = place != places_.end() && place->second.contains("node");
      json["joints"].push_back(there ? place->second["node"]
                                     : Json(append("nodes", Json{{"name", "Lost Joint"}})));
      const Matrix& m = skin->inverseBind[i];
      const auto f = [](Real value) { return static_cast<float>(value); };
      matrices.push_back({f(m.v1.x), f(m.v1.y), f(m.v1.z), 0, f(m.v2.x), f(m.v2.y), f(m.v2.z), 0, f(m.v3.x),
                          f(m.v3.y), f(m.v3.z), 0, f(m.off.x), f(m.off.y), f(m.off.z), 1});
    }
    json["inverseBindMatrices"] = addAccessor(matrices, typeFloat, "MAT4", matrices.size());
    append("skins", std::move(json));
  }
}

void GltfWriter::writeAnimations() {
  if (document_.animationNames.empty()) return;
  std::vector<Json> animations;
  for (const std::string& name : document_.animationNames) {
    Json animation{{"channels", Json::array()}, {"samplers", Json::array()}};
    if (isUtf8(name) && !name.empty()) animation["name"] = name;
    animations.push_back(std::move(animation));
  }
  for (const ObjectState* object : objects_) {
    if (!object->tracks) continue;
    for (const Track& track : *object->tracks)
      if (track.animation < animations.size()) writeTrack(*object, track, animations[track.animation]);
  }
  root_["animations"] = std::move(animations);
}

void GltfWriter::writeTrack(const ObjectState& object, const Track& track, Json& animation) {
  static constexpr const char* paths[] = {"translation", "rotation", "scale", "weights"};
  static constexpr const char* kinds[] = {"STEP", "LINEAR", "CUBICSPLINE"};
  const auto& [input, output] = curveAccessors(track);
  Json sampler{{"input", input},
               {"output", output},
               {"interpolation", kinds[static_cast<int>(track.curve->interpolation)]}};
  animation["channels"].push_back(
      Json{{"sampler", animation["samplers"].size()},
           {"target",
            {{"node", places_[object.identity]["node"]}, {"path", paths[static_cast<int>(track.path)]}}}});
  animation["samplers"].push_back(std::move(sampler));
}

std::pair<int, int> GltfWriter::curveAccessors(const Track& track) {
  const auto known = curves_.find(track.curve.get());
  if (known != curves_.end()) return known->second;
  const Curve& curve = *track.curve;
  const int input = addAccessor(curve.times, typeFloat, "SCALAR", curve.times.size());
  if (!curve.times.empty()) {
    root_["accessors"].back()["min"] = Json::array({curve.times.front()});
    root_["accessors"].back()["max"] = Json::array({curve.times.back()});
  }
  const std::size_t width = track.path == TrackPath::weights ? 1 : curve.width;
  const int output = addAccessor(curve.values, typeFloat,
                                 width == 4   ? "VEC4"
                                 : width == 3 ? "VEC3"
                                              : "SCALAR",
                                 curve.values.size() / width);
  return curves_[&curve] = {input, output};
}

// ---- The document itself

void GltfWriter::writeDocumentPart() {
  const DocumentState& d = document_;
  Json extras{{"version", 1}};
  if (d.name.Content()) extras["name"] = textJson(d.name.GetUTF8());
  extras["fps"] = d.fps;
  extras["time"] = timeJson(d.time), extras["minTime"] = timeJson(d.minTime),
  extras["maxTime"] = timeJson(d.maxTime);
  extras["loopMinTime"] = timeJson(d.loopMinTime), extras["loopMaxTime"] = timeJson(d.loopMaxTime);
  extras["lod"] = d.lod;
  extras["posed"] = true;
  writeCommon(d, BaseContainer(), extras);
  extras["renderData"] = Json::array();
  for (const NodeState* data = d.renderData.first(); data; data = data->next) {
    if (data->identity == d.activeRenderData) extras["activeRenderData"] = extras["renderData"].size();
    Json json = entry(*data, false);
    for (const NodeState* post = static_cast<const RenderDataState*>(data)->posts.first(); post;
         post = post->next)
      json["videoPosts"].push_back(entry(*post));
    extras["renderData"].push_back(std::move(json));
  }
  writeViews(extras);
  putExtras(d, std::move(extras), root_);
}

void GltfWriter::writeViews(Json& extras) {
  int index = 0;
  for (const NodeState* node = document_.views.first(); node; node = node->next, ++index) {
    const auto& view = static_cast<const ViewState&>(*node);
    Json json = entry(view, false);
    if (view.camera != 0) json["camera"] = link(view.camera);
    json["frame"] = view.area;
    Json camera = entry(*view.editorCamera, false);
    camera["matrix"] = matrixJson(view.editorCamera->local);
    for (const NodeState* tag = view.editorCamera->tags.first(); tag; tag = tag->next)
      camera["tags"].push_back(entry(*tag));
    json["editorCamera"] = std::move(camera);
    if (&view == document_.activeView) extras["activeView"] = index;
    if (&view == document_.renderView) extras["renderView"] = index;
    extras["views"].push_back(std::move(json));
  }
}

// ---- The end

// References of nodes that nothing links to are taken out again.
void GltfWriter::dropRefs(Json& json) {
  if (json.is_object()) {
    const auto ref = json.find("ref");
    if (ref != json.end() && ref->is_string() && ref->get<std::string>().rfind('#', 0) == 0) {
      const auto known = refs_.find(std::stoull(ref->get<std::string>().substr(1)));
      if (known == refs_.end())
        json.erase(ref);
      else
        *ref = known->second;
    }
  }
  if (json.is_structured())
    for (Json& part : json)
      dropRefs(part);
}

void GltfWriter::dropAllRefs() {
  for (const char* list : {"nodes", "materials"})
    if (root_.contains(list))
      for (Json& item : root_[list])
        dropRefsOfOurs(item);
  dropRefsOfOurs(root_);
}

void GltfWriter::dropRefsOfOurs(Json& item) {
  if (!ours(item).is_null()) dropRefs(item["extras"]["lumenara"]);
}

void GltfWriter::finish() {
  dropAllRefs();
  if (!lights_.empty()) root_["extensions"]["KHR_lights_punctual"]["lights"] = lights_;
  if (!data_.empty()) root_["buffers"] = Json::array({Json{{"byteLength", data_.size()}}});
  std::vector<std::string> used;
  for (const char* list : {"nodes", "materials"})
    if (root_.contains(list))
      for (const Json& item : root_[list])
        for (const auto& [name, part] : member(item, "extensions").items())
          used.push_back(name);
  if (root_.contains("materials") &&
      root_["materials"].dump().find("KHR_texture_transform") != std::string::npos)
    used.emplace_back("KHR_texture_transform");
  std::sort(used.begin(), used.end());
  used.erase(std::unique(used.begin(), used.end()), used.end());
  if (!used.empty()) root_["extensionsUsed"] = used;
}

} // namespace host
