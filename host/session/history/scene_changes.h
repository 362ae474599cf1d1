// The differences between two kept scenes, in words.
#pragma once

#include <string>
#include <vector>

#include "kept_scene.h"

namespace host {

/// One line for each difference, in the order of the tree: "Key light intensity 12 -> 8", "Camera moved",
/// "Box deleted", "Material Red roughness 0.2 -> 0.5", "Render settings samples 64 -> 128". Empty when the
/// scenes are equal. Nodes are the same by identity, else by kind and the names on their path: a scene from
/// an earlier session has other identities. Any thread.
std::vector<std::string> sceneChanges(const KeptScene& before, const KeptScene& after);

} // namespace host
