// Objects: the tree, matrices, tags.
#include "node_state.h"

using host::lockOf;
using host::nodeOf;
using host::NodeState;
using host::ObjectState;
using host::stateOf;

namespace {

bool holds(const NodeState& node, const NodeState* other) {
  for (; other; other = other->list ? other->list->owner() : nullptr)
    if (other == &node) return true;
  return false;
}

// Moves an object into a list, except below itself.
void place(BaseObject* object, host::NodeList* list, NodeState* pred) {
  ObjectState* state = stateOf(object);
  if (!state || !list || pred == state || holds(*state, list->owner())) return;
  const auto lock = lockOf(list->owner());
  object->Remove();
  list->insertAfter(*state, pred);
}

// The list of `sibling`; for an object in no list, such as a view's own camera, its document's.
host::NodeList* listBeside(const BaseObject* sibling) {
  ObjectState* state = stateOf(sibling);
  if (!state) return nullptr;
  if (state->list) return state->list;
  return state->document ? &state->document->children : nullptr;
}

} // namespace

BaseObject* BaseObject::Alloc(LONG type) {
  return host::isKnownType(host::NodeKind::object, type) ? nodeOf<BaseObject>(host::makeObject(type))
                                                         : nullptr;
}

void BaseObject::Free(BaseObject*& object) {
  if (!object) return;
  ObjectState* state = stateOf(object);
  object = nullptr;
  if (host::DocumentState* document = state->document) {
    const std::lock_guard lock(document->mutex);
    host::destroyNode(state);
  } else {
    host::destroyNode(state);
  }
}

BaseObject* BaseObject::GetNext() const {
  return static_cast<BaseObject*>(Next());
}

BaseObject* BaseObject::GetPred() const {
  return static_cast<BaseObject*>(Pred());
}

BaseObject* BaseObject::GetUp() const {
  return static_cast<BaseObject*>(Up());
}

BaseObject* BaseObject::GetDown() const {
  return static_cast<BaseObject*>(Down());
}

void BaseObject::InsertUnder(BaseObject* parent) {
  if (ObjectState* state = stateOf(parent)) place(this, &state->children, nullptr);
}

void BaseObject::InsertUnderLast(BaseObject* parent) {
  ObjectState* state = stateOf(parent);
  if (state && state->children.last() != state_) place(this, &state->children, state->children.last());
}

void BaseObject::InsertAfter(BaseObject* sibling) {
  ObjectState* state = stateOf(sibling);
  place(this, listBeside(sibling), state && state->list ? state : nullptr);
}

void BaseObject::InsertBefore(BaseObject* sibling) {
  ObjectState* state = stateOf(sibling);
  if (!state || state == state_) return;
  NodeState* pred = state->list ? state->prev : nullptr;
  if (pred != state_) place(this, listBeside(sibling), pred);
}

Bool BaseObject::GetDeformMode() const {
  return stateOf(this)->deform;
}

void BaseObject::SetDeformMode(Bool on) {
  const auto lock = lockOf(state_);
  stateOf(this)->deform = on != FALSE;
}

Matrix BaseObject::GetMl() const {
  return stateOf(this)->local;
}

void BaseObject::SetMl(const Matrix& m) {
  const auto lock = lockOf(state_);
  stateOf(this)->local = m;
  stateOf(this)->pose.reset();
}

Matrix BaseObject::GetMg() const {
  return host::worldOf(*stateOf(this));
}

void BaseObject::SetMg(const Matrix& m) {
  const ObjectState* parent = host::parentOf(*stateOf(this));
  SetMl(parent ? host::worldOf(*parent).Inverse() * m : m);
}

BaseTag* BaseObject::GetFirstTag() const {
  return nodeOf<BaseTag>(stateOf(this)->tags.first());
}

BaseTag* BaseObject::GetTag(LONG type, LONG index) const {
  for (NodeState* tag = stateOf(this)->tags.first(); tag; tag = tag->next)
    if (tag->type == type && index-- == 0) return nodeOf<BaseTag>(tag);
  return nullptr;
}

BaseTag* BaseObject::MakeTag(LONG type, BaseTag* after) {
  BaseTag* tag = BaseTag::Alloc(type);
  InsertTag(tag, after);
  return tag;
}

void BaseObject::InsertTag(BaseTag* tag, BaseTag* after) {
  host::NodeList& tags = stateOf(this)->tags;
  NodeState* state = stateOf(static_cast<BaseList2D*>(tag));
  NodeState* pred = stateOf(static_cast<BaseList2D*>(after));
  if (!state || pred == state) return;
  if (pred && pred->list != &tags) pred = tags.last();
  const auto lock = lockOf(state_);
  tag->Remove();
  tags.insertAfter(*state, pred == state ? nullptr : pred);
}
