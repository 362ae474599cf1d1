#include "gltf_mesh_writer.h"

#include <algorithm>

namespace host {

namespace {

constexpr int typeFloat = TINYGLTF_COMPONENT_TYPE_FLOAT, typeShort = TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT,
              typeInt = TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;

} // namespace

const MeshWriter::Shape& MeshWriter::shapeOf(const ObjectState& object) {
  const auto key = std::pair(object.mesh->id, object.deformation ? object.deformation->id : 0);
  const auto known = shapes_.find(key);
  if (known != shapes_.end()) return known->second;
  Shape shape;
  const Mesh& mesh = *object.mesh;
  shape.attributes["POSITION"] = output_.addVectors(mesh.positions);
  Json& positions = output_["accessors"].back();
  positions["min"] = mesh.low; // glTF requires the bounds of positions
  positions["max"] = mesh.high;
  if (!mesh.normals.empty()) shape.attributes["NORMAL"] = output_.addVectors(mesh.normals);
  if (!mesh.tangents.empty()) shape.attributes["TANGENT"] = output_.addVectors(mesh.tangents);
  if (!mesh.uv[0].empty()) shape.attributes["TEXCOORD_0"] = output_.addVectors(mesh.uv[0]);
  if (!mesh.uv[1].empty()) shape.attributes["TEXCOORD_1"] = output_.addVectors(mesh.uv[1]);
  if (!mesh.colors.empty()) shape.attributes["COLOR_0"] = output_.addVectors(mesh.colors);
  if (object.deformation) addDeformation(*object.deformation, shape);
  for (const MeshGroup& group : mesh.groups) {
    const auto* first = reinterpret_cast<const std::byte*>(mesh.triangles.data() + group.firstTriangle);
    Json accessor{
        {"componentType", typeInt}, {"count", group.triangleCount * std::size_t{3}}, {"type", "SCALAR"}};
    accessor["bufferView"] =
        output_.addView(std::span(first, group.triangleCount * sizeof(mesh.triangles[0])),
                        TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER);
    shape.indices.push_back(output_.append("accessors", std::move(accessor)));
  }
  return shapes_.emplace(key, std::move(shape)).first->second;
}

int MeshWriter::meshIndex(const ObjectState& object, const std::vector<int>& materials,
                          const std::vector<Json>& mappings) {
  const Shape& shape = shapeOf(object);
  Json mesh{{"primitives", Json::array()}};
  for (std::size_t group = 0; group < shape.indices.size(); ++group) {
    Json primitive{{"attributes", shape.attributes}, {"indices", shape.indices[group]}};
    if (!shape.targets.empty()) primitive["targets"] = shape.targets;
    if (materials[group] >= 0) primitive["material"] = materials[group];
    if (group < mappings.size() && !mappings[group].is_null())
      primitive["extensions"]["KHR_materials_variants"]["mappings"] = mappings[group];
    mesh["primitives"].push_back(std::move(primitive));
  }
  return output_.shared("meshes", std::move(mesh));
}

void MeshWriter::addDeformation(const Deformation& d, Shape& shape) {
  for (std::size_t set = 0; set < d.joints.size(); ++set) {
    const std::string number = std::to_string(set);
    shape.attributes["JOINTS_" + number] = output_.addAccessor(
        d.joints[set], typeShort, "VEC4", d.joints[set].size(), TINYGLTF_TARGET_ARRAY_BUFFER);
    shape.attributes["WEIGHTS_" + number] = output_.addVectors(d.weights[set]);
  }
  for (const MorphTarget& target : d.targets) {
    std::map<std::string, int>& to = shape.targets.emplace_back();
    if (!target.positions.empty()) to["POSITION"] = output_.addVectors(target.positions);
    if (!target.normals.empty()) to["NORMAL"] = output_.addVectors(target.normals);
    if (!target.tangents.empty()) to["TANGENT"] = output_.addVectors(target.tangents);
  }
}

const Json& MeshWriter::placementAttributes(const Placements& placements) {
  const auto known = placements_.find(placements.id);
  if (known != placements_.end()) return known->second;
  Json attributes = Json::object();
  if (!placements.translations.empty())
    attributes["TRANSLATION"] = output_.addVectors(placements.translations);
  if (!placements.rotations.empty()) attributes["ROTATION"] = output_.addVectors(placements.rotations);
  if (!placements.scales.empty()) attributes["SCALE"] = output_.addVectors(placements.scales);
  for (const KeptNumbers& other : placements.others) {
    Json accessor{{"componentType", other.component}, {"count", placements.count}, {"type", other.type}};
    if (other.normalised) accessor["normalized"] = true;
    if (!other.bytes.empty()) accessor["bufferView"] = output_.addView(other.bytes);
    attributes[other.name] = output_.append("accessors", std::move(accessor));
  }
  // A list without copies has no entry of its own to tell so.
  if (attributes.empty() || placements.count == 0)
    attributes["TRANSLATION"] = output_.addVectors(placements.translations);
  return placements_.emplace(placements.id, std::move(attributes)).first->second;
}

int MeshWriter::skinIndex(const SkinPtr& skin) {
  const auto found = std::find(skins_.begin(), skins_.end(), skin);
  if (found == skins_.end()) skins_.push_back(skin);
  return static_cast<int>(std::find(skins_.begin(), skins_.end(), skin) - skins_.begin());
}

void MeshWriter::writeSkins(const ExtrasWriter& extras) {
  for (const SkinPtr& skin : skins_) {
    Json json{{"joints", Json::array()}};
    std::vector<std::array<float, 16>> matrices;
    for (std::size_t i = 0; i < skin->joints.size(); ++i) {
      const auto node = extras.nodeIndex(skin->joints[i]);
      json["joints"].push_back(node ? *node : output_.append("nodes", Json{{"name", "Lost Joint"}}));
      const Matrix& m = skin->inverseBind[i];
      const auto f = [](Real value) { return static_cast<float>(value); };
      matrices.push_back({f(m.v1.x), f(m.v1.y), f(m.v1.z), 0, f(m.v2.x), f(m.v2.y), f(m.v2.z), 0, f(m.v3.x),
                          f(m.v3.y), f(m.v3.z), 0, f(m.off.x), f(m.off.y), f(m.off.z), 1});
    }
    json["inverseBindMatrices"] = output_.addAccessor(matrices, typeFloat, "MAT4", matrices.size());
    output_.append("skins", std::move(json));
  }
}

std::pair<int, int> MeshWriter::curveAccessors(const Track& track) {
  const auto known = curves_.find(track.curve.get());
  if (known != curves_.end()) return known->second;
  const Curve& curve = *track.curve;
  const int input = output_.addAccessor(curve.times, typeFloat, "SCALAR", curve.times.size());
  if (!curve.times.empty()) {
    output_["accessors"].back()["min"] = Json::array({curve.times.front()});
    output_["accessors"].back()["max"] = Json::array({curve.times.back()});
  }
  const std::size_t width = track.path == TrackPath::weights ? 1 : curve.width;
  const int output = output_.addAccessor(curve.values, typeFloat,
                                         width == 4   ? "VEC4"
                                         : width == 3 ? "VEC3"
                                                      : "SCALAR",
                                         curve.values.size() / width);
  return curves_[&curve] = {input, output};
}

} // namespace host
