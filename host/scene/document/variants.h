// Variants of a scene's materials (KHR_materials_variants): a texture tag with a variant counts only while
// the document shows that variant. Any thread that may read or change the document.
#pragma once

#include <string>
#include <vector>

#include "c4d_document.h"

namespace host {

struct NodeState;

/// The names of a document's variants, by index.
std::vector<std::string> variantNames(const BaseDocument& document);
/// The index of the chosen variant; -1: none, the materials of the file itself.
LONG chosenVariant(const BaseDocument& document);
/// -1, or an index that the document does not have, chooses none.
void chooseVariant(BaseDocument& document, LONG index);

/// Whether a texture tag counts while this variant is chosen.
bool belongsTo(const NodeState& textureTag, LONG variant);

} // namespace host
