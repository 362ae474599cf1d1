// Copies of nodes and documents. Containers, geometry, pictures and tracks are shared, never copied.
#pragma once

#include "node_state.h"

namespace host {

/// A copy of a node and all nodes that it owns, with new identities, in no list; links, slots and joints
/// inside the copy point to the copies. A document gives a document.
NodeState* cloneNode(const NodeState& node, COPYFLAGS flags);

/// A copy of a document that keeps every identity. Any thread that may use the document, also while its owner
/// edits it.
DocumentState* cloneDocument(const DocumentState& document, COPYFLAGS flags);

} // namespace host
