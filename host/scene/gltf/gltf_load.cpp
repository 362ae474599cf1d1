#include "gltf_load.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "document.h"
#include "evaluate.h"
#include "gltf_derive.h"
#include "gltf_meshes.h"
#include "gltf_tracks.h"
#include "gltf_tree.h"
#include "gltf_values.h"
#include "parameters.h"

namespace host {

namespace {

LONG longIn(const Json& from, const char* key, LONG preset = 0) {
  const Json& value = member(from, key);
  return value.is_number_integer() ? static_cast<LONG>(value.get<std::int64_t>()) : preset;
}

class DocumentBuilder {
 public:
  DocumentBuilder(const GltfFile& file, LoadContext& context)
      : file_(file), context_(context), meshes_(file, context),
        document_(static_cast<DocumentState*>(makeNode(NodeKind::document, 0))) {}

  NodePtr<DocumentState> build() {
    const NodeTree tree = checkTree(file_, context_.options.limits.depth);
    const std::size_t nodes = file_.model.nodes.size();
    primary_.assign(nodes, nullptr);
    content_.assign(nodes, nullptr);
    for (std::size_t i = 0; i < nodes; ++i)
      linkIdentity_.push_back(newIdentity());
    primaryIdentity_ = linkIdentity_;
    tracks_ = readTracks(file_, context_);
    context_.progress(0.55);
    nameRefs();
    makeMaterials();
    numberCameras(tree.roots);
    for (const int root : tree.roots)
      document_->children.append(*makeNodeObject(root));
    bindSkins();
    for (std::size_t i = 0; i < nodes; ++i)
      if (primary_[i]) applyExtras(i);
    buildMaterials();
    buildDocumentPart();
    noteOddities();
    context_.progress(1);
    return std::move(document_);
  }

 private:
  // --- links ---

  Identity refIdentity(const std::string& ref) { return refs_.try_emplace(ref, newIdentity()).first->second; }

  // The identity that a reference stands for goes to the first that bears its name.
  void takeRef(const Json& from, NodeState& node) {
    const std::string ref = textIn(from, "ref");
    if (!ref.empty() && taken_.insert(ref).second) node.identity = refIdentity(ref);
  }

  void nameRefs() {
    const Json& nodes = member(file_.root, "nodes");
    for (std::size_t i = 0; i < linkIdentity_.size(); ++i)
      if (const std::string ref = textIn(ours(element(nodes, i)), "ref"); !ref.empty())
        refs_.emplace(ref, linkIdentity_[i]), taken_.insert(ref);
    const Json& materials = member(file_.root, "materials");
    for (std::size_t i = 0; i < countOf(materials); ++i) {
      materialIdentity_.push_back(newIdentity());
      if (const std::string ref = textIn(ours(materials[i]), "ref"); !ref.empty())
        refs_.emplace(ref, materialIdentity_.back()), taken_.insert(ref);
    }
  }

  Identity link(const Json& value) {
    const auto at = [&](const char* key, const std::vector<Identity>& list) -> Identity {
      const Json& index = member(value, key);
      return index.is_number_unsigned() && index.get<std::uint64_t>() < list.size()
                 ? list[index.get<std::size_t>()]
                 : 0;
    };
    if (const Identity node = at("node", linkIdentity_)) return node;
    if (const Identity material = at("material", materialIdentity_)) return material;
    if (const Json& ref = member(value, "ref"); ref.is_string()) return refIdentity(ref.get<std::string>());
    if (const Json& name = member(value, "name"); name.is_string()) {
      const auto found = firstOfName_.find(name.get<std::string>());
      if (found != firstOfName_.end()) return found->second;
    }
    return 0;
  }
  LinkReader links() {
    return [this](const Json& value) { return link(value); };
  }

  // What every node of ours may carry.
  void applyCommon(const Json& from, NodeState& node) {
    if (const Json& name = member(from, "name"); !name.is_null()) node.name = String(textOf(name));
    node.bits = longIn(from, "bits");
    applyDifference(from, links(), node.data);
  }

  // A node that is nothing but an entry of ours.
  NodeState* makeEntry(NodeKind kind, const Json& from) {
    const LONG type = longIn(from, "type");
    if (!isKnownType(kind, type)) return nullptr;
    NodeState* node = makeNode(kind, type);
    takeRef(from, *node);
    applyCommon(from, *node);
    return node;
  }

