// Finding the same nodes in another version of a document: by their names and those above them. Main thread.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "node_state.h"

namespace host {

/// From the top down: a name, and which one among the siblings of that name.
using NamePath = std::vector<std::pair<std::string, int>>;

NamePath namePathOf(const ObjectState& object);
/// The object at this path; else the only one in the document with the last name; null when there is none.
ObjectState* objectAt(DocumentState& document, const NamePath& path);

/// Gives `next` the time, the views with their cameras, and the selection of `before`, as far as it has such
/// objects and materials, and evaluates it.
void carryOver(const DocumentState& before, DocumentState& next);

} // namespace host
