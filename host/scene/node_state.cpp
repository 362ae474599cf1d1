#include "node_state.h"

#include <algorithm>

#include "video_post_state.h"

namespace host {

namespace {

// Moves a node and all below it to `document`; null: out of every document.
void setDocument(NodeState& node, DocumentState* document) {
  node.document = document;
  forEachOwned(node, [document](NodeState& owned) { owned.document = document; });
}

void deleteInterface(NodeState& state) noexcept {
  switch (state.kind) {
  case NodeKind::document:
    return Access::destroy(nodeOf<BaseDocument>(&state));
  case NodeKind::object:
    return Access::destroy(nodeOf<BaseObject>(&state));
  case NodeKind::tag:
    return Access::destroy(nodeOf<BaseTag>(&state));
  case NodeKind::material:
    return Access::destroy(nodeOf<BaseMaterial>(&state));
  case NodeKind::shader:
    return Access::destroy(nodeOf<BaseShader>(&state));
  case NodeKind::renderData:
    return Access::destroy(nodeOf<RenderData>(&state));
  case NodeKind::videoPost:
    return Access::destroy(nodeOf<BaseVideoPost>(&state));
  case NodeKind::view:
    return Access::destroy(nodeOf<BaseDraw>(&state));
  }
}

std::unique_ptr<NodeState> newState(NodeKind kind, LONG type) {
  switch (kind) {
  case NodeKind::document:
    return std::make_unique<DocumentState>();
  case NodeKind::object:
    return std::make_unique<ObjectState>(type);
  case NodeKind::material:
    return std::make_unique<MaterialState>(type);
  case NodeKind::shader:
    return std::make_unique<ShaderState>(type);
  case NodeKind::renderData:
    return std::make_unique<RenderDataState>();
  case NodeKind::view:
    return std::make_unique<ViewState>();
  case NodeKind::videoPost:
    return std::make_unique<VideoPostState>(type);
  case NodeKind::tag:
    break;
  }
  return std::make_unique<NodeState>(kind, type);
}

BaseList2D* newInterface(NodeState* state) {
  switch (state->kind) {
  case NodeKind::document:
    return Access::make<BaseDocument>(state);
  case NodeKind::object:
    return Access::make<BaseObject>(state);
  case NodeKind::tag:
    return Access::make<BaseTag>(state);
  case NodeKind::material:
    return Access::make<BaseMaterial>(state);
  case NodeKind::shader:
    return Access::make<BaseShader>(state);
  case NodeKind::renderData:
    return Access::make<RenderData>(state);
  case NodeKind::videoPost:
    return Access::make<BaseVideoPost>(state);
  case NodeKind::view:
    return Access::make<BaseDraw>(state);
  }
  return nullptr;
}

} // namespace

NodeList::~NodeList() {
  while (first_) {
    NodeState* node = first_;
    first_ = node->next;
    node->list = nullptr; // the whole list is freed, so no unlinking
    destroyNode(node);
  }
}

void NodeList::insertAfter(NodeState& node, NodeState* pred) {
  node.list = this;
  node.prev = pred;
  node.next = pred ? pred->next : first_;
  (pred ? pred->next : first_) = &node;
  (node.next ? node.next->prev : last_) = &node;
  if (owner_->document) owner_->document->indexed = false;
  setDocument(node, owner_->document);
}

void NodeList::remove(NodeState& node) {
  (node.prev ? node.prev->next : first_) = node.next;
  (node.next ? node.next->prev : last_) = node.prev;
  node.prev = node.next = nullptr;
  node.list = nullptr;
  if (owner_->document) owner_->document->indexed = false;
  setDocument(node, nullptr);
}

ViewState::~ViewState() {
  destroyNode(editorCamera);
}

NodeState* makeNode(NodeKind kind, LONG type) {
  std::unique_ptr<NodeState> state = newState(kind, type);
  state->node = newInterface(state.get());
  return state.release();
}

ObjectState* makeObject(LONG type) {
  return static_cast<ObjectState*>(makeNode(NodeKind::object, type));
}

void destroyNode(NodeState* node) noexcept {
  if (!node) return;
  if (node->list) node->list->remove(*node);
  deleteInterface(*node);
  delete node;
}

std::array<const NodeList*, 6> listsOf(const NodeState& node) noexcept {
  switch (node.kind) {
  case NodeKind::document: {
    const auto& d = static_cast<const DocumentState&>(node);
    return {&d.children, &d.materials, &d.renderData, &d.views};
  }
  case NodeKind::object:
    return {&node.children, &static_cast<const ObjectState&>(node).tags};
  case NodeKind::material:
    return {&node.shaders};
  case NodeKind::shader:
    return {&node.children};
  case NodeKind::renderData:
    return {&static_cast<const RenderDataState&>(node).posts};
  case NodeKind::tag:
  case NodeKind::videoPost:
  case NodeKind::view:
    break;
  }
  return {};
}

NodeState* findNode(const DocumentState& document, Identity identity) {
  if (identity == 0) return nullptr;
  const std::lock_guard lock(document.mutex);
  if (!document.indexed) {
    document.index.clear();
    forEachOwned(document, [&](NodeState& node) { document.index.emplace(node.identity, &node); });
    document.indexed = true;
  }
  const auto found = document.index.find(identity);
  return found == document.index.end() ? nullptr : found->second;
}

std::unique_lock<std::recursive_mutex> lockOf(const NodeState* node) {
  if (!node || !node->document) return {};
  return std::unique_lock(node->document->mutex);
}

bool isKnownType(NodeKind kind, LONG type) noexcept {
  constexpr std::array objects{Opolygon, Olight, Ocamera, Ofloor, Osky, Onull, Osds};
  switch (kind) {
  case NodeKind::object:
    return std::find(objects.begin(), objects.end(), type) != objects.end();
  case NodeKind::material:
    return type == Mmaterial;
  case NodeKind::tag:
  case NodeKind::shader:
  case NodeKind::videoPost:
    return type > 0; // types of other programs are kept
  case NodeKind::document:
  case NodeKind::renderData:
  case NodeKind::view:
    break;
  }
  return type == 0;
}

ObjectState* parentOf(const ObjectState& object) noexcept {
  NodeState* owner = object.list ? object.list->owner() : nullptr;
  return owner && owner->kind == NodeKind::object ? static_cast<ObjectState*>(owner) : nullptr;
}

Matrix worldOf(const ObjectState& object) {
  Matrix world = object.local;
  for (const ObjectState* up = parentOf(object); up; up = parentOf(*up))
    world = up->local * world;
  return world;
}

} // namespace host
