#include "material_edits.h"

#include "clone.h"
#include "node_lookup.h"
#include "parameters.h"
#include "unique_name.h"

namespace host {

namespace {

MaterialState* materialIn(const DocumentState& document, Identity identity) {
  return nodeIn<MaterialState>(document, identity, NodeKind::material);
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

// Removes tags; returns the tag before the first of them.
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

} // namespace

bool selectMaterial(BaseDocument& document, Identity material) {
  bool done = false;
  for (NodeState* node = stateIn(document).materials.first(); node; node = node->next)
    if (setBits(*node, BIT_ACTIVE, node->identity == material)) done = true;
  return done;
}

Identity newMaterial(BaseDocument& document, const String& name) {
  DocumentState& state = *stateOf(&document);
  NodeState* material = makeNode(NodeKind::material, Mmaterial);
  material->name = freeMaterialName(state, name.Content() ? name : String("Material"));
  material->data.SetVector(param::baseColor, Vector(0.8, 0.8, 0.8));
  state.materials.append(*material);
  selectMaterial(document, material->identity);
  return material->identity;
}

Identity addMaterial(BaseDocument& document, const NodeState& material, const String& name) {
  DocumentState& state = *stateOf(&document);
  NodeState* copy = cloneNode(material, COPYFLAGS_0);
  copy->name = freeMaterialName(state, name);
  state.materials.append(*copy);
  selectMaterial(document, copy->identity);
  return copy->identity;
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

} // namespace host
