// New objects, fitted to the scene; see scene_edits.h.
#pragma once

#include <span>

#include "node_state.h"
#include "snapshot.h"

namespace host {

/// Adds an object at the top level, after all others, and selects it alone; 0 for a type that a user cannot
/// make. A camera looks as `view` does (null: from the origin along -Z). A floor lies below all meshes and
/// reaches far beyond them; a sky is a gradient.
Identity newObject(BaseDocument& document, LONG type, const BaseDraw* view = nullptr);
/// Adds a white light of a kind (param::lightKind) outside all meshes, above and to the right, aimed at
/// their middle. Its intensity grows with the square of its distance, so it lights a scene of any size alike.
Identity newLight(BaseDocument& document, LONG kind);

/// Shows this picture around the scene: on these skies, else on the document's first sky, else on a new one.
/// A sky that was of another kind loses its colour.
bool setSkyPicture(BaseDocument& document, std::span<const Identity> skies, const PicturePtr& picture);

} // namespace host
