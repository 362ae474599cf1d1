// The node tree of a glTF file.
#pragma once

#include "gltf_file.h"

namespace host {

struct NodeTree {
  std::vector<int> roots;  // of the shown scene
  std::vector<int> parent; // of each node; -1: a root
};

/// Throws SceneError when a node is its own ancestor or has two parents, or nodes nest too deeply.
NodeTree checkTree(const GltfFile& file, int deepest);

} // namespace host
