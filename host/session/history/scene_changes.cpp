#include "scene_changes.h"

#include <algorithm>
#include <map>
#include <unordered_map>

#include "change_words.h"
#include "document.h"
#include "parameters.h"

namespace host {

namespace {

using Pairs = std::unordered_map<const NodeState*, const NodeState*>;

bool samePicture(const PicturePtr& a, const PicturePtr& b) {
  if (a == b) return true;
  if (!a || !b || a->name != b->name) return false;
  return a->bytes == b->bytes || (a->bytes && b->bytes && *a->bytes == *b->bytes);
}

bool sameMesh(const MeshPtr& a, const MeshPtr& b) {
  if (a == b) return true;
  return a && b && a->positions == b->positions && a->normals == b->normals && a->uv == b->uv &&
         a->colors == b->colors && a->triangles == b->triangles;
}

bool sameTracks(const TracksPtr& a, const TracksPtr& b) {
  if (a == b) return true;
  return a && b && std::equal(a->begin(), a->end(), b->begin(), b->end(), [](const Track& x, const Track& y) {
           return x.path == y.path && x.animation == y.animation &&
                  x.curve->interpolation == y.curve->interpolation && x.curve->times == y.curve->times &&
                  x.curve->values == y.curve->values;
         });
}

// All that the table shows is left out, and so are links: they name nodes, which other lines tell of.
BaseContainer untold(const NodeState& node) {
  BaseContainer rest = node.data;
  for (const AttributeEntry& entry : attributeTable())
    if (entry.kind == node.kind && (entry.type == 0 || entry.type == node.type) && entry.parameter != 0)
      rest.RemoveData(entry.parameter);
  for (LONG i = rest.GetCount() - 1; i >= 0; --i)
    if (rest.GetType(rest.GetIndexId(i)) == DA_ALIASLINK) rest.RemoveData(rest.GetIndexId(i));
  return rest;
}

std::string nameOf(const NodeState& node) {
  const std::string name = node.name.Content() ? node.name.GetUTF8() : "(unnamed)";
  return node.kind == NodeKind::material ? "Material " + name : name;
}

// Lists of shaders or tags, with what they own.
bool sameLists(const NodeList& a, const NodeList& b, const Pairs& pairs);

bool sameLinks(const NodeState& a, const NodeState& b, const Pairs& pairs) {
  for (LONG i = 0; i < a.data.GetCount(); ++i) {
    const LONG id = a.data.GetIndexId(i);
    if (a.data.GetType(id) != DA_ALIASLINK) continue;
    const Identity first = a.data.GetBaseLink(id).GetIdentity(),
                   second = b.data.GetBaseLink(id).GetIdentity();
    const NodeState* from = a.document && first ? findNode(*a.document, first) : nullptr;
    const NodeState* to = b.document && second ? findNode(*b.document, second) : nullptr;
    const auto pair = pairs.find(from);
    if ((pair == pairs.end() ? nullptr : pair->second) != to) return false;
  }
  return true;
}

bool sameNode(const NodeState& a, const NodeState& b, const Pairs& pairs) {
  if (a.type != b.type || a.bits != b.bits || a.name != b.name || !(untold(a) == untold(b)) ||
      !sameLinks(a, b, pairs))
    return false;
  if (a.kind == NodeKind::shader &&
      !samePicture(static_cast<const ShaderState&>(a).picture, static_cast<const ShaderState&>(b).picture))
    return false;
  return sameLists(a.children, b.children, pairs);
}

bool sameLists(const NodeList& a, const NodeList& b, const Pairs& pairs) {
  const NodeState *x = a.first(), *y = b.first();
  for (; x && y; x = x->next, y = y->next)
    if (!sameNode(*x, *y, pairs)) return false;
  return !x && !y;
}

/// Finds the same nodes in both documents, then tells of the differences.
class Comparison {
 public:
  Comparison(const DocumentState& a, const DocumentState& b) : a_(a), b_(b) {}

