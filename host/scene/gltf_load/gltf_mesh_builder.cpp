#include "gltf_mesh_builder.h"

#include <numeric>
#include <tuple>

#include "mesh_tools.h"

namespace host {

namespace {

template <class T>
void append(std::vector<T>& to, const std::vector<T>& from, std::size_t before, std::size_t count,
            const T& otherwise) {
  if (to.empty() && from.empty()) return;
  to.resize(before, otherwise);
  to.insert(to.end(), from.begin(), from.end());
  to.resize(before + count, otherwise);
}

} // namespace

void giveFlatNormals(PrimitiveData& data) {
  PrimitiveData flat;
  const auto spread = [&](const auto& from, auto& to) {
    if (from.empty()) return;
    to.reserve(data.indices.size());
    for (const std::uint32_t index : data.indices)
      to.push_back(from[index]);
  };
  const auto& [v, d] = std::tie(data.vertices, data.deformation);
  spread(v.positions, flat.vertices.positions), spread(v.tangents, flat.vertices.tangents);
  spread(v.uv[0], flat.vertices.uv[0]), spread(v.uv[1], flat.vertices.uv[1]),
      spread(v.colors, flat.vertices.colors);
  flat.deformation.joints.resize(d.joints.size());
  flat.deformation.weights.resize(d.weights.size());
  flat.deformation.targets.resize(d.targets.size());
  for (std::size_t i = 0; i < d.joints.size(); ++i)
    spread(d.joints[i], flat.deformation.joints[i]), spread(d.weights[i], flat.deformation.weights[i]);
  for (std::size_t i = 0; i < d.targets.size(); ++i)
    spread(d.targets[i].positions, flat.deformation.targets[i].positions);
  flat.indices.resize(data.indices.size());
  std::iota(flat.indices.begin(), flat.indices.end(), 0U);
  for (std::size_t i = 0; i + 2 < flat.indices.size(); i += 3) {
    const auto& p = flat.vertices.positions;
    flat.vertices.normals.insert(flat.vertices.normals.end(), 3,
                                 unit(cross(minus(p[i + 1], p[i]), minus(p[i + 2], p[i])), {0, 1, 0}));
  }
  data = std::move(flat);
}

std::uint32_t MeshBuilder::addVertices(const PrimitiveData& data) {
  const std::size_t before = mesh_->positions.size(), count = data.vertices.positions.size();
  const Mesh& v = data.vertices;
  append(mesh_->positions, v.positions, before, count, {});
  append(mesh_->normals, v.normals, before, count, {0, 1, 0});
  append(mesh_->tangents, v.tangents, before, count, {1, 0, 0, 1});
  for (std::size_t set = 0; set < 2; ++set)
    append(mesh_->uv[set], v.uv[set], before, count, {});
  append(mesh_->colors, v.colors, before, count, {1, 1, 1, 1});
  addDeformation(data.deformation, before, count);
  return static_cast<std::uint32_t>(before);
}

void MeshBuilder::addTriangles(const std::vector<std::uint32_t>& indices, std::uint32_t first) {
  MeshGroup group{static_cast<std::uint32_t>(mesh_->triangles.size()),
                  static_cast<std::uint32_t>(indices.size() / 3)};
  for (std::size_t i = 0; i + 2 < indices.size(); i += 3)
    mesh_->triangles.push_back({indices[i] + first, indices[i + 1] + first, indices[i + 2] + first});
  mesh_->groups.push_back(group);
}

MeshPtr MeshBuilder::mesh() {
  setBounds(*mesh_);
  return mesh_;
}
DeformationPtr MeshBuilder::deformation() const {
  return deformation_->targets.empty() && deformation_->joints.empty() ? nullptr : deformation_;
}

void MeshBuilder::addDeformation(const Deformation& d, std::size_t before, std::size_t count) {
  Deformation& to = *deformation_;
  to.joints.resize(std::max(to.joints.size(), d.joints.size()));
  to.weights.resize(to.joints.size());
  for (std::size_t i = 0; i < to.joints.size(); ++i) {
    const bool given = i < d.joints.size();
    to.joints[i].resize(before), to.weights[i].resize(before);
    append(to.joints[i], given ? d.joints[i] : std::vector<std::array<std::uint16_t, 4>>(count), before,
           count, {});
    append(to.weights[i], given ? d.weights[i] : std::vector<Float4>(count), before, count, {});
  }
  to.targets.resize(std::max(to.targets.size(), d.targets.size()));
  for (std::size_t i = 0; i < to.targets.size(); ++i) {
    const MorphTarget from = i < d.targets.size() ? d.targets[i] : MorphTarget();
    append(to.targets[i].positions, from.positions, before, count, {});
    append(to.targets[i].normals, from.normals, before, count, {});
    append(to.targets[i].tangents, from.tangents, before, count, {});
  }
}

} // namespace host