  void keepForeign(const Json& json, NodeState& node) {
    const Json& extras = member(json, "extras");
    if (extras.is_null()) return;
    Json foreign = extras;
    if (foreign.is_object()) foreign.erase("lumenara");
    if (foreign.is_object() && foreign.empty()) return;
    node.foreignExtras =
        std::make_shared<const std::string>(foreign.dump(-1, ' ', false, Json::error_handler_t::replace));
  }

  // --- objects ---

  struct Contents {
    int mesh = -1, camera = -1, light = -1;
  };

  Contents contentsOf(std::size_t index) const {
    const tinygltf::Node& node = file_.model.nodes[index];
    const Json& json = element(member(file_.root, "nodes"), index);
    Contents contents;
    contents.mesh = checked(node.mesh, file_.model.meshes.size(), "mesh");
    contents.camera = checked(node.camera, file_.model.cameras.size(), "camera");
    contents.light = indexIn(extension(json, "KHR_lights_punctual"), "light", countOf(lightList()), "light");
    return contents;
  }

  static int checked(int index, std::size_t count, const char* what) {
    if (index < -1 || (index >= 0 && static_cast<std::size_t>(index) >= count))
      throw SceneError(std::string("it refers to ") + what + " " + std::to_string(index) +
                       ", which is not in it");
    return index;
  }

  const Json& lightList() const { return member(extension(file_.root, "KHR_lights_punctual"), "lights"); }

  LONG typeOf(std::size_t index, const Contents& contents) {
    const LONG given = longIn(ours(element(member(file_.root, "nodes"), index)), "type");
    if (given != 0 && isKnownType(NodeKind::object, given)) return given;
    if (given != 0)
      context_.warn("Node " + std::to_string(index) + " is an object of the unknown type " +
                    std::to_string(given) + " and became a null; a newer version may know it.");
    if (contents.mesh >= 0) return Opolygon;
    const auto found = tracks_.find(static_cast<int>(index));
    if (contents.camera >= 0) return found == tracks_.end() && contents.light < 0 ? Ocamera : Onull;
    return contents.light >= 0 ? Olight : Onull;
  }

  ObjectState* makeNodeObject(int node) {
    const auto index = static_cast<std::size_t>(node);
    const Contents contents = contentsOf(index);
    const LONG type = typeOf(index, contents);
    NodePtr<ObjectState> object(makeObject(type));
    object->name = String(nameOf(index, contents, type));
    object->identity = primaryIdentity_[index];
    setTransform(file_.model.nodes[index], *object);
    if (const auto found = tracks_.find(node); found != tracks_.end())
      object->tracks = std::make_shared<const Tracks>(found->second);
    primary_[index] = content_[index] = object.get();
    firstOfName_.try_emplace(object->name.GetUTF8(), object->identity);
    addContents(index, contents, *object);
    for (const int child : file_.model.nodes[index].children)
      object->children.append(*makeNodeObject(child));
    return object.release();
  }

