#include "link_applier.h"

#include <cmath>
#include <unordered_set>

#include "document.h"
#include "parameters.h"
#include "render_settings.h"

namespace host {

namespace {

void setTextures(ObjectState& node, const std::vector<Identity>& materials) {
  for (NodeState* tag = node.tags.first(); tag;) {
    NodeState* next = tag->next;
    if (tag->type == Ttexture) destroyNode(tag);
    tag = next;
  }
  for (std::size_t group = 0; group < materials.size(); ++group) {
    if (materials[group] == 0) continue;
    NodeState* tag = makeNode(NodeKind::tag, Ttexture);
    tag->data.SetBaseLink(param::textureMaterial, BaseLink::FromIdentity(materials[group]));
    tag->data.SetLong(param::textureGroup, static_cast<LONG>(group));
    node.tags.append(*tag);
  }
}

BaseContainer dataOf(const LinkObject& object) {
  BaseContainer data = object.data;
  if (!object.inEditor) data.SetBool(param::objectVisibleEditor, FALSE);
  if (!object.inRender) data.SetBool(param::objectVisibleRender, FALSE);
  return data;
}

} // namespace

LinkApplier::LinkApplier(Session& session) : session_(session) {
  replaced_ = session_.hub().replaced.add([this](Replacement) {
    shown_.reset();
    owns_ = false;
    objects_.clear();
    materials_.clear();
  });
}

// A scene that replaces the document starts from an empty one, unless the document is the link's already.
bool LinkApplier::prepare(const LinkScene& scene) {
  if (scene.replaces && !owns_) {
    if (!session_.files().newScene()) return false;
    owns_ = true;
  }
  if (shown_ && shown_->stage != scene.stage && !scene.replaces) {
    objects_.clear(); // of another client: they stay
    materials_.clear();
  }
  return true;
}

bool LinkApplier::apply(const LinkScenePtr& scene) {
  if (!prepare(*scene)) return false;
  const auto edit = [&](BaseDocument& document) { change(*stateOf(&document), *scene); };
  if (scene->undo)
    session_.edits().apply("Live Link", edit);
  else
    session_.edits().absorb(edit, !owns_);
  putTime(*scene);
  shown_ = scene;
  return true;
}

void LinkApplier::change(DocumentState& document, const LinkScene& scene) {
  putMaterials(document, scene);
  putObjects(document, scene);
  removeOthers(document, scene);
  putSky(document, scene);
  putSettings(document, scene);
}

void LinkApplier::putMaterials(DocumentState& document, const LinkScene& scene) {
  for (const LinkMaterialPtr& material : *scene.materials) {
    LinkMaterialPtr& before = materials_[material->identity];
    NodeState* node = findNode(document, material->identity);
    if (node && before == material) continue;
    if (!node) {
      node = makeNode(NodeKind::material, Mmaterial);
      node->identity = material->identity;
      document.materials.append(*node);
    }
    putImage(*node, material->image);
    before = material;
  }
}

void LinkApplier::putObjects(DocumentState& document, const LinkScene& scene) {
  for (const LinkObjectPtr& object : *scene.objects)
    putObject(document, object);
}

void LinkApplier::putObject(DocumentState& document, const LinkObjectPtr& object) {
  LinkObjectPtr& before = objects_[object->identity];
  auto* node = static_cast<ObjectState*>(findNode(document, object->identity));
  if (node && before == object) return;
  NodeState* parent = object->parent != 0 ? findNode(document, object->parent) : nullptr;
  NodeList& list = parent ? parent->children : document.children;
  ObjectState* former = nullptr;
  if (node && node->type != object->type) {
    former = node;
    former->identity = newIdentity();
    former->list->remove(*former);
    node = nullptr;
  }
  const bool isNew = !node;
  if (isNew) {
    node = makeObject(object->type);
    node->identity = object->identity;
  }
  if (node->list != &list) {
    if (node->list) node->list->remove(*node);
    list.append(*node);
  }
  while (former && former->children.first()) {
    NodeState* child = former->children.first();
    former->children.remove(*child);
    node->children.append(*child);
  }
  if (former) destroyNode(former);
  node->name = object->name;
  node->pose.reset();
  node->local = object->local;
  node->mesh = object->mesh;
  node->placements = object->placements;
  node->data = dataOf(*object);
  if (isNew || !before || before->materials != object->materials) setTextures(*node, object->materials);
  before = object;
}

void LinkApplier::removeOthers(DocumentState& document, const LinkScene& scene) {
  if (shown_ && shown_->objects == scene.objects && shown_->materials == scene.materials) return;
  std::unordered_set<Identity> wanted;
  for (const LinkObjectPtr& object : *scene.objects)
    wanted.insert(object->identity);
  for (const LinkMaterialPtr& material : *scene.materials)
    wanted.insert(material->identity);
  const auto drop = [&](auto& known) {
    std::erase_if(known, [&](const auto& item) {
      if (wanted.contains(item.first)) return false;
      destroyNode(findNode(document, item.first));
      return true;
    });
  };
  drop(objects_);
  drop(materials_);
}

void LinkApplier::putSky(DocumentState& document, const LinkScene& scene) {
  if (shown_ && shown_->sky != scene.sky && shown_->sky &&
      (!scene.sky || scene.sky->identity != shown_->sky->identity))
    destroyNode(findNode(document, shown_->sky->identity));
  if (!scene.sky) return;
  auto* node = static_cast<ObjectState*>(findNode(document, scene.sky->identity));
  if (!scene.sky->isShown) return destroyNode(node);
  if (node && shown_ && shown_->sky == scene.sky) return;
  if (!node) {
    node = makeObject(Osky);
    node->identity = scene.sky->identity;
    node->name = "Sky";
    document.children.append(*node);
  }
  node->data = scene.sky->data;
  node->picture = scene.sky->picture;
}

// Settings count once, when they were sent: the user may change them afterwards.
void LinkApplier::putSettings(DocumentState& document, const LinkScene& scene) {
  if (!scene.settings || (shown_ && shown_->settings == scene.settings)) return;
  const LinkSettings& settings = *scene.settings;
  if (RenderDataState* render = activeRenderData(document)) {
    if (settings.width) render->data.SetLong(RDATA_XRES, *settings.width);
    if (settings.height) render->data.SetLong(RDATA_YRES, *settings.height);
    if (settings.samples) render->data.SetLong(RDATA_MAXSAMPLES, *settings.samples);
    if (settings.noise) render->data.SetReal(RDATA_NOISETHRESHOLD, *settings.noise);
    if (settings.denoise) render->data.SetLong(render::denoiseSetting, *settings.denoise ? 1 : 0);
  }
  if (settings.camera && document.renderView) document.renderView->camera = *settings.camera;
}

void LinkApplier::putTime(const LinkScene& scene) {
  if (!scene.time || (shown_ && shown_->time == scene.time)) return;
  const LinkTime& time = *scene.time;
  BaseDocument& document = *session_.document();
  {
    const DocumentEdit edit(document);
    DocumentState& state = *stateOf(&document);
    if (time.fps) state.fps = *time.fps;
    if (time.from) state.minTime = state.loopMinTime = BaseTime(*time.from);
    if (time.to) state.maxTime = state.loopMaxTime = BaseTime(*time.to);
  }
  session_.hub().setTime(BaseTime(std::round(time.seconds * stateOf(&document)->fps),
                                  static_cast<Real>(stateOf(&document)->fps)));
}

} // namespace host
