// Edits of materials, render settings and the document's time.
#include <algorithm>

#include "clone.h"
#include "document.h"
#include "parameters.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "unique_name.h"

namespace host {

namespace {

MaterialState* materialIn(const DocumentState& document, Identity identity) {
  NodeState* node = findNode(document, identity);
  return node && node->kind == NodeKind::material ? static_cast<MaterialState*>(node) : nullptr;
}

String freeMaterialName(const DocumentState& document, const String& wanted) {
  return uniqueName(wanted, [&](const String& name) {
    for (const NodeState* node = document.materials.first(); node; node = node->next)
      if (node->name == name) return true;
    return false;
  });
}

bool shows(const NodeState& tag, Identity material) {
  return tag.type == Ttexture && tag.data.GetBaseLink(param::textureMaterial).GetIdentity() == material;
}

// Takes tags away; gives the one before the first of them.
template <class Wanted>
NodeState* removeTags(ObjectState& object, const Wanted& wanted) {
  NodeState* pred = nullptr;
  bool any = false;
  for (NodeState *tag = object.tags.first(), *next = nullptr; tag; tag = next) {
    next = tag->next;
    if (!wanted(*tag)) continue;
    if (!any) pred = tag->prev;
    any = true;
    destroyNode(tag);
  }
  return any ? pred : object.tags.last();
}

bool showsOnly(const ObjectState& object, Identity material) {
  int count = 0;
  bool whole = true;
  for (const NodeState* tag = object.tags.first(); tag; tag = tag->next) {
    if (tag->type != Ttexture) continue;
    ++count;
    whole = whole && shows(*tag, material) && param::integer(*tag, param::textureGroup) < 0;
  }
  return material ? count == 1 && whole : count == 0;
}

RenderDataState& renderDataIn(DocumentState& document) {
  if (RenderDataState* data = activeRenderData(document)) return *data;
  RenderDataState* data = makeDefaultRenderData();
  document.renderData.append(*data);
  return *data;
}

NodeState* postIn(const DocumentState& document, Identity identity) {
  NodeState* node = findNode(document, identity);
  return node && node->kind == NodeKind::videoPost ? node : nullptr;
}

} // namespace

Identity newMaterial(BaseDocument& document, const String& name) {
  DocumentState& state = *stateOf(&document);
  NodeState* material = makeNode(NodeKind::material, Mmaterial);
  material->name = freeMaterialName(state, name.Content() ? name : String("Material"));
  material->data.SetVector(param::baseColor, Vector(0.8, 0.8, 0.8));
  state.materials.append(*material);
  selectMaterial(document, material->identity);
  return material->identity;
}

Identity duplicateMaterial(BaseDocument& document, Identity material) {
  DocumentState& state = *stateOf(&document);
  MaterialState* original = materialIn(state, material);
  if (!original) return 0;
  NodeState* copy = cloneNode(*original, COPYFLAGS_0);
  copy->name = freeMaterialName(state, original->name);
  state.materials.insertAfter(*copy, original);
  selectMaterial(document, copy->identity);
  return copy->identity;
}

bool deleteMaterial(BaseDocument& document, Identity material) {
  DocumentState& state = *stateOf(&document);
  MaterialState* node = materialIn(state, material);
  if (!node) return false;
  forEachObject(state.children, [&](ObjectState& object) {
    removeTags(object, [&](const NodeState& tag) { return shows(tag, material); });
  });
  destroyNode(node);
  return true;
}

bool assignMaterial(BaseDocument& document, std::span<const Identity> objects, Identity material) {
  DocumentState& state = *stateOf(&document);
  const MaterialState* node = material ? materialIn(state, material) : nullptr;
  if (material && !node) return false;
  bool done = false;
  for (const Identity identity : objects) {
    NodeState* found = findNode(state, identity);
    if (!found || found->kind != NodeKind::object) continue;
    auto& object = static_cast<ObjectState&>(*found);
    if (showsOnly(object, material)) continue;
    NodeState* pred = removeTags(object, [](const NodeState& tag) { return tag.type == Ttexture; });
    if (node) {
      NodeState* tag = makeNode(NodeKind::tag, Ttexture);
      tag->data.SetLink(param::textureMaterial, node->node);
      object.tags.insertAfter(*tag, pred);
    }
    done = true;
  }
  return done;
}

bool moveMaterial(BaseDocument& document, Identity material, Identity pred) {
  DocumentState& state = *stateOf(&document);
  MaterialState* node = materialIn(state, material);
  MaterialState* place = pred ? materialIn(state, pred) : nullptr;
  if (!node || node == place || (pred && !place) || node->prev == place) return false;
  state.materials.remove(*node);
  state.materials.insertAfter(*node, place);
  return true;
}

bool setRenderValue(BaseDocument& document, LONG id, const GeData& value) {
  RenderDataState& data = renderDataIn(*stateOf(&document));
  if (param::value(data, id) == value) return false;
  return nodeOf<RenderData>(&data)->SetParameter(id, value) != FALSE;
}

Identity addVideoPost(BaseDocument& document, LONG type) {
  for (const VideoPostRow& row : addableVideoPosts(document)) {
    if (row.type != type) continue;
    NodeState* post = makeNode(NodeKind::videoPost, type);
    post->name = row.name;
    renderDataIn(*stateOf(&document)).posts.append(*post);
    return post->identity;
  }
  return 0;
}

bool removeVideoPost(BaseDocument& document, Identity post) {
  NodeState* node = postIn(*stateOf(&document), post);
  destroyNode(node);
  return node != nullptr;
}

bool switchVideoPost(BaseDocument& document, Identity post, bool on) {
  NodeState* node = postIn(*stateOf(&document), post);
  if (!node || ((node->bits & BIT_VPDISABLED) == 0) == on) return false;
  node->bits = on ? node->bits & ~BIT_VPDISABLED : node->bits | BIT_VPDISABLED;
  return true;
}

bool setTimeRange(BaseDocument& document, LONG fps, LONG firstFrame, LONG lastFrame) {
  fps = std::clamp<LONG>(fps, 1, 1000);
  const BaseTime first(static_cast<Real>(firstFrame), static_cast<Real>(fps));
  const BaseTime last(static_cast<Real>(std::max(firstFrame, lastFrame)), static_cast<Real>(fps));
  if (document.GetFps() == fps && document.GetMinTime() == first && document.GetMaxTime() == last &&
      document.GetLoopMinTime() == first && document.GetLoopMaxTime() == last)
    return false;
  document.SetFps(fps);
  document.SetMinTime(first);
  document.SetMaxTime(last);
  document.SetLoopMinTime(first);
  document.SetLoopMaxTime(last);
  return true;
}

} // namespace host
