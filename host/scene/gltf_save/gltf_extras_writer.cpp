#include "gltf_extras_writer.h"

namespace host {

namespace {

// Marks the references of entries until all links are known: see `dropUnusedRefs`.
constexpr char placeholderMark = '#';

std::string refPlaceholder(Identity identity) {
  return placeholderMark + std::to_string(identity);
}

std::optional<int> found(const std::unordered_map<Identity, int>& indices, Identity identity) {
  const auto place = indices.find(identity);
  return place == indices.end() ? std::nullopt : std::optional(place->second);
}

} // namespace

void putName(const NodeState& node, Json& json, Json& extras) {
  const std::string& name = node.name.GetUTF8();
  if (!name.empty() && isUtf8(name))
    json["name"] = name;
  else if (!name.empty() || node.kind == NodeKind::object)
    extras["name"] = textJson(name);
}

void putExtras(const NodeState& node, Json extras, Json& json) {
  if (node.foreignExtras) json["extras"] = parseJson(*node.foreignExtras);
  if (extras.empty()) return;
  if (!json["extras"].is_object()) json["extras"] = Json::object();
  json["extras"]["lumenara"] = std::move(extras);
}

ExtrasWriter::ExtrasWriter(const DocumentState& document) : document_(document) {
  number(document.children);
  for (const NodeState* node = document.materials.first(); node; node = node->next)
    materials_.emplace(node->identity, static_cast<int>(materials_.size()));
}

void ExtrasWriter::number(const NodeList& list) {
  for (const NodeState* node = list.first(); node; node = node->next) {
    nodes_[node->identity] = static_cast<int>(objects_.size());
    objects_.push_back(static_cast<const ObjectState*>(node));
    number(node->children);
  }
}

std::optional<int> ExtrasWriter::nodeIndex(Identity object) const {
  return found(nodes_, object);
}

std::optional<int> ExtrasWriter::materialIndex(Identity material) const {
  return found(materials_, material);
}

Json ExtrasWriter::link(Identity identity) {
  if (identity == 0) return nullptr;
  if (const auto node = nodeIndex(identity)) return Json{{"node", *node}};
  if (const auto material = materialIndex(identity)) return Json{{"material", *material}};
  if (!findNode(document_, identity)) return nullptr;
  return Json{{"ref", refOf(identity)}};
}

std::string ExtrasWriter::refOf(Identity identity) {
  return refs_.try_emplace(identity, "r" + std::to_string(refs_.size() + 1)).first->second;
}

void ExtrasWriter::writeCommon(const NodeState& node, const BaseContainer& derived, Json& to) {
  if (node.bits != 0) to["bits"] = node.bits;
  writeDifference(
      derived, node.data, [this](Identity identity) { return link(identity); }, to);
}

Json ExtrasWriter::entry(const NodeState& node, bool withType) {
  Json to = Json::object();
  if (withType) to["type"] = node.type;
  if (!node.name.GetUTF8().empty()) to["name"] = textJson(node.name.GetUTF8());
  writeCommon(node, BaseContainer(), to);
  to["ref"] = refPlaceholder(node.identity);
  return to;
}

void ExtrasWriter::dropRefs(Json& json) const {
  if (json.is_object()) {
    const auto ref = json.find("ref");
    if (ref != json.end() && ref->is_string() && ref->get<std::string>().starts_with(placeholderMark)) {
      const auto known = refs_.find(std::stoull(ref->get<std::string>().substr(1)));
      if (known == refs_.end())
        json.erase(ref);
      else
        *ref = known->second;
    }
  }
  if (json.is_structured())
    for (Json& part : json)
      dropRefs(part);
}

void ExtrasWriter::dropUnusedRefs(Json& root) const {
  const auto drop = [this](Json& item) {
    if (!ours(item).is_null()) dropRefs(item["extras"]["lumenara"]);
  };
  for (const char* list : {"nodes", "materials"})
    if (root.contains(list))
      for (Json& item : root[list])
        drop(item);
  drop(root);
}

} // namespace host
