// Finds the same nodes in another version of a document by the names on their paths. Main thread.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "node_state.h"

namespace host {

/// From the top down: a name, and the index among the siblings of that name.
using NamePath = std::vector<std::pair<std::string, int>>;

NamePath namePathOf(const ObjectState& object);
/// The object at this path; else the only one in the document with the last name; else null.
ObjectState* objectAt(DocumentState& document, const NamePath& path);

/// Copies the time, the views with their cameras, and the selection of `before` to `next`, as far as it has
/// these objects and materials, and evaluates it.
void carryOver(const DocumentState& before, DocumentState& next);

} // namespace host
