// Edits of the object tree: selection, matrices, copies, groups, order; see scene_edits.h.
#pragma once

#include <span>
#include <vector>

#include "node_state.h"

namespace host {

using Identities = std::vector<Identity>;

/// Selects these objects. `replace` deselects all others, `add` keeps them, `toggle` inverts each given
/// object. Objects and materials have separate selections.
enum class SelectMode { replace, add, toggle };
bool selectObjects(BaseDocument& document, std::span<const Identity> objects,
                   SelectMode mode = SelectMode::replace);
/// Sets the matrix, exactly.
bool setLocalMatrix(BaseDocument& document, Identity object, const Matrix& local);
bool setWorldMatrix(BaseDocument& document, Identity object, const Matrix& world);

/// Deletes them with their descendants.
bool deleteObjects(BaseDocument& document, std::span<const Identity> objects);
/// Copies them with their descendants, each after its original, and selects the copies.
Identities duplicateObjects(BaseDocument& document, std::span<const Identity> objects);
/// Puts them under a new null in the place of the first one, without moving them in the world, and selects
/// it.
Identity groupObjects(BaseDocument& document, std::span<const Identity> objects);
/// Moves them, in document order, under `parent` (0: to the top) behind `pred` (0: to the front), without
/// moving them in the world. An object that would become its own descendant stays.
bool moveObjects(BaseDocument& document, std::span<const Identity> objects, Identity parent, Identity pred);
/// The given objects without descendants of other given objects, in document order.
Identities topmost(const BaseDocument& document, std::span<const Identity> objects);

/// `wanted`, with a number when an object of the document has that name.
String freeObjectName(const DocumentState& document, const String& wanted);

} // namespace host
