// Nodes of all kinds; tags, shaders and materials.
#include <new>

#include "clone.h"
#include "node_state.h"
#include "parameters.h"

using host::lockOf;
using host::NodeKind;
using host::nodeOf;
using host::NodeState;
using host::stateOf;

BaseList2D::BaseList2D(host::NodeState* state) : state_(state) {
}
BaseList2D::~BaseList2D() = default;

LONG BaseList2D::GetType() const {
  return state_->type;
}

Bool BaseList2D::IsInstanceOf(LONG type) const {
  return state_->type == type || (type == Obase && state_->kind == NodeKind::object);
}

String BaseList2D::GetName() const {
  return state_->name;
}

void BaseList2D::SetName(const String& name) {
  const auto lock = lockOf(state_);
  state_->name = name;
}

ULLONG BaseList2D::GetIdentity() const {
  return state_->identity;
}

BaseDocument* BaseList2D::GetDocument() const {
  return nodeOf<BaseDocument>(state_->document);
}

Bool BaseList2D::GetBit(LONG mask) const {
  return (state_->bits & mask) == mask;
}

void BaseList2D::SetBit(LONG mask) {
  const auto lock = lockOf(state_);
  state_->bits |= mask;
}

void BaseList2D::DelBit(LONG mask) {
  const auto lock = lockOf(state_);
  state_->bits &= ~mask;
}

BaseContainer BaseList2D::GetData() const {
  return state_->data;
}

BaseContainer* BaseList2D::GetDataInstance() {
  return &state_->data;
}

const BaseContainer* BaseList2D::GetDataInstance() const {
  return &state_->data;
}

void BaseList2D::SetData(const BaseContainer& data, Bool add) {
  const auto lock = lockOf(state_);
  if (add)
    state_->data.MergeContainer(data);
  else
    state_->data = data;
}

Bool BaseList2D::GetParameter(LONG id, GeData& value) const {
  GeData found = host::param::value(*state_, id);
  if (found.GetType() == DA_NIL) return FALSE;
  value = std::move(found);
  return TRUE;
}

Bool BaseList2D::SetParameter(LONG id, const GeData& value) {
  // The parameters of other programs' tags, shaders and video posts are unknown here.
  const bool open = state_->kind == NodeKind::tag || state_->kind == NodeKind::shader ||
                    state_->kind == NodeKind::videoPost;
  const bool known = open || state_->data.FindIndex(id) != NOTOK ||
                     host::param::defaultValue(state_->kind, state_->type, id).GetType() != DA_NIL;
  if (!known) return FALSE;
  const auto lock = lockOf(state_);
  state_->data.SetData(id, value);
  return TRUE;
}

