// The nodes of a glTF file as a tree without loops.
#pragma once

#include "gltf_file.h"

namespace host {

struct NodeTree {
  std::vector<int> roots;  // of the scene that is shown
  std::vector<int> parent; // of each node; -1 none
};

/// Throws SceneError when a node is below itself or below two others, or nodes nest too deeply.
NodeTree checkTree(const GltfFile& file, int deepest);

} // namespace host
