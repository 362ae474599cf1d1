// From a glTF file to a document.
#pragma once

#include "gltf_file.h"
#include "node_state.h"

namespace host {

/// Frees a node and what it owns; for `std::unique_ptr`.
struct NodeDeleter {
  void operator()(NodeState* node) const noexcept { destroyNode(node); }
};
template <class Node>
using NodePtr = std::unique_ptr<Node, NodeDeleter>;

/// Builds the document. Throws SceneError.
NodePtr<DocumentState> buildDocument(const GltfFile& file, LoadContext& context);

/// Gives a new document what its file did not: times, render settings, a camera for its view; and brings it
/// to its time unless it stands there.
struct Given {
  bool times = false, renderData = false, views = false, posed = false;
};
void completeDocument(DocumentState& document, const Given& given);

} // namespace host