  // Cameras without a name get numbers, in the order of the tree, where "Camera" alone would not tell them
  // apart.
  void numberCameras(const std::vector<int>& roots) {
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
  std::string givenName(std::size_t index, const Contents& contents) const {
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

  std::string nameOf(std::size_t index, const Contents& contents, LONG type) const {
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
  void addContents(std::size_t index, const Contents& contents, ObjectState& object) {
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
      if (&camera != &object && object.type == Onull && contents.mesh < 0) becomeContent(index, camera);
    }
    if (contents.light >= 0)
      holder(Olight).data = lightParameters(element(lightList(), static_cast<std::size_t>(contents.light)));
  }

  // The camera below an animated null takes over the node's links and name.
  void becomeContent(std::size_t index, ObjectState& camera) {
    ObjectState& null = *primary_[index];
    content_[index] = &camera;
    camera.identity = linkIdentity_[index];
    primaryIdentity_[index] = null.identity = newIdentity();
    firstOfName_[camera.name.GetUTF8()] = camera.identity;
    null.name += String(" Motion");
  }

  void fillMesh(std::size_t index, int mesh, ObjectState& object) {
    const LoadedMesh loaded = meshes_.read(mesh);
    object.mesh = loaded.mesh;
    object.deformation = loaded.deformation;
    object.weights = loaded.weights;
    const auto& weights = file_.model.nodes[index].weights;
    for (std::size_t i = 0; i < std::min(weights.size(), object.weights.size()); ++i)
      if (const auto weight = static_cast<float>(weights[i]); std::isfinite(weight))
        object.weights[i] = weight;
    for (std::size_t group = 0; group < loaded.materials.size(); ++group) {
      if (loaded.materials[group] < 0) continue;
      NodeState* tag = makeNode(NodeKind::tag, Ttexture);
      tag->data.SetBaseLink(
          param::textureMaterial,
          BaseLink::FromIdentity(materialIdentity_[static_cast<std::size_t>(loaded.materials[group])]));
      tag->data.SetLong(param::textureGroup, static_cast<LONG>(group));
      object.tags.append(*tag);
    }
    skinned_.emplace_back(index, &object);
    context_.progress(0.55 + 0.4 * static_cast<double>(++meshesDone_) /
                                 static_cast<double>(file_.model.nodes.size()));
  }

  static void setTransform(const tinygltf::Node& node, ObjectState& object) {
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

  void bindSkins() {
    std::map<int, SkinPtr> skins;
    for (const auto& [index, object] : skinned_) {
      const int skin = file_.model.nodes[index].skin;
      if (skin == -1) continue;
      SkinPtr& shared = skins[skin];
      if (!shared) shared = readSkin(file_, skin, primaryIdentity_, context_);
      object->skin = shared;
    }
  }

  void applyExtras(std::size_t index) {
    const Json& json = element(member(file_.root, "nodes"), index);
    keepForeign(json, *primary_[index]);
    const Json& extras = ours(json);
    if (!extras.is_object()) return;
    ObjectState& object = *content_[index];
    applyCommon(extras, object);
    object.deform = flagIn(extras, "deform", true);
    const int image = indexIn(extras, "image", file_.images.size(), "picture");
    if (image >= 0) object.picture = file_.images[static_cast<std::size_t>(image)];
    if (flagIn(extras, "replaceTags"))
      while (object.tags.first())
        destroyNode(object.tags.first());
    const Json& tags = member(extras, "tags");
    for (std::size_t i = 0; i < countOf(tags); ++i)
      if (NodeState* tag = makeEntry(NodeKind::tag, tags[i])) object.tags.append(*tag);
  }

  // --- materials ---

  void makeMaterials() {
    const Json& list = member(file_.root, "materials");
    for (std::size_t i = 0; i < countOf(list); ++i) {
      auto* material = static_cast<MaterialState*>(makeNode(NodeKind::material, Mmaterial));
      material->identity = materialIdentity_[i];
      material->name = String(textIn(list[i], "name"));
      material->data = materialParameters(list[i]);
      document_->materials.append(*material);
    }
  }

  void buildMaterials() {
    const Json& list = member(file_.root, "materials");
    NodeState* node = document_->materials.first();
    for (std::size_t i = 0; node; ++i, node = node->next) {
      auto& material = static_cast<MaterialState&>(*node);
      keepForeign(list[i], material);
      if (ours(list[i]).is_object()) applyCommon(ours(list[i]), material);
      buildSlots(list[i], material);
    }
  }

  void buildSlots(const Json& json, MaterialState& material) {
    const Json& extras = ours(json);
    std::vector<NodeState*> own;
    const Json& shaders = member(extras, "shaders");
    for (std::size_t i = 0; i < countOf(shaders); ++i) {
      own.push_back(makeShader(shaders[i]));
      if (own.back()) material.shaders.append(*own.back());
    }
    const Json& slots = member(extras, "slots");
    for (int slot = 0; slot < slotCount; ++slot) {
      const std::string key = std::to_string(slot);
      if (!slots.is_object() || !slots.contains(key)) continue;
      const int shader = indexIn(slots, key.c_str(), own.size(), "shader");
      if (shader >= 0 && own[static_cast<std::size_t>(shader)])
        material.shaderSlots[static_cast<std::size_t>(slot)] =
            own[static_cast<std::size_t>(shader)]->identity;
    }
    for (const TextureSlot& place : textureSlots()) {
      if (slots.is_object() && slots.contains(std::to_string(place.slot))) continue;
      const Json& info = textureInfo(json, place);
      if (!info.is_object()) continue;
      NodeState* bitmap = makeBitmap(info);
      if (!bitmap) continue;
      material.shaders.append(*bitmap);
      material.shaderSlots[static_cast<std::size_t>(place.slot)] = bitmap->identity;
    }
  }

  NodeState* makeBitmap(const Json& info) {
    const Json& textures = member(file_.root, "textures");
    const int texture = indexIn(info, "index", countOf(textures), "texture");
    if (texture < 0) return nullptr;
    const Json& from = textures[static_cast<std::size_t>(texture)];
    const Json& samplers = member(file_.root, "samplers");
    const int sampler = indexIn(from, "sampler", countOf(samplers), "sampler");
    const int source = indexIn(from, "source", file_.images.size(), "picture");
    auto* bitmap = static_cast<ShaderState*>(makeNode(NodeKind::shader, Xbitmap));
    if (source >= 0) bitmap->picture = file_.images[static_cast<std::size_t>(source)];
    static const Json none;
    bitmap->data = bitmapParameters(info, sampler >= 0 ? samplers[static_cast<std::size_t>(sampler)] : none);
    if (bitmap->picture) bitmap->name = String(bitmap->picture->name);
    return bitmap;
  }

  NodeState* makeShader(const Json& from, int depth = 0) {
    if (!from.is_object() || depth > 64) return nullptr;
    NodePtr<ShaderState> shader(static_cast<ShaderState*>(makeEntry(NodeKind::shader, from)));
    if (!shader) return nullptr;
    const int image = indexIn(from, "image", file_.images.size(), "picture");
    if (image >= 0) shader->picture = file_.images[static_cast<std::size_t>(image)];
    const Json& children = member(from, "children");
    for (std::size_t i = 0; i < countOf(children); ++i)
      if (NodeState* child = makeShader(children[i], depth + 1)) shader->children.append(*child);
    return shader.release();
  }

  // --- the document itself ---

  void buildDocumentPart() {
    const Json& extras = ours(file_.root);
    keepForeign(file_.root, *document_);
    applyCommon(extras, *document_);
    for (const tinygltf::Animation& animation : file_.model.animations)
      document_->animationNames.push_back(animation.name);
    Given given;
    given.posed = flagIn(extras, "posed");
    readTimes(extras, given);
    const Json& renderData = member(extras, "renderData");
    given.renderData = renderData.is_array();
    for (std::size_t i = 0; i < countOf(renderData); ++i)
      document_->renderData.append(*makeRenderData(renderData[i]));
    activate(longIn(extras, "activeRenderData", -1));
    const Json& views = member(extras, "views");
    given.views = countOf(views) > 0;
    bool framed = true;
    for (std::size_t i = 0; i < countOf(views); ++i)
      framed = makeView(views[i]) && framed;
    if (given.views) chooseViews(extras);
    completeDocument(*document_, given);
    if (given.views && !framed)
      for (NodeState* view = document_->views.first(); view; view = view->next)
        if (static_cast<ViewState*>(view)->camera == 0)
          frameScene(*nodeOf<BaseDocument>(document_.get()), *nodeOf<BaseDraw>(view));
  }

  void readTimes(const Json& extras, Given& given) {
    DocumentState& d = *document_;
    nodeOf<BaseDocument>(&d)->SetFps(longIn(extras, "fps", 30));
    d.lod = std::clamp(numberIn(extras, "lod", 1), 0.0, 1.0);
    given.times = !member(extras, "maxTime").is_null();
    d.minTime = timeFrom(member(extras, "minTime"), BaseTime(0, d.fps));
    const LONG frames = static_cast<LONG>(std::min(std::ceil(lastKey(d) * d.fps - 1e-3), 1e9));
    d.maxTime = timeFrom(member(extras, "maxTime"), BaseTime(frames > 0 ? frames : 90, d.fps));
    d.loopMinTime = timeFrom(member(extras, "loopMinTime"), d.minTime);
    d.loopMaxTime = timeFrom(member(extras, "loopMaxTime"), d.maxTime);
    d.time = timeFrom(member(extras, "time"), d.minTime);
  }

  NodeState* makeRenderData(const Json& from) {
    NodeState* data = makeEntry(NodeKind::renderData, from);
    if (!data) data = makeNode(NodeKind::renderData, 0);
    const Json& posts = member(from, "videoPosts");
    for (std::size_t i = 0; i < countOf(posts); ++i)
      if (NodeState* post = makeEntry(NodeKind::videoPost, posts[i]))
        static_cast<RenderDataState*>(data)->posts.append(*post);
    return data;
  }

  void activate(LONG index) {
    NodeState* data = document_->renderData.first();
    for (; data && index > 0; --index)
      data = data->next;
    if (data && index == 0) document_->activeRenderData = data->identity;
  }

  // False when the file does not place the view's own camera.
  bool makeView(const Json& from) {
    ViewState* view = addView(*document_);
    view->name = String();
    takeRef(from, *view);
    applyCommon(from, *view);
    view->camera = link(member(from, "camera"));
    const Json& frame = member(from, "frame");
    for (std::size_t i = 0; i < 4 && countOf(frame) == 4; ++i)
      if (frame[i].is_number_integer())
        view->area[i] =
            static_cast<LONG>(std::clamp<std::int64_t>(frame[i].get<std::int64_t>(), -1'000'000, 1'000'000));
    const Json& camera = member(from, "editorCamera");
    if (!camera.is_object()) return view->camera != 0;
    view->editorCamera->local = matrixFrom(member(camera, "matrix"));
    takeRef(camera, *view->editorCamera);
    applyCommon(camera, *view->editorCamera);
    const Json& tags = member(camera, "tags");
    for (std::size_t i = 0; i < countOf(tags); ++i)
      if (NodeState* tag = makeEntry(NodeKind::tag, tags[i])) view->editorCamera->tags.append(*tag);
    return true;
  }

  void chooseViews(const Json& extras) {
    const auto at = [&](LONG index) {
      NodeState* view = document_->views.first();
      while (view && index-- > 0)
        view = view->next;
      return static_cast<ViewState*>(view ? view : document_->views.first());
    };
    document_->activeView = at(longIn(extras, "activeView"));
    document_->renderView = at(longIn(extras, "renderView"));
  }

  void noteOddities() {
    if (context_.notFinite > 0)
      context_.warn(std::to_string(context_.notFinite) +
                    " numbers that are not finite were set to 0; export the scene again if it looks wrong.");
    if (context_.otherShapes > 0)
      context_.warn(std::to_string(context_.otherShapes) +
                    " meshes of points or lines were left out; only triangles are shown.");
    if (file_.model.scenes.size() > 1)
      context_.warn("The file holds " + std::to_string(file_.model.scenes.size()) +
                    " scenes; the one it shows first was loaded.");
  }

  const GltfFile& file_;
  LoadContext& context_;
  MeshReader meshes_;
  NodePtr<DocumentState> document_;
  std::vector<Identity> linkIdentity_, primaryIdentity_, materialIdentity_;
  std::vector<ObjectState*> primary_, content_; // of each node of the shown scene
  std::vector<std::pair<std::size_t, ObjectState*>> skinned_;
  std::map<int, Tracks> tracks_;
  std::map<std::size_t, std::string> cameraName_; // of nodes with a numbered camera
  std::map<std::string, Identity> refs_, firstOfName_;
  std::set<std::string> taken_; // references whose bearer is known
  std::size_t meshesDone_ = 0;
};

} // namespace

NodePtr<DocumentState> buildDocument(const GltfFile& file, LoadContext& context) {
  return DocumentBuilder(file, context).build();
}

void completeDocument(DocumentState& document, const Given& given) {
  BaseDocument& node = *nodeOf<BaseDocument>(&document);
  if (!given.renderData) document.renderData.append(*makeDefaultRenderData());
  if (!given.posed) {
    applyTracks(document);
    applyExpressions(document);
  }
  document.posed = true;
  if (given.views) return;
  ViewState* view = addView(document);
  const ObjectState* camera = nullptr;
  forEachObject(document.children, [&](const ObjectState& object) {
    if (!camera && object.type == Ocamera) camera = &object;
  });
  view->camera = camera ? camera->identity : 0;
  frameScene(node, *nodeOf<BaseDraw>(view));
}

} // namespace host
