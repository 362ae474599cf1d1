// Objects and points under the pointer of an editor view. Main thread.
#pragma once

#include <optional>
#include <vector>

#include "view_display.h"

namespace host {

/// The point of a surface under a position.
std::optional<Vector> pointUnder(const ViewDisplay& display, double x, double y);

/// The point that navigation turns about: under the position, else the middle of the selection, else that of
/// the scene. Needs a document.
Vector pivotAt(const ViewDisplay& display, double x, double y);

/// See `EditorView`.
BaseObject* objectAt(const ViewDisplay& display, double x, double y);
std::vector<BaseObject*> objectsIn(const ViewDisplay& display, double x0, double y0, double x1, double y1);

} // namespace host
