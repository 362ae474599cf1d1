#include "object_edits.h"

#include <array>
#include <unordered_set>

#include "clone.h"
#include "node_lookup.h"
#include "unique_name.h"

namespace host {

namespace {

bool isUnder(const NodeState& node, const NodeState& other) {
  for (const NodeState* up = &node; up; up = up->list ? up->list->owner() : nullptr)
    if (up == &other) return true;
  return false;
}

Matrix worldOfList(const NodeList& list) {
  const NodeState* owner = list.owner();
  return owner->kind == NodeKind::object ? worldOf(static_cast<const ObjectState&>(*owner)) : Matrix();
}

// Moves an object in the tree and keeps its place in the world.
void moveTo(ObjectState& object, NodeList& list, NodeState* pred) {
  const Matrix above = object.list ? worldOfList(*object.list) : Matrix();
  const Matrix below = worldOfList(list);
  if (object.list) object.list->remove(object);
  list.insertAfter(object, pred);
  if (above == below) return;
  object.local = below.Inverse() * (above * object.local);
  object.pose.reset();
}

} // namespace

String freeObjectName(const DocumentState& document, const String& wanted) {
  std::unordered_set<std::string> names;
  forEachObject(document.children, [&](const ObjectState& object) { names.insert(object.name.GetUTF8()); });
  return uniqueName(wanted, [&](const String& name) { return names.contains(name.GetUTF8()); });
}

bool selectObjects(BaseDocument& document, std::span<const Identity> objects, SelectMode mode) {
  const std::unordered_set<Identity> given(objects.begin(), objects.end());
  bool done = false;
  forEachObject(stateIn(document).children, [&](ObjectState& object) {
    const bool is = (object.bits & BIT_ACTIVE) != 0, named = given.contains(object.identity);
    const bool wanted = mode == SelectMode::replace  ? named
                        : mode == SelectMode::toggle ? is != named
                                                     : is || named;
    if (setBits(object, BIT_ACTIVE, wanted)) done = true;
  });
  return done;
}

bool setLocalMatrix(BaseDocument& document, Identity object, const Matrix& local) {
  ObjectState* state = objectIn(stateIn(document), object);
  if (!state || state->local == local) return false;
  state->local = local;
  state->pose.reset();
  return true;
}

bool setWorldMatrix(BaseDocument& document, Identity object, const Matrix& world) {
  const ObjectState* state = objectIn(stateIn(document), object);
  const ObjectState* parent = state ? parentOf(*state) : nullptr;
  return state && setLocalMatrix(document, object, parent ? worldOf(*parent).Inverse() * world : world);
}

Identities topmost(const BaseDocument& document, std::span<const Identity> objects) {
  const std::unordered_set<Identity> given(objects.begin(), objects.end());
  Identities result;
  forEachObject(stateOf(&document)->children, [&](const ObjectState& object) {
    if (!given.contains(object.identity)) return;
    for (const ObjectState* up = parentOf(object); up; up = parentOf(*up))
      if (given.contains(up->identity)) return;
    result.push_back(object.identity);
  });
  return result;
}

bool deleteObjects(BaseDocument& document, std::span<const Identity> objects) {
  const Identities gone = topmost(document, objects);
  for (const Identity identity : gone)
    destroyNode(objectIn(stateIn(document), identity));
  return !gone.empty();
}

Identities duplicateObjects(BaseDocument& document, std::span<const Identity> objects) {
  DocumentState& state = stateIn(document);
  Identities copies;
  for (const Identity identity : topmost(document, objects)) {
    ObjectState* object = objectIn(state, identity);
    NodeState* copy = cloneNode(*object, COPYFLAGS_0);
    copy->name = freeObjectName(state, object->name);
    object->list->insertAfter(*copy, object);
    copies.push_back(copy->identity);
  }
  if (!copies.empty()) selectObjects(document, copies);
  return copies;
}

Identity groupObjects(BaseDocument& document, std::span<const Identity> objects) {
  DocumentState& state = stateIn(document);
  const Identities members = topmost(document, objects);
  if (members.empty()) return 0;
  ObjectState* first = objectIn(state, members.front());
  ObjectState* group = makeObject(Onull);
  group->name = freeObjectName(state, "Group");
  first->list->insertAfter(*group, first->prev);
  for (const Identity identity : members)
    moveTo(*objectIn(state, identity), group->children, group->children.last());
  selectObjects(document, std::array{group->identity});
  return group->identity;
}

bool moveObjects(BaseDocument& document, std::span<const Identity> objects, Identity parent, Identity pred) {
  DocumentState& state = stateIn(document);
  ObjectState* above = parent ? objectIn(state, parent) : nullptr;
  if (parent && !above) return false;
  NodeList& list = above ? above->children : state.children;
  NodeState* place = pred ? objectIn(state, pred) : nullptr;
  if (place && place->list != &list) return false;
  const Identities moved = topmost(document, objects);
  // A moved object cannot be the predecessor; the one before it is.
  const std::unordered_set<Identity> given(moved.begin(), moved.end());
  while (place && given.contains(place->identity))
    place = place->prev;
  bool done = false;
  for (const Identity identity : moved) {
    ObjectState* object = objectIn(state, identity);
    if (above && isUnder(*above, *object)) continue;
    if (object->list != &list || object->prev != place) {
      moveTo(*object, list, place);
      done = true;
    }
    place = object;
  }
  return done;
}

} // namespace host
