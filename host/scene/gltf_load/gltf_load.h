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

/// The parts that a file holds itself; `posed`: its objects stand as they do at the document's time.
struct BroughtByFile {
  bool renderData = false, views = false, posed = false;
};
/// Gives a new document the parts that its file lacks: render settings, a view, the pose at its time.
void completeDocument(DocumentState& document, const BroughtByFile& brought);

} // namespace host
