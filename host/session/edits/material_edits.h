// Edits of materials and of the objects that show them; see scene_edits.h.
#pragma once

#include <span>

#include "node_state.h"

namespace host {

/// Selects only this one; 0 selects none.
bool selectMaterial(BaseDocument& document, Identity material);
/// Adds a material of this name, made unique by a number, and selects it.
Identity newMaterial(BaseDocument& document, const String& name = "Material");
/// Adds a copy of a material, of this document or another one, and selects it. The name is made unique.
Identity addMaterial(BaseDocument& document, const NodeState& material, const String& name);
Identity duplicateMaterial(BaseDocument& document, Identity material);
/// Texture tags that use it are deleted too.
bool deleteMaterial(BaseDocument& document, Identity material);
/// Assigns the material to the whole of each object: one texture tag replaces the others. 0 removes all
/// texture tags.
bool assignMaterial(BaseDocument& document, std::span<const Identity> objects, Identity material);
bool moveMaterial(BaseDocument& document, Identity material, Identity pred); // 0: to the front

} // namespace host
