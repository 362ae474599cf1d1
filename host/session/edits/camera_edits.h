// Edits of cameras; see scene_edits.h.
#pragma once

#include "c4d_document.h"
#include "identity.h"

namespace host {

/// The camera that the user means: the first selected one, else the one that the active view looks through.
/// 0: neither is a camera of the document.
Identity chosenCamera(const BaseDocument& document);

/// The camera of the document that the active view looks through. 0: none.
Identity viewCamera(const BaseDocument& document);
/// A locked camera stays where it is while the view is moved.
bool isCameraLocked(const BaseDocument& document, Identity camera);
void lockCamera(BaseDocument& document, Identity camera, bool lock);

/// Sets the focus distance to a point in the world, along the camera's axis. False for a point behind it.
bool focusCamera(BaseDocument& document, Identity camera, const Vector& point);

} // namespace host
