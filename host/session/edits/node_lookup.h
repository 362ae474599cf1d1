// Nodes of a document by identity and kind. Private to the edits.
#pragma once

#include "document.h"

namespace host {

inline DocumentState& stateIn(BaseDocument& document) {
  return *stateOf(&document);
}

/// The node of this identity and kind; null when the document has no such node.
template <class State>
State* nodeIn(const DocumentState& document, Identity identity, NodeKind kind) {
  NodeState* node = findNode(document, identity);
  return node && node->kind == kind ? static_cast<State*>(node) : nullptr;
}

/// An object in the document's tree, and not an editor camera.
inline ObjectState* objectIn(const DocumentState& document, Identity identity) {
  auto* object = nodeIn<ObjectState>(document, identity, NodeKind::object);
  return object && object->list ? object : nullptr;
}

/// Sets or clears bits. True when they were different.
inline bool setBits(NodeState& node, LONG bits, bool on) {
  const LONG before = node.bits;
  node.bits = on ? before | bits : before & ~bits;
  return node.bits != before;
}

inline void setPose(ObjectState& object, const Pose& pose) {
  object.pose = pose;
  object.local = matrixOf(pose);
}

} // namespace host
