#include "gltf_placements.h"

namespace host {

namespace {

// The renderer keeps about as much for a copy as for this many numbers.
constexpr std::size_t numbersPerCopy = 64;

// Reads one attribute; gives the number of its elements.
std::size_t readAttribute(const GltfFile& file, const std::string& name, int accessor, LoadContext& context,
                          Placements& to) {
  if (name == "TRANSLATION") return (to.translations = readPieces<3>(file, accessor, context)).size();
  if (name == "ROTATION") return (to.rotations = readPieces<4>(file, accessor, context)).size();
  if (name == "SCALE") return (to.scales = readPieces<3>(file, accessor, context)).size();
  const tinygltf::Accessor& from = accessorAt(file, accessor);
  const Json& json = element(member(file.root, "accessors"), static_cast<std::size_t>(accessor));
  to.others.push_back(
      {name, from.componentType, textIn(json, "type"), from.normalized, readRaw(file, accessor, context)});
  return from.count;
}

} // namespace

PlacementsPtr readPlacements(const GltfFile& file, const Json& node, LoadContext& context) {
  const Json& attributes = member(extension(node, "EXT_mesh_gpu_instancing"), "attributes");
  if (!attributes.is_object() || attributes.empty()) return nullptr;
  auto placements = std::make_shared<Placements>();
  bool first = true;
  for (const auto& [name, value] : attributes.items()) {
    const int accessor = indexIn(attributes, name.c_str(), file.model.accessors.size(), "accessor");
    if (first) context.spend(accessorAt(file, accessor).count, numbersPerCopy);
    const std::size_t count = readAttribute(file, name, accessor, context, *placements);
    if (!first && count != placements->count)
      throw SceneError("the copies of a mesh have attributes of different lengths");
    placements->count = count;
    first = false;
  }
  return placements;
}

} // namespace host
