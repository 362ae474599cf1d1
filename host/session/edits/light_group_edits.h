// Edits of all lights of a light group; see scene_edits.h.
#pragma once

#include <span>
#include <string>

#include "c4d_document.h"

namespace host {

/// A factor for a group, NAME of the layer lightgroup_NAME: of red, green and blue, 0 and up.
struct LightGroupGain {
  std::string group;
  Vector gain{1, 1, 1};
};

/// Multiplies the light of lamps, glowing materials and the sky by their group's factor: intensities by its
/// largest part, colours by the rest. Unlit materials have no intensity: their colours change and end at 1.
/// Groups that the document does not have, and factors that are not finite, are skipped.
bool scaleLightGroups(BaseDocument& document, std::span<const LightGroupGain> gains);

} // namespace host
