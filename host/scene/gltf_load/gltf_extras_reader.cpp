#include "gltf_extras_reader.h"

namespace host {

LONG longIn(const Json& from, const char* key, LONG preset) {
  const Json& value = member(from, key);
  return value.is_number_integer() ? static_cast<LONG>(value.get<std::int64_t>()) : preset;
}

void keepForeign(const Json& json, NodeState& node) {
  const Json& extras = member(json, "extras");
  if (extras.is_null()) return;
  Json foreign = extras;
  if (foreign.is_object()) foreign.erase("lumenara");
  if (foreign.is_object() && foreign.empty()) return;
  node.foreignExtras =
      std::make_shared<const std::string>(foreign.dump(-1, ' ', false, Json::error_handler_t::replace));
}

ExtrasReader::ExtrasReader(const GltfFile& file) {
  const Json& nodes = member(file.root, "nodes");
  for (std::size_t i = 0; i < file.model.nodes.size(); ++i) {
    nodes_.push_back(newIdentity());
    addRef(ours(element(nodes, i)), nodes_.back());
  }
  const Json& materials = member(file.root, "materials");
  for (std::size_t i = 0; i < countOf(materials); ++i) {
    materials_.push_back(newIdentity());
    addRef(ours(materials[i]), materials_.back());
  }
}

void ExtrasReader::addRef(const Json& from, Identity identity) {
  const std::string ref = textIn(from, "ref");
  if (ref.empty()) return;
  refs_.emplace(ref, identity);
  taken_.insert(ref);
}

Identity ExtrasReader::refIdentity(const std::string& ref) {
  return refs_.try_emplace(ref, newIdentity()).first->second;
}

void ExtrasReader::takeRef(const Json& from, NodeState& node) {
  const std::string ref = textIn(from, "ref");
  if (!ref.empty() && taken_.insert(ref).second) node.identity = refIdentity(ref);
}

Identity ExtrasReader::resolve(const Json& link) {
  const auto at = [&](const char* key, const std::vector<Identity>& list) -> Identity {
    const Json& index = member(link, key);
    return index.is_number_unsigned() && index.get<std::uint64_t>() < list.size()
               ? list[index.get<std::size_t>()]
               : 0;
  };
  if (const Identity node = at("node", nodes_)) return node;
  if (const Identity material = at("material", materials_)) return material;
  if (const Json& ref = member(link, "ref"); ref.is_string()) return refIdentity(ref.get<std::string>());
  if (const Json& name = member(link, "name"); name.is_string()) {
    const auto found = names_.find(name.get<std::string>());
    if (found != names_.end()) return found->second;
  }
  return 0;
}

void ExtrasReader::applyCommon(const Json& from, NodeState& node) {
  if (const Json& name = member(from, "name"); !name.is_null()) node.name = String(textOf(name));
  node.bits = longIn(from, "bits");
  applyDifference(
      from, [this](const Json& link) { return resolve(link); }, node.data);
}

NodeState* ExtrasReader::makeEntry(NodeKind kind, const Json& from) {
  const LONG type = longIn(from, "type");
  if (!isKnownType(kind, type)) return nullptr;
  NodeState* node = makeNode(kind, type);
  takeRef(from, *node);
  applyCommon(from, *node);
  return node;
}

void ExtrasReader::appendEntries(const Json& from, const char* key, NodeKind kind, NodeList& list) {
  const Json& entries = member(from, key);
  for (std::size_t i = 0; i < countOf(entries); ++i)
    if (NodeState* node = makeEntry(kind, entries[i])) list.append(*node);
}

} // namespace host
