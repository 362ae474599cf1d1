// The parts of a glTF file that every node of ours carries in its extras: names, bits, containers and links.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "gltf_file.h"
#include "gltf_load.h"
#include "gltf_values.h"

namespace host {

/// A whole number; the preset when it is missing or no integer.
LONG longIn(const Json& from, const char* key, LONG preset = 0);

/// Keeps what the extras hold of other programs, so that saving writes it again.
void keepForeign(const Json& json, NodeState& node);

/// Knows the identities that the file's links name. A link names a node or a material by its index, another
/// node of ours by its reference, or the first object of a name.
class ExtrasReader {
 public:
  /// Gives an identity to every node and material of the file.
  explicit ExtrasReader(const GltfFile& file);

  /// 0 for a link that names nothing.
  Identity resolve(const Json& link);
  const std::vector<Identity>& nodes() const noexcept { return nodes_; }
  const std::vector<Identity>& materials() const noexcept { return materials_; }
  /// Objects by name: the first one of a name counts, unless a later one replaces it.
  void addName(const std::string& name, Identity identity) { names_.try_emplace(name, identity); }
  void replaceName(const std::string& name, Identity identity) { names_[name] = identity; }

  /// The first node with a reference gets the identity that links to the reference resolve to.
  void takeRef(const Json& from, NodeState& node);
  /// Name, bits and container.
  void applyCommon(const Json& from, NodeState& node);
  /// A node that stands in the extras alone; null when its type is unknown. The caller owns it.
  NodeState* makeEntry(NodeKind kind, const Json& from);
  /// Appends an entry for each element of `from[key]`; unknown types are left out.
  void appendEntries(const Json& from, const char* key, NodeKind kind, NodeList& list);

 private:
  Identity refIdentity(const std::string& ref);
  void addRef(const Json& from, Identity identity);

  std::vector<Identity> nodes_, materials_;
  std::map<std::string, Identity> refs_, names_;
  std::set<std::string> taken_; // references whose node is known
};

} // namespace host
