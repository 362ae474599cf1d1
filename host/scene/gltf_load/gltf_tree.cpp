#include "gltf_tree.h"

#include <algorithm>

namespace host {

namespace {

std::string named(int node) {
  return "node " + std::to_string(node);
}

void checkIndex(const GltfFile& file, int node) {
  if (node < 0 || static_cast<std::size_t>(node) >= file.model.nodes.size())
    throw SceneError("it refers to " + named(node) + ", which is not in it");
}

// The walk visits parents first, so a node's depth follows from its parent's.
void checkReach(const GltfFile& file, const NodeTree& tree, int deepest) {
  std::vector<std::pair<int, int>> waiting; // node, depth
  for (int node = 0; node < static_cast<int>(tree.parent.size()); ++node)
    if (tree.parent[static_cast<std::size_t>(node)] < 0) waiting.emplace_back(node, 1);
  std::size_t reached = 0;
  while (!waiting.empty()) {
    const auto [node, depth] = waiting.back();
    waiting.pop_back();
    ++reached;
    if (depth > deepest)
      throw SceneError("its nodes are nested more than " + std::to_string(deepest) + " deep");
    for (const int child : file.model.nodes[static_cast<std::size_t>(node)].children)
      waiting.emplace_back(child, depth + 1);
  }
  if (reached != tree.parent.size()) throw SceneError("a node of it is below itself");
}

} // namespace

NodeTree checkTree(const GltfFile& file, int deepest) {
  NodeTree tree;
  const auto& nodes = file.model.nodes;
  tree.parent.assign(nodes.size(), -1);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    for (const int child : nodes[i].children) {
      checkIndex(file, child);
      int& parent = tree.parent[static_cast<std::size_t>(child)];
      if (parent >= 0)
        throw SceneError(named(child) + " is below two others, " + named(parent) + " and " +
                         named(static_cast<int>(i)));
      parent = static_cast<int>(i);
    }
  }
  checkReach(file, tree, deepest);
  const auto& scenes = file.model.scenes;
  if (scenes.empty()) {
    for (std::size_t i = 0; i < nodes.size(); ++i)
      if (tree.parent[i] < 0) tree.roots.push_back(static_cast<int>(i));
    return tree;
  }
  const int shown = file.model.defaultScene < 0 ? 0 : file.model.defaultScene;
  if (static_cast<std::size_t>(shown) >= scenes.size())
    throw SceneError("it refers to scene " + std::to_string(shown) + ", which is not in it");
  tree.roots = scenes[static_cast<std::size_t>(shown)].nodes;
  for (const int root : tree.roots) {
    checkIndex(file, root);
    if (tree.parent[static_cast<std::size_t>(root)] >= 0)
      throw SceneError(named(root) + " is in the scene in two places");
  }
  std::vector<int> sorted = tree.roots;
  std::sort(sorted.begin(), sorted.end());
  if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end())
    throw SceneError("a node is in the scene twice");
  return tree;
}

} // namespace host
