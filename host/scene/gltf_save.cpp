// From a document to a glTF file. What glTF has no word for goes into extras; every word that is written is
// read back here, and extras hold the difference, so that nothing is lost and nothing stands twice.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>

#include "atomic_file.h"
#include "gltf_derive.h"
#include "gltf_file.h"
#include "gltf_values.h"
#include "parameters.h"

namespace host {

namespace {

// How far a save is: collecting the meshes, then writing the file.
using Progress = std::function<void(double)>;
constexpr double collected = 0.3, written = 0.95;
constexpr std::size_t writtenAtOnce = std::size_t{4} << 20;

constexpr int typeFloat = TINYGLTF_COMPONENT_TYPE_FLOAT, typeShort = TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT,
              typeInt = TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;

class Writer {
 public:
  Writer(const DocumentState& document, const Progress& progress)
      : document_(document), progress_(progress) {}

  Json write() {
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
  Bytes& data() { return data_; }

 private:
  // --- numbers ---

  // Objects get the numbers of their nodes, in document order.
  void number(const NodeList& list) {
    for (const NodeState* node = list.first(); node; node = node->next) {
      places_[node->identity] = Json{{"node", objects_.size()}};
      objects_.push_back(static_cast<const ObjectState*>(node));
      number(node->children);
    }
  }

  LinkWriter links() {
    return [this](Identity identity) { return link(identity); };
  }

  // A node without a number of its own is named by a reference.
  Json link(Identity identity) {
    if (identity == 0) return nullptr;
    const auto found = places_.find(identity);
    if (found != places_.end()) return found->second;
    if (!findNode(document_, identity)) return nullptr;
    return Json{{"ref", refOf(identity)}};
  }

  std::string refOf(Identity identity) {
    return refs_.try_emplace(identity, "r" + std::to_string(refs_.size() + 1)).first->second;
  }

  template <class T>
  int addView(const std::vector<T>& values, int target = 0) {
    return addView(std::as_bytes(std::span(values)), target);
  }
  int addView(std::span<const std::byte> bytes, int target = 0) {
    data_.resize((data_.size() + 3) & ~std::size_t{3});
    Json view{{"buffer", 0}, {"byteOffset", data_.size()}, {"byteLength", bytes.size()}};
    if (target != 0) view["target"] = target;
    data_.insert(data_.end(), bytes.begin(), bytes.end());
    return append("bufferViews", std::move(view));
  }

  int append(const char* list, Json value) {
    root_[list].push_back(std::move(value));
    return static_cast<int>(root_[list].size()) - 1;
  }

  template <class T>
  int addAccessor(const std::vector<T>& values, int component, const char* type, std::size_t count,
                  int target = 0) {
    Json accessor{{"componentType", component}, {"count", count}, {"type", type}};
    if (count > 0) accessor["bufferView"] = addView(values, target);
    return append("accessors", std::move(accessor));
  }

  template <std::size_t N>
  int addPieces(const std::vector<std::array<float, N>>& values, int target = TINYGLTF_TARGET_ARRAY_BUFFER) {
    static constexpr const char* types[] = {"", "SCALAR", "VEC2", "VEC3", "VEC4"};
    return addAccessor(values, typeFloat, types[N], values.size(), target);
  }

  // --- pictures, textures, materials ---

  int pictureIndex(const PicturePtr& picture) {
    const auto known = pictures_.find(picture->id);
    if (known != pictures_.end()) return known->second;
    Json image = Json::object();
    if (isUtf8(picture->name)) image["name"] = picture->name;
    if (!picture->mimeType.empty()) image["mimeType"] = picture->mimeType;
    if (picture->bytes) {
      image["bufferView"] = addView(*picture->bytes);
      if (!picture->uri.empty()) image["extras"]["lumenara"]["uri"] = textJson(picture->uri);
    } else {
      image["uri"] = isUtf8(picture->uri) ? picture->uri : "";
    }
    const int index = append("images", std::move(image));
    pictures_.emplace(picture->id, index);
    return index;
  }

  int textureIndex(const ShaderState& bitmap) {
    Json texture = Json::object();
    if (bitmap.picture) texture["source"] = pictureIndex(bitmap.picture);
    if (Json sampler = samplerJson(bitmap); !sampler.is_null())
      texture["sampler"] = shared("samplers", std::move(sampler));
    return shared("textures", std::move(texture));
  }

  // The same value stands in a list once.
  int shared(const char* list, Json value) {
    const std::string key = list + value.dump();
    const auto known = shared_.find(key);
    if (known != shared_.end()) return known->second;
    const int index = append(list, std::move(value));
    shared_.emplace(key, index);
    return index;
  }

  // What every node of ours carries, against what the file's own words give.
  void writeCommon(const NodeState& node, const BaseContainer& derived, Json& to) {
    if (node.bits != 0) to["bits"] = node.bits;
    writeDifference(derived, node.data, links(), to);
  }

  Json entry(const NodeState& node, bool withType = true) {
    Json to = Json::object();
    if (withType) to["type"] = node.type;
    if (!node.name.GetUTF8().empty()) to["name"] = textJson(node.name.GetUTF8());
    writeCommon(node, BaseContainer(), to);
    to["ref"] = refPlaceholder(node.identity);
    return to;
  }

  // Only a node that something links to keeps its reference: see `dropRefs`.
  static std::string refPlaceholder(Identity identity) { return "#" + std::to_string(identity); }

  Json shaderEntry(const ShaderState& shader) {
    Json to = entry(shader);
    if (shader.picture) to["image"] = pictureIndex(shader.picture);
    for (const NodeState* child = shader.children.first(); child; child = child->next)
      to["children"].push_back(shaderEntry(static_cast<const ShaderState&>(*child)));
    return to;
  }

  static const NodeState* shaderOf(const MaterialState& material, int slot) {
    const Identity wanted = material.shaderSlots[static_cast<std::size_t>(slot)];
    for (const NodeState* shader = wanted ? material.shaders.first() : nullptr; shader; shader = shader->next)
      if (shader->identity == wanted) return shader;
    return nullptr;
  }

  // Whether loading glTF's own texture references gives exactly this shader list.
  static bool isPlain(const MaterialState& material) {
    const NodeState* shader = material.shaders.first();
    for (const TextureSlot& place : textureSlots()) {
      const NodeState* in = shaderOf(material, place.slot);
      if (!in) continue;
      if (in != shader || !isPlainBitmap(*in)) return false;
      shader = shader->next;
    }
    for (const int slot : {CHANNEL_ENVIRONMENT, CHANNEL_BUMP, CHANNEL_ALPHA, CHANNEL_DISPLACEMENT})
      if (shaderOf(material, slot)) return false;
    return shader == nullptr;
  }

  static bool isPlainBitmap(const NodeState& shader) {
    const auto& bitmap = static_cast<const ShaderState&>(shader);
    if (shader.type != Xbitmap || shader.bits != 0 || !bitmap.picture || shader.children.first())
      return false;
    return shader.name.GetUTF8() == bitmap.picture->name &&
           shader.data == bitmapParameters(textureInfoJson(shader), samplerJson(shader));
  }

  void writeMaterials() {
    for (const NodeState* node = document_.materials.first(); node; node = node->next) {
      const auto& material = static_cast<const MaterialState&>(*node);
      Json json = materialJson(material);
      Json extras = Json::object();
      putName(material, json, extras);
      const bool plain = isPlain(material);
      for (const TextureSlot& place : textureSlots()) {
        const NodeState* shader = shaderOf(material, place.slot);
        if (!shader || shader->type != Xbitmap || !static_cast<const ShaderState*>(shader)->picture) continue;
        Json info = textureInfoJson(*shader);
        info["index"] = textureIndex(static_cast<const ShaderState&>(*shader));
        putStrengths(material, place, info);
        textureInfo(json, place) = std::move(info);
      }
      writeCommon(material, materialParameters(json), extras);
      if (!plain) writeShaders(material, extras);
      putExtras(material, std::move(extras), json);
      append("materials", std::move(json));
    }
  }

  static void putStrengths(const MaterialState& material, const TextureSlot& place, Json& info) {
    const auto put = [&](const char* key, LONG id) {
      const GeData& value = material.data.GetData(id);
      if (value.GetType() == DA_REAL && std::isfinite(value.GetReal())) info[key] = value.GetReal();
    };
    if (place.slot == CHANNEL_NORMAL) put("scale", param::normalScale);
    if (place.slot == CHANNEL_DIFFUSION) put("strength", param::occlusionStrength);
  }

  void writeShaders(const MaterialState& material, Json& extras) {
    std::map<Identity, int> indices;
    extras["shaders"] = Json::array();
    for (const NodeState* shader = material.shaders.first(); shader; shader = shader->next) {
      indices.emplace(shader->identity, static_cast<int>(indices.size()));
      extras["shaders"].push_back(shaderEntry(static_cast<const ShaderState&>(*shader)));
    }
    Json& slots = extras["slots"];
    for (int slot = 0; slot < slotCount; ++slot)
      if (const NodeState* shader = shaderOf(material, slot))
        slots[std::to_string(slot)] = indices[shader->identity];
    if (slots.is_null()) slots = Json::object();
  }

  static void putName(const NodeState& node, Json& json, Json& extras) {
    const std::string& name = node.name.GetUTF8();
    if (!name.empty() && isUtf8(name))
      json["name"] = name;
    else if (!name.empty() || node.kind == NodeKind::object)
      extras["name"] = textJson(name);
  }

  static void putExtras(const NodeState& node, Json extras, Json& json) {
    if (node.foreignExtras) json["extras"] = parseJson(*node.foreignExtras);
    if (extras.empty()) return;
    if (!json["extras"].is_object()) json["extras"] = Json::object();
    json["extras"]["lumenara"] = std::move(extras);
  }

  // --- objects ---

  void writeObjects() {
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
      if (progress_) progress_(collected * done / all);
    }
  }

