#include "clone.h"

#include "document_range.h"

namespace host {

namespace {

struct DestroyNode {
  void operator()(NodeState* node) const noexcept { destroyNode(node); }
};
// An unfinished copy, freed when memory runs out.
using OwnedNode = std::unique_ptr<NodeState, DestroyNode>;

struct Copier {
  COPYFLAGS flags = COPYFLAGS_0;
  bool keepIdentities = false;
  std::unordered_map<Identity, Identity> renamed; // old to new; empty when identities are kept

  NodeState* copy(const NodeState& from, bool withChildren);
  void copyList(const NodeList& from, NodeList& to);
  void copyParts(const NodeState& from, NodeState& to, bool withChildren);
  void copyDocument(const DocumentState& from, DocumentState& to);
};

bool noAnimation(COPYFLAGS flags) {
  return (flags & COPYFLAGS_NO_ANIMATION) != 0;
}

void copyObject(const ObjectState& from, ObjectState& to, COPYFLAGS flags) {
  TracksPtr tracks = noAnimation(flags) ? to.tracks : from.tracks;
  static_cast<ObjectValues&>(to) = from;
  to.tracks = std::move(tracks);
  to.picture = from.picture;
}

void Copier::copyList(const NodeList& from, NodeList& to) {
  for (const NodeState* node = from.first(); node; node = node->next)
    to.append(*copy(*node, true));
}

NodeState* Copier::copy(const NodeState& from, bool withChildren) {
  OwnedNode to(makeNode(from.kind, from.type));
  if (keepIdentities)
    to->identity = from.identity;
  else
    renamed.emplace(from.identity, to->identity);
  copyParts(from, *to, withChildren);
  return to.release();
}

void Copier::copyParts(const NodeState& from, NodeState& to, bool withChildren) {
  to.bits = from.bits;
  to.name = from.name;
  to.data = from.data;
  to.foreignExtras = from.foreignExtras;
  if (withChildren) copyList(from.children, to.children);
  switch (from.kind) {
  case NodeKind::object:
    copyObject(static_cast<const ObjectState&>(from), static_cast<ObjectState&>(to), flags);
    copyList(static_cast<const ObjectState&>(from).tags, static_cast<ObjectState&>(to).tags);
    break;
  case NodeKind::material:
    static_cast<MaterialState&>(to).shaderSlots = static_cast<const MaterialState&>(from).shaderSlots;
    copyList(from.shaders, to.shaders);
    break;
  case NodeKind::shader:
    static_cast<ShaderState&>(to).picture = static_cast<const ShaderState&>(from).picture;
    break;
  case NodeKind::renderData:
    copyList(static_cast<const RenderDataState&>(from).posts, static_cast<RenderDataState&>(to).posts);
    break;
  case NodeKind::view: {
    const auto& view = static_cast<const ViewState&>(from);
    auto& target = static_cast<ViewState&>(to);
    target.camera = view.camera;
    target.area = view.area;
    target.safeFrame = view.safeFrame;
    if (view.editorCamera) target.editorCamera = static_cast<ObjectState*>(copy(*view.editorCamera, true));
    break;
  }
  case NodeKind::document:
    copyDocument(static_cast<const DocumentState&>(from), static_cast<DocumentState&>(to));
    break;
  case NodeKind::tag:
  case NodeKind::videoPost:
    break;
  }
}

void Copier::copyDocument(const DocumentState& from, DocumentState& to) {
  copyList(from.materials, to.materials);
  copyList(from.renderData, to.renderData);
  copyList(from.views, to.views);
  NodeState* view = to.views.first();
  for (const NodeState* old = from.views.first(); old && view; old = old->next, view = view->next) {
    if (old == from.activeView) to.activeView = static_cast<ViewState*>(view);
    if (old == from.renderView) to.renderView = static_cast<ViewState*>(view);
  }
  to.time = from.time;
  copyRange(from, to);
  to.fileName = from.fileName;
  to.path = from.path;
  to.changed = from.changed;
  to.posed = from.posed;
  if (!noAnimation(flags)) to.animationNames = from.animationNames;
}

// Replaces old identities by new ones.
class Renamer {
 public:
  explicit Renamer(const std::unordered_map<Identity, Identity>& renamed) : renamed_(renamed) {}

  void rename(NodeState& node) const {
    renameLinks(node.data);
    if (node.kind == NodeKind::material)
      for (Identity& slot : static_cast<MaterialState&>(node).shaderSlots)
        slot = of(slot);
    if (node.kind == NodeKind::object) renameSkin(static_cast<ObjectState&>(node));
    if (node.kind == NodeKind::view) {
      auto& camera = static_cast<ViewState&>(node).camera;
      camera = of(camera);
    }
    if (node.kind == NodeKind::document) {
      auto& active = static_cast<DocumentState&>(node).activeRenderData;
      active = of(active);
    }
  }

 private:
  Identity of(Identity old) const {
    const auto found = renamed_.find(old);
    return found == renamed_.end() ? old : found->second;
  }

  bool renameLinks(BaseContainer& data) const {
    bool changed = false;
    for (LONG i = 0; i < data.GetCount(); ++i) {
      const LONG id = data.GetIndexId(i);
      const GeData value = *data.GetIndexData(i);
      if (value.GetType() == DA_ALIASLINK) {
        const Identity old = value.GetBaseLink().GetIdentity();
        if (of(old) == old) continue;
        data.SetBaseLink(id, BaseLink::FromIdentity(of(old)));
        changed = true;
      } else if (value.GetType() == DA_CONTAINER) {
        BaseContainer nested = value.GetContainer();
        if (!renameLinks(nested)) continue;
        data.SetContainer(id, nested);
        changed = true;
      }
    }
    return changed;
  }

  void renameSkin(ObjectState& object) const {
    if (!object.skin) return;
    auto skin = std::make_shared<Skin>(*object.skin);
    for (Identity& joint : skin->joints)
      joint = of(joint);
    if (skin->joints != object.skin->joints) object.skin = std::move(skin);
  }

  const std::unordered_map<Identity, Identity>& renamed_;
};

} // namespace

NodeState* cloneNode(const NodeState& node, COPYFLAGS flags) {
  Copier copier{flags, false, {}};
  OwnedNode clone(copier.copy(node, (flags & COPYFLAGS_NO_HIERARCHY) == 0));
  const Renamer renamer(copier.renamed);
  renamer.rename(*clone);
  forEachOwned(*clone, [&](NodeState& owned) { renamer.rename(owned); });
  return clone.release();
}

DocumentState* cloneDocument(const DocumentState& document, COPYFLAGS flags) {
  const std::lock_guard lock(document.mutex);
  Copier copier{flags, true, {}};
  return static_cast<DocumentState*>(copier.copy(document, (flags & COPYFLAGS_NO_HIERARCHY) == 0));
}

} // namespace host