  std::vector<std::string> run() {
    pairLists(a_.children, b_.children);
    pairLists(a_.materials, b_.materials);
    tellTime();
    tellCamera();
    tellLists(a_.children, b_.children);
    tellLists(a_.materials, b_.materials);
    tellRenderSettings();
    tellRest();
    return std::move(lines_);
  }

 private:
  void tell(std::string line) { lines_.push_back(std::move(line)); }

  // --- pairs ---

  void pair(const NodeState& a, const NodeState& b) {
    pairs_.emplace(&a, &b);
    back_.emplace(&b, &a);
  }

  void pairLists(const NodeList& a, const NodeList& b) {
    for (const NodeState* node = a.first(); node; node = node->next)
      if (const NodeState* same = findNode(b_, node->identity);
          same && same->kind == node->kind && same->type == node->type)
        pair(*node, *same);
    // The others by their names, in order among siblings.
    std::multimap<std::string, const NodeState*> left;
    for (const NodeState* node = b.first(); node; node = node->next)
      if (!back_.contains(node) && !findNode(a_, node->identity))
        left.emplace(std::to_string(node->type) + "/" + node->name.GetUTF8(), node);
    for (const NodeState* node = a.first(); node; node = node->next) {
      if (!pairs_.contains(node))
        if (const auto found = left.find(std::to_string(node->type) + "/" + node->name.GetUTF8());
            found != left.end() && !findNode(b_, node->identity)) {
          pair(*node, *found->second);
          left.erase(found);
        }
      const auto same = pairs_.find(node);
      pairLists(node->children, same == pairs_.end() ? nothing_ : same->second->children);
    }
  }

  const NodeState* inB(const NodeState* node) const {
    const auto found = pairs_.find(node);
    return found == pairs_.end() ? nullptr : found->second;
  }

  // --- the document ---

  void tellTime() {
    const LONG before = a_.time.GetFrame(a_.fps), after = b_.time.GetFrame(b_.fps);
    if (before != after) tell("Frame " + std::to_string(before) + " -> " + std::to_string(after));
    if (a_.fps != b_.fps) tell("Frames a second " + std::to_string(a_.fps) + " -> " + std::to_string(b_.fps));
  }

  static const ObjectState* cameraOf(const DocumentState& document) {
    const ViewState* view = document.renderView;
    if (!view) return nullptr;
    const auto* camera = static_cast<const ObjectState*>(findNode(document, view->camera));
    return camera && camera->kind == NodeKind::object ? camera : view->editorCamera;
  }

  // The view's own camera stands in no list; cameras of the scene are told of with the objects.
  void tellCamera() {
    const ObjectState *before = cameraOf(a_), *after = cameraOf(b_);
    if (!before || !after) return;
    const bool own = !before->list, ownAfter = !after->list;
    if (own && ownAfter) return tellValues(*before, *after, "View");
    if (own != ownAfter || inB(before) != after)
      tell("The view looks through " + (ownAfter ? "its own camera" : nameOf(*after)));
  }

  void tellRenderSettings() {
    const auto active = [](const DocumentState& document) {
      const NodeState* data = findNode(document, document.activeRenderData);
      return static_cast<const RenderDataState*>(data ? data : document.renderData.first());
    };
    const RenderDataState *before = active(a_), *after = active(b_);
    if (!before || !after) return;
    for (const std::string& line : changedRenderSettings(*before, *after))
      tell("Render settings" + line);
    if (!sameLists(before->posts, after->posts, pairs_)) tell("Render settings effects changed");
  }

  void tellRest() {
    if (!(untold(a_) == untold(b_))) tell("Settings of the document changed");
  }

  // --- nodes ---

  void tellLists(const NodeList& a, const NodeList& b) {
    for (const NodeState* node = a.first(); node; node = node->next) {
      const NodeState* same = inB(node);
      if (!same) {
        tell(nameOf(*node) + " deleted");
        tellLists(node->children, nothing_); // those that moved elsewhere
        continue;
      }
      tellNode(*node, *same);
      tellLists(node->children, same->children);
    }
    for (const NodeState* node = b.first(); node; node = node->next)
      if (!back_.contains(node)) tellAdded(*node);
  }