  void writeObject(const ObjectState& object) {
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

  static bool needsType(const ObjectState& object) {
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

  static Json weightsJson(const std::vector<float>& weights) {
    Json numbers = Json::array();
    for (const float weight : weights)
      numbers.push_back(std::isfinite(weight) ? static_cast<double>(weight) : 0.0);
    return numbers;
  }

  static void writeTransform(const ObjectState& object, Json& json) {
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

  // The material that a texture tag of a mesh gives a primitive, when loading would make just this tag.
  int plainMaterial(const NodeState& tag, std::size_t groups) {
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
  std::vector<int> materialsOf(const ObjectState& object, const NodeState*& firstOther) {
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

  void writeTags(const ObjectState& object, Json& extras) {
    const NodeState* tag = object.tags.first();
    if (object.mesh && object.type == Opolygon) materialsOf(object, tag);
    for (; tag; tag = tag->next)
      extras["tags"].push_back(entry(*tag));
  }

  // --- meshes ---

  struct Shape {
    std::map<std::string, int> attributes;
    std::vector<std::map<std::string, int>> targets;
    std::vector<int> indices; // of each group
  };

  Shape& shapeOf(const ObjectState& object) {
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
  void putBounds(const Mesh& mesh) {
    Json& accessor = root_["accessors"].back();
    accessor["min"] = mesh.low;
    accessor["max"] = mesh.high;
  }

  void addDeformation(const Deformation& d, Shape& shape) {
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

  int meshIndex(const ObjectState& object) {
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

  // --- skins and animations ---

  int skinIndex(const SkinPtr& skin) {
    const auto found = std::find(skins_.begin(), skins_.end(), skin);
    if (found == skins_.end()) skins_.push_back(skin);
    return static_cast<int>(std::find(skins_.begin(), skins_.end(), skin) - skins_.begin());
  }

  // A joint that is not in the document becomes a node that is in no scene.
  void writeSkins() {
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

  void writeAnimations() {
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

  void writeTrack(const ObjectState& object, const Track& track, Json& animation) {
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

  std::pair<int, int> curveAccessors(const Track& track) {
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

  // --- the document itself ---

  void writeDocumentPart() {
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

  void writeViews(Json& extras) {
    int index = 0;
    for (const NodeState* node = document_.views.first(); node; node = node->next, ++index) {
      const auto& view = static_cast<const ViewState&>(*node);
      Json json = entry(view, false);
      if (view.camera != 0) json["camera"] = link(view.camera);
      json["frame"] = view.frame;
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

  // --- the end ---

  // References of nodes that nothing links to are taken out again.
  void dropRefs(Json& json) {
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

  void dropAllRefs() {
    for (const char* list : {"nodes", "materials"})
      if (root_.contains(list))
        for (Json& item : root_[list])
          dropRefsOfOurs(item);
    dropRefsOfOurs(root_);
  }
  void dropRefsOfOurs(Json& item) {
    if (!ours(item).is_null()) dropRefs(item["extras"]["lumenara"]);
  }

  void finish() {
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

  const DocumentState& document_;
  const Progress& progress_;
  Json root_ = Json::object();
  Json lights_ = Json::array();
  Bytes data_;
  std::vector<const ObjectState*> objects_;
  std::unordered_map<Identity, Json> places_;      // links to objects and materials
  std::unordered_map<Identity, std::string> refs_; // of other nodes that something links to
  std::unordered_map<Identity, int> pictures_;
  std::unordered_map<std::string, int> shared_;
  std::map<std::pair<Identity, Identity>, Shape> shapes_;
  std::map<const Curve*, std::pair<int, int>> curves_;
  std::vector<SkinPtr> skins_;
};

void putWord(Bytes& to, std::size_t value) {
  for (int i = 0; i < 4; ++i)
    to.push_back(static_cast<std::byte>((value >> (8 * i)) & 255));
}

Bytes binaryFile(const Json& root, const Bytes& data) {
  std::string text = root.dump();
  text.resize((text.size() + 3) & ~std::size_t{3}, ' ');
  const std::size_t padded = (data.size() + 3) & ~std::size_t{3};
  const std::size_t length = 12 + 8 + text.size() + (data.empty() ? 0 : 8 + padded);
  if (length > 0xFFFFFFFFU) throw SceneError("it is larger than 4 GB", "Split the scene into smaller ones.");
  Bytes file;
  file.reserve(length);
  putWord(file, 0x46546C67), putWord(file, 2), putWord(file, length);
  putWord(file, text.size()), putWord(file, 0x4E4F534A);
  const auto bytes = std::as_bytes(std::span(text));
  file.insert(file.end(), bytes.begin(), bytes.end());
  if (data.empty()) return file;
  putWord(file, padded), putWord(file, 0x004E4942);
  file.insert(file.end(), data.begin(), data.end());
  file.resize(length);
  return file;
}

Bytes textFile(Json root, const Bytes& data) {
  if (!data.empty()) root["buffers"][0]["uri"] = "data:application/octet-stream;base64," + toBase64(data);
  const std::string text = root.dump(1) + "\n";
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

Bytes fileOf(const BaseDocument& document, bool binary, const Progress& progress) {
  const DocumentState& state = *stateOf(&document);
  const std::lock_guard lock(state.mutex);
  Writer writer(state, progress);
  Json root = writer.write();
  return binary ? binaryFile(root, writer.data()) : textFile(std::move(root), writer.data());
}

Bytes guardedFileOf(const BaseDocument& document, bool binary, const Progress& progress, std::string* error) {
  std::string why;
  try {
    return fileOf(document, binary, progress);
  } catch (const SceneError& problem) {
    why = std::string(problem.what()) + ". " + problem.advice;
  } catch (const std::bad_alloc&) {
    why = "there is not enough memory. Close other programs, then save again.";
  } catch (const std::exception& problem) {
    why = std::string(problem.what()) + ".";
  }
  if (error) *error = "The scene cannot be saved: " + why;
  return {};
}

// Replaces the file, piece by piece so that it can be told how far it is. `why` says why not.
bool writeFile(const Filename& target, const Bytes& bytes, const Progress& progress, std::string& why) {
  AtomicFile file(target);
  bool good = file.open();
  for (std::size_t at = 0; good && at < bytes.size(); at += writtenAtOnce) {
    if (progress)
      progress(collected +
               (written - collected) * static_cast<double>(at) / static_cast<double>(bytes.size()));
    good = file.write(bytes.data() + at, std::min(writtenAtOnce, bytes.size() - at));
  }
  if (good && progress) progress(written);
  good = good && file.commit();
  if (good && progress) progress(1);
  if (!good) why = file.error();
  return good;
}

} // namespace

std::vector<std::byte> saveDocumentToMemory(const BaseDocument& document, bool binary, std::string* error) {
  return guardedFileOf(document, binary, {}, error);
}

bool saveDocument(const BaseDocument& document, const Filename& file, std::string* error,
                  const std::function<void(double)>& progress) {
  const std::string name = "\"" + file.GetString().GetUTF8() + "\"";
  const bool binary = file.CheckSuffix("glb");
  if (!binary && !file.CheckSuffix("gltf")) {
    if (error)
      *error = "The scene cannot be saved as " + name + ": choose a name that ends in .glb or .gltf.";
    return false;
  }
  const Bytes bytes = guardedFileOf(document, binary, progress, error);
  if (bytes.empty()) return false;
  std::string why;
  if (writeFile(file, bytes, progress, why)) return true;
  if (error)
    *error = "The scene cannot be saved as " + name + ": " + why + ". Choose another folder, or make room.";
  return false;
}

} // namespace host
