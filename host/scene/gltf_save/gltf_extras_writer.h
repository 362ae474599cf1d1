// The counterpart of ExtrasReader: writes the parts that every node of ours carries in its extras.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "gltf_values.h"
#include "node_state.h"

namespace host {

/// The name in glTF's own field where it can stand there, else in `extras`.
void putName(const NodeState& node, Json& json, Json& extras);
/// Adds `extras`, unless empty, and the extras of other programs that the node keeps.
void putExtras(const NodeState& node, Json extras, Json& json);

/// Links name objects by the index of their glTF node, materials by theirs, and other nodes by a reference.
class ExtrasWriter {
 public:
  /// Numbers the document's objects, in document order, and its materials.
  explicit ExtrasWriter(const DocumentState& document);

  const std::vector<const ObjectState*>& objects() const noexcept { return objects_; }
  /// The index of an object's glTF node; nothing when it is not in the document.
  std::optional<int> nodeIndex(Identity object) const;
  std::optional<int> materialIndex(Identity material) const;

  /// The JSON of a link; null when it leads to no node of the document.
  Json link(Identity identity);
  /// Bits, and the container's difference from what glTF's own words give.
  void writeCommon(const NodeState& node, const BaseContainer& derived, Json& to);
  /// A node that stands in the extras alone.
  Json entry(const NodeState& node, bool withType = true);
  /// Takes the references of nodes that no link leads to out of the file. Last.
  void dropUnusedRefs(Json& root) const;

 private:
  void number(const NodeList& list);
  std::string refOf(Identity identity);
  void dropRefs(Json& json) const;

  const DocumentState& document_;
  std::vector<const ObjectState*> objects_;
  std::unordered_map<Identity, int> nodes_, materials_;
  std::unordered_map<Identity, std::string> refs_; // of nodes that a link leads to
};

} // namespace host