  void tellAdded(const NodeState& node) {
    tell(nameOf(node) + " added");
    for (const NodeState* child = node.children.first(); child; child = child->next)
      if (!back_.contains(child)) tellAdded(*child);
  }

  void tellNode(const NodeState& a, const NodeState& b) {
    const std::string name = nameOf(b);
    if (a.name != b.name) tell(nameOf(a) + " renamed to " + b.name.GetUTF8());
    tellValues(a, b, name);
    if (a.kind == NodeKind::object)
      tellObject(static_cast<const ObjectState&>(a), static_cast<const ObjectState&>(b), name);
    if (a.kind == NodeKind::material && !sameLists(a.shaders, b.shaders, pairs_))
      tell(name + " textures changed");
  }

  static bool isDriven(const NodeState& node) {
    return node.kind == NodeKind::object && static_cast<const ObjectState&>(node).tracks;
  }

  void tellValues(const NodeState& a, const NodeState& b, const std::string& name) {
    std::string moves;
    const bool moves_by_itself = isDriven(a) && isDriven(b) && a_.time != b_.time;
    for (const AttributeEntry& entry : attributeTable()) {
      const AttributeId id = entry.shape.id;
      if (id == AttributeId::name || attributeEntry(a, id) != &entry) continue;
      const AttributeEntry* after = attributeEntry(b, id);
      if (!after) continue; // of another kind now, which its own line tells
      const GeData first = readAttribute(a, entry), second = readAttribute(b, *after);
      if (first == second) continue;
      const char* verb = id == AttributeId::position   ? "moved"
                         : id == AttributeId::rotation ? "turned"
                         : id == AttributeId::scale    ? "scaled"
                                                       : nullptr;
      if (!verb)
        tell(name + changedValue(entry, first, *after, second));
      else if (!moves_by_itself)
        moves += (moves.empty() ? " " : ", ") + std::string(verb);
    }
    if (!moves.empty()) tell(name + moves);
    if (!(untold(a) == untold(b))) tell(name + " changed in other values");
  }

  void tellObject(const ObjectState& a, const ObjectState& b, const std::string& name) {
    const NodeState *parent = parentOf(a), *parentAfter = parentOf(b);
    if ((parent ? inB(parent) : nullptr) != parentAfter)
      tell(name + " moved " + (parentAfter ? "below " + nameOf(*parentAfter) : "to the top"));
    if (!sameMesh(a.mesh, b.mesh)) tell(name + " shape changed");
    if (!samePlacements(a.placements, b.placements)) tell(name + " copies changed");
    if (!sameTracks(a.tracks, b.tracks)) tell(name + " animation changed");
    if (!samePicture(a.picture, b.picture) && !(a.picture && b.picture && a.picture->name != b.picture->name))
      tell(name + " picture changed");
    tellTags(a, b, name);
  }

  // The material of an object's only texture tag; null for none or several.
  static const NodeState* materialOf(const ObjectState& object) {
    const NodeState* only = nullptr;
    for (const NodeState* tag = object.tags.first(); tag; tag = tag->next)
      if (tag->type == Ttexture) {
        if (only) return nullptr;
        only = tag;
      }
    return only ? findNode(*object.document, only->data.GetBaseLink(param::textureMaterial).GetIdentity())
                : nullptr;
  }

  void tellTags(const ObjectState& a, const ObjectState& b, const std::string& name) {
    const NodeState *before = materialOf(a), *after = materialOf(b);
    if (before && after && inB(before) != after)
      tell(name + " material " + before->name.GetUTF8() + " -> " + after->name.GetUTF8());
    else if (!sameLists(a.tags, b.tags, pairs_))
      tell(name + (before || after ? " materials changed" : " tags changed"));
  }

  const DocumentState &a_, &b_;
  const NodeList nothing_{nullptr};
  Pairs pairs_, back_;
  std::vector<std::string> lines_;
};

} // namespace

std::vector<std::string> sceneChanges(const KeptScene& before, const KeptScene& after) {
  const DocumentPtr a = documentOf(before), b = documentOf(after);
  if (!a || !b) return {};
  return Comparison(*stateOf(a.get()), *stateOf(b.get())).run();
}

} // namespace host
