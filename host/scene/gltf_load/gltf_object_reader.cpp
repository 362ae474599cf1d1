#include "gltf_object_reader.h"

#include <algorithm>
#include <cmath>

#include "gltf_derive.h"
#include "gltf_placements.h"
#include "gltf_tree.h"
#include "parameters.h"

namespace host {

namespace {

int checked(int index, std::size_t count, const char* what) {
  if (index < -1 || (index >= 0 && static_cast<std::size_t>(index) >= count))
    throw SceneError(std::string("it refers to ") + what + " " + std::to_string(index) +
                     ", which is not in it");
  return index;
}

void setTransform(const tinygltf::Node& node, ObjectState& object) {
  if (node.matrix.size() == 16) {
    const auto& m = node.matrix;
    object.local = {Vector(m[12], m[13], m[14]), Vector(m[0], m[1], m[2]), Vector(m[4], m[5], m[6]),
                    Vector(m[8], m[9], m[10])};
    return;
  }
  const auto &t = node.translation, &r = node.rotation, &s = node.scale;
  if (t.size() != 3 && r.size() != 4 && s.size() != 3) return;
  Pose pose;
  if (t.size() == 3) pose.translation = {t[0], t[1], t[2]};
  if (r.size() == 4) pose.rotation = {r[0], r[1], r[2], r[3]};
  if (s.size() == 3) pose.scale = {s[0], s[1], s[2]};
  object.pose = pose;
  object.local = matrixOf(pose);
}

void addTracks(const std::map<int, Tracks>& list, int index, ObjectState& object) {
  const auto found = list.find(index);
  if (found == list.end()) return;
  Tracks tracks = object.tracks ? *object.tracks : Tracks();
  tracks.insert(tracks.end(), found->second.begin(), found->second.end());
  object.tracks = std::make_shared<const Tracks>(std::move(tracks));
}

} // namespace

void ObjectReader::makeObjects(NodeList& objects) {
  const NodeTree tree = checkTree(file_, context_.options.limits.depth);
  identities_ = extras_.nodes();
  primary_.assign(identities_.size(), nullptr);
  content_ = primary_;
  tracks_ = readTracks(file_, context_);
  context_.progress(0.55);
  numberCameras(tree.roots);
  for (const int root : tree.roots)
    objects.append(*makeObjectOf(root));
  bindSkins();
}

void ObjectReader::applyExtras() {
  for (std::size_t i = 0; i < primary_.size(); ++i)
    if (primary_[i]) applyExtras(i);
}

ObjectReader::Contents ObjectReader::contentsOf(std::size_t index) const {
  const tinygltf::Node& node = file_.model.nodes[index];
  Contents contents;
  contents.mesh = checked(node.mesh, file_.model.meshes.size(), "mesh");
  contents.camera = checked(node.camera, file_.model.cameras.size(), "camera");
  contents.light =
      indexIn(extension(json(index), "KHR_lights_punctual"), "light", countOf(lightList()), "light");
  return contents;
}

LONG ObjectReader::typeOf(std::size_t index, const Contents& contents) {
  const LONG given = longIn(ours(json(index)), "type");
  if (given != 0 && isKnownType(NodeKind::object, given)) return given;
  if (given != 0)
    context_.warn("Node " + std::to_string(index) + " is an object of the unknown type " +
                  std::to_string(given) + " and became a null; a newer version may know it.");
  if (contents.mesh >= 0) return Opolygon;
  const bool moves = tracks_.nodes.contains(static_cast<int>(index));
  if (contents.camera >= 0) return !moves && contents.light < 0 ? Ocamera : Onull;
  return contents.light >= 0 ? Olight : Onull;
}

ObjectState* ObjectReader::makeObjectOf(int node) {
  const auto index = static_cast<std::size_t>(node);
  const Contents contents = contentsOf(index);
  const LONG type = typeOf(index, contents);
  NodePtr<ObjectState> object(makeObject(type));
  object->name = String(nameOf(index, contents, type));
  object->identity = identities_[index];
  setTransform(file_.model.nodes[index], *object);
  addTracks(tracks_.nodes, node, *object);
  primary_[index] = content_[index] = object.get();
  extras_.addName(object->name.GetUTF8(), object->identity);
  addContents(index, contents, *object);
  for (const int child : file_.model.nodes[index].children)
    object->children.append(*makeObjectOf(child));
  return object.release();
}

// Unnamed cameras get numbers, in the order of the tree, unless "Camera" is unique.
void ObjectReader::numberCameras(const std::vector<int>& roots) {
  std::vector<std::size_t> unnamed;
  std::set<std::string> taken;
  const auto visit = [&](const auto& self, const std::vector<int>& list) -> void {
    for (const int node : list) {
      const auto index = static_cast<std::size_t>(node);
      const Contents contents = contentsOf(index);
      const std::string name = givenName(index, contents);
      if (!name.empty())
        taken.insert(name);
      else if (contents.camera >= 0)
        unnamed.push_back(index);
      self(self, file_.model.nodes[index].children);
    }
  };
  visit(visit, roots);
  if (unnamed.size() < 2 && !taken.contains("Camera")) return;
  int number = 0;
  for (const std::size_t index : unnamed) {
    do
      cameraName_[index] = "Camera " + std::to_string(++number);
    while (taken.contains(cameraName_[index]));
  }
}

// The name of the node, else of its mesh, camera or light; may be empty.
std::string ObjectReader::givenName(std::size_t index, const Contents& contents) const {
  const std::string& own = file_.model.nodes[index].name;
  if (!own.empty()) return own;
  std::string other;
  if (contents.mesh >= 0) other = file_.model.meshes[static_cast<std::size_t>(contents.mesh)].name;
  if (other.empty() && contents.camera >= 0)
    other = file_.model.cameras[static_cast<std::size_t>(contents.camera)].name;
  if (other.empty() && contents.light >= 0)
    other = textIn(element(lightList(), static_cast<std::size_t>(contents.light)), "name");
  return other;
}

std::string ObjectReader::nameOf(std::size_t index, const Contents& contents, LONG type) const {
  if (std::string given = givenName(index, contents); !given.empty()) return given;
  if (const auto numbered = cameraName_.find(index); numbered != cameraName_.end()) return numbered->second;
  if (contents.camera >= 0) return "Camera";
  switch (type) {
  case Opolygon:
    return "Polygon";
  case Olight:
    return "Light";
  case Osds:
    return "Subdivision";
  case Osky:
    return "Sky";
  case Ofloor:
    return "Floor";
  default:
    return "Null";
  }
}

// Contents go into the object itself if it has their type, else into a child.
void ObjectReader::addContents(std::size_t index, const Contents& contents, ObjectState& object) {
  const auto holder = [&](LONG type) -> ObjectState& {
    if (object.type == type) return object;
    ObjectState* child = makeObject(type);
    child->name = object.name;
    object.children.append(*child);
    return *child;
  };
  if (contents.mesh >= 0) fillMesh(index, contents.mesh, holder(Opolygon));
  if (contents.camera >= 0) {
    ObjectState& camera = holder(Ocamera);
    camera.data =
        cameraParameters(element(member(file_.root, "cameras"), static_cast<std::size_t>(contents.camera)));
    addTracks(tracks_.cameras, contents.camera, camera);
    if (&camera != &object && object.type == Onull && contents.mesh < 0) becomeContent(index, camera);
  }
  if (contents.light >= 0) {
    ObjectState& light = holder(Olight);
    light.data = lightParameters(element(lightList(), static_cast<std::size_t>(contents.light)));
    addTracks(tracks_.lights, contents.light, light);
  }
}

// The camera below an animated null takes over the node's links and name.
void ObjectReader::becomeContent(std::size_t index, ObjectState& camera) {
  ObjectState& null = *primary_[index];
  content_[index] = &camera;
  camera.identity = extras_.nodes()[index];
  identities_[index] = null.identity = newIdentity();
  extras_.replaceName(camera.name.GetUTF8(), camera.identity);
  null.name += String(" Motion");
}

NodeState& ObjectReader::addTexture(ObjectState& object, int material, LONG group) {
  NodeState* tag = makeNode(NodeKind::tag, Ttexture);
  tag->data.SetBaseLink(param::textureMaterial,
                        BaseLink::FromIdentity(extras_.materials()[static_cast<std::size_t>(material)]));
  tag->data.SetLong(param::textureGroup, group);
  object.tags.append(*tag);
  return *tag;
}

void ObjectReader::fillMesh(std::size_t index, int mesh, ObjectState& object) {
  const LoadedMesh loaded = meshes_.read(mesh);
  object.mesh = loaded.mesh;
  object.deformation = loaded.deformation;
  object.weights = loaded.weights;
  const auto& weights = file_.model.nodes[index].weights;
  for (std::size_t i = 0; i < std::min(weights.size(), object.weights.size()); ++i)
    if (const auto weight = static_cast<float>(weights[i]); std::isfinite(weight)) object.weights[i] = weight;
  for (std::size_t group = 0; group < loaded.materials.size(); ++group)
    if (loaded.materials[group] >= 0) addTexture(object, loaded.materials[group], static_cast<LONG>(group));
  for (const VariantMaterial& variant : loaded.variants) {
    NodeState& tag = addTexture(object, variant.material, variant.group);
    tag.data.SetLong(param::textureVariant, variant.variant);
    tag.name = String(variant.name);
  }
  object.placements = readPlacements(file_, json(index), context_);
  meshObjects_.emplace_back(index, &object);
  context_.progress(0.55 + 0.4 * static_cast<double>(meshObjects_.size()) /
                               static_cast<double>(file_.model.nodes.size()));
}

void ObjectReader::bindSkins() {
  std::map<int, SkinPtr> skins;
  for (const auto& [index, object] : meshObjects_) {
    const int skin = file_.model.nodes[index].skin;
    if (skin == -1) continue;
    SkinPtr& shared = skins[skin];
    if (!shared) shared = readSkin(file_, skin, identities_, context_);
    object->skin = shared;
  }
}

void ObjectReader::applyExtras(std::size_t index) {
  keepForeign(json(index), *primary_[index]);
  const Json& extras = ours(json(index));
  if (!extras.is_object()) return;
  ObjectState& object = *content_[index];
  extras_.applyCommon(extras, object);
  object.deform = flagIn(extras, "deform", true);
  const int image = indexIn(extras, "image", file_.images.size(), "picture");
  if (image >= 0) object.picture = file_.images[static_cast<std::size_t>(image)];
  if (flagIn(extras, "replaceTags"))
    while (object.tags.first())
      destroyNode(object.tags.first());
  extras_.appendEntries(extras, "tags", NodeKind::tag, object.tags);
}

} // namespace host
