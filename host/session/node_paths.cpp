#include "node_paths.h"

#include <algorithm>

#include "document.h"

namespace host {

namespace {

int placeAmongNamesakes(const ObjectState& object) {
  int place = 0;
  for (const NodeState* other = object.prev; other; other = other->prev)
    if (other->name == object.name) ++place;
  return place;
}

ObjectState* childAt(const NodeList& list, const std::string& name, int place) {
  for (NodeState* node = list.first(); node; node = node->next)
    if (node->name.GetUTF8() == name && place-- == 0) return static_cast<ObjectState*>(node);
  return nullptr;
}

ObjectState* onlyOneNamed(DocumentState& document, const std::string& name) {
  ObjectState* found = nullptr;
  int count = 0;
  forEachObject(document.children, [&](ObjectState& object) {
    if (object.name.GetUTF8() == name) found = &object, ++count;
  });
  return count == 1 ? found : nullptr;
}

void carrySelection(const DocumentState& before, DocumentState& next) {
  forEachObject(next.children, [](ObjectState& object) { object.bits &= ~BIT_ACTIVE; });
  forEachObject(before.children, [&](const ObjectState& object) {
    if (!(object.bits & BIT_ACTIVE)) return;
    if (ObjectState* same = objectAt(next, namePathOf(object))) same->bits |= BIT_ACTIVE;
  });
  for (NodeState* material = next.materials.first(); material; material = material->next) {
    material->bits &= ~BIT_ACTIVE;
    for (const NodeState* old = before.materials.first(); old; old = old->next)
      if ((old->bits & BIT_ACTIVE) && old->name == material->name) material->bits |= BIT_ACTIVE;
  }
}

// A view whose camera is gone keeps its place.
void carryView(const DocumentState& before, const ViewState& from, DocumentState& next, ViewState& to) {
  to.area = from.area;
  const ObjectState* own = from.editorCamera;
  to.camera = 0;
  const auto* old = static_cast<const ObjectState*>(findNode(before, from.camera));
  if (old && old->kind == NodeKind::object) {
    const ObjectState* same = objectAt(next, namePathOf(*old));
    if (same && same->type == Ocamera)
      to.camera = same->identity;
    else
      own = old;
  }
  if (!own || !to.editorCamera) return;
  to.editorCamera->data = own->data;
  to.editorCamera->pose = own == from.editorCamera ? own->pose : std::nullopt;
  to.editorCamera->local = own == from.editorCamera ? own->local : worldOf(*own);
}

} // namespace

NamePath namePathOf(const ObjectState& object) {
  NamePath path;
  for (const ObjectState* up = &object; up; up = parentOf(*up))
    path.emplace_back(up->name.GetUTF8(), placeAmongNamesakes(*up));
  std::reverse(path.begin(), path.end());
  return path;
}

ObjectState* objectAt(DocumentState& document, const NamePath& path) {
  if (path.empty()) return nullptr;
  const NodeList* list = &document.children;
  ObjectState* object = nullptr;
  for (const auto& [name, place] : path) {
    object = childAt(*list, name, place);
    if (!object) return onlyOneNamed(document, path.back().first);
    list = &object->children;
  }
  return object;
}

void carryOver(const DocumentState& before, DocumentState& next) {
  const std::lock_guard lock(next.mutex);
  carrySelection(before, next);
  NodeState* view = next.views.first();
  for (const NodeState* old = before.views.first(); old && view; old = old->next, view = view->next)
    carryView(before, static_cast<const ViewState&>(*old), next, static_cast<ViewState&>(*view));
  if (next.time.GetNumerator() == before.time.GetNumerator() &&
      next.time.GetDenominator() == before.time.GetDenominator())
    return;
  next.time = before.time;
  nodeOf<BaseDocument>(&next)->ExecutePasses(nullptr, TRUE, TRUE, FALSE, BUILDFLAGS_0);
}

} // namespace host
