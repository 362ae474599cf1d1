// The table behind the attributes. Private to host/session.
#pragma once

#include "attributes.h"
#include "node_state.h"

namespace host {

/// An attribute and the place of its value.
struct AttributeEntry {
  Attribute shape;             // without value
  NodeKind kind;               // of nodes that have it
  LONG type = 0;               // of nodes that have it; 0: all of the kind
  LONG parameter = 0;          // in the node's container; 0: not there
  Real factor = 1;             // shown value = stored value * factor
  LONG switchId = 0, when = 0; // only where this parameter has this value; 0: always
};

const std::vector<AttributeEntry>& attributeTable();
/// The entry for a node; null when it has no such attribute.
const AttributeEntry* attributeEntry(const NodeState& node, AttributeId id);
GeData readAttribute(const NodeState& node, const AttributeEntry& entry);
/// Degrees to nine decimals, so that what was typed comes back.
Real roundedDegrees(Real degrees);
/// Whether the matrix has no parts that a pose could hold.
bool isSheared(const Matrix& matrix);

} // namespace host