BaseList2D* BaseList2D::GetClone(COPYFLAGS flags) const {
  const auto lock = lockOf(state_);
  try {
    return host::cloneNode(*state_, flags)->node;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void BaseList2D::Remove() {
  const auto lock = lockOf(state_);
  if (state_->list) state_->list->remove(*state_);
}

namespace {

host::NodeList* shaderList(NodeState& owner) {
  if (owner.kind == NodeKind::material) return &owner.shaders;
  return owner.kind == NodeKind::shader ? &owner.children : nullptr;
}

// Whether `node` is `other` or an ancestor of it.
bool holds(const NodeState& node, const NodeState& other) {
  for (const NodeState* up = &other; up; up = up->list ? up->list->owner() : nullptr)
    if (up == &node) return true;
  return false;
}

// Frees a node, in a document or not, and clears the caller's pointer.
template <class Node>
void freeNode(Node*& node) {
  if (!node) return;
  NodeState* state = stateOf(node);
  host::DocumentState* document = state->document;
  if (document) {
    const std::lock_guard lock(document->mutex);
    host::destroyNode(state);
  } else {
    host::destroyNode(state);
  }
  node = nullptr;
}

template <class Node>
Node* allocNode(NodeKind kind, LONG type) {
  return host::isKnownType(kind, type) ? nodeOf<Node>(host::makeNode(kind, type)) : nullptr;
}

} // namespace

BaseShader* BaseList2D::GetFirstShader() const {
  const host::NodeList* list = shaderList(*state_);
  return list ? nodeOf<BaseShader>(list->first()) : nullptr;
}

void BaseList2D::InsertShader(BaseShader* shader, BaseShader* after) {
  host::NodeList* list = shaderList(*state_);
  NodeState* state = stateOf(static_cast<BaseList2D*>(shader));
  if (!list || !state || holds(*state, *state_)) return;
  NodeState* pred = stateOf(static_cast<BaseList2D*>(after));
  if (pred == state || (pred && pred->list != list)) return;
  const auto lock = lockOf(state_);
  shader->Remove();
  list->insertAfter(*state, pred);
}

BaseList2D* BaseList2D::Next() const {
  return state_->next ? state_->next->node : nullptr;
}

BaseList2D* BaseList2D::Pred() const {
  return state_->prev ? state_->prev->node : nullptr;
}

BaseList2D* BaseList2D::Up() const {
  const NodeState* owner = state_->list ? state_->list->owner() : nullptr;
  return owner && owner->kind == state_->kind ? owner->node : nullptr;
}

BaseList2D* BaseList2D::Down() const {
  return state_->children.first() ? state_->children.first()->node : nullptr;
}

// --- tags ---

BaseTag* BaseTag::Alloc(LONG type) {
  return allocNode<BaseTag>(NodeKind::tag, type);
}

void BaseTag::Free(BaseTag*& tag) {
  freeNode(tag);
}

BaseTag* BaseTag::GetNext() const {
  return static_cast<BaseTag*>(Next());
}

BaseTag* BaseTag::GetPred() const {
  return static_cast<BaseTag*>(Pred());
}

BaseObject* BaseTag::GetObject() const {
  return state_->list ? nodeOf<BaseObject>(state_->list->owner()) : nullptr;
}

// --- shaders ---

BaseShader* BaseShader::Alloc(LONG type) {
  return allocNode<BaseShader>(NodeKind::shader, type);
}

void BaseShader::Free(BaseShader*& shader) {
  freeNode(shader);
}

BaseShader* BaseShader::GetNext() const {
  return static_cast<BaseShader*>(Next());
}

BaseShader* BaseShader::GetPred() const {
  return static_cast<BaseShader*>(Pred());
}

BaseShader* BaseShader::GetUp() const {
  return static_cast<BaseShader*>(Up());
}

BaseShader* BaseShader::GetDown() const {
  return static_cast<BaseShader*>(Down());
}

// --- materials ---

BaseMaterial* BaseMaterial::Alloc(LONG type) {
  return allocNode<BaseMaterial>(NodeKind::material, type);
}

void BaseMaterial::Free(BaseMaterial*& material) {
  freeNode(material);
}

BaseMaterial* BaseMaterial::GetNext() const {
  return static_cast<BaseMaterial*>(Next());
}

BaseMaterial* BaseMaterial::GetPred() const {
  return static_cast<BaseMaterial*>(Pred());
}

BaseChannel* BaseMaterial::GetChannel(LONG id) {
  if (id < 0 || id >= host::channelCount) return nullptr;
  auto& channels = stateOf(this)->channels;
  for (const auto& channel : channels)
    if (channel->GetId() == id) return channel.get();
  channels.push_back(host::Access::makeChannel(this, id));
  return channels.back().get();
}

BaseShader* BaseChannel::GetShader() const {
  const host::MaterialState& material = *stateOf(material_);
  const host::Identity wanted = material.shaderSlots[static_cast<std::size_t>(id_)];
  if (wanted == 0) return nullptr;
  for (NodeState* shader = material.shaders.first(); shader; shader = shader->next)
    if (shader->identity == wanted) return nodeOf<BaseShader>(shader);
  return nullptr;
}

Bool BaseChannel::SetShader(BaseShader* shader) {
  host::MaterialState& material = *stateOf(material_);
  const NodeState* state = stateOf(static_cast<BaseList2D*>(shader));
  if (state && state->list != &material.shaders) return FALSE;
  const auto lock = lockOf(&material);
  material.shaderSlots[static_cast<std::size_t>(id_)] = state ? state->identity : 0;
  return TRUE;
}

// --- render data and video posts ---

BaseVideoPost* BaseVideoPost::Alloc(LONG type) {
  return allocNode<BaseVideoPost>(NodeKind::videoPost, type);
}

void BaseVideoPost::Free(BaseVideoPost*& post) {
  freeNode(post);
}

BaseVideoPost* BaseVideoPost::GetNext() const {
  return static_cast<BaseVideoPost*>(Next());
}

BaseVideoPost* BaseVideoPost::GetPred() const {
  return static_cast<BaseVideoPost*>(Pred());
}

RenderData* RenderData::Alloc() {
  return nodeOf<RenderData>(host::makeNode(NodeKind::renderData, 0));
}

void RenderData::Free(RenderData*& data) {
  freeNode(data);
}

RenderData* RenderData::GetNext() const {
  return static_cast<RenderData*>(Next());
}

RenderData* RenderData::GetPred() const {
  return static_cast<RenderData*>(Pred());
}

BaseVideoPost* RenderData::GetFirstVideoPost() const {
  return nodeOf<BaseVideoPost>(stateOf(this)->posts.first());
}

void RenderData::InsertVideoPost(BaseVideoPost* post, BaseVideoPost* after) {
  host::NodeList& posts = stateOf(this)->posts;
  NodeState* state = stateOf(static_cast<BaseList2D*>(post));
  NodeState* pred = stateOf(static_cast<BaseList2D*>(after));
  if (!state || pred == state || (pred && pred->list != &posts)) return;
  const auto lock = lockOf(state_);
  post->Remove();
  posts.insertAfter(*state, pred);
}

void RenderData::InsertVideoPostLast(BaseVideoPost* post) {
  NodeState* last = stateOf(this)->posts.last();
  if (post && last != stateOf(static_cast<BaseList2D*>(post)))
    InsertVideoPost(post, nodeOf<BaseVideoPost>(last));
}
