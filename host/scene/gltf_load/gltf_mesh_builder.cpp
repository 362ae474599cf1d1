#include "gltf_mesh_builder.h"

#include <tuple>

#include "mesh_tools.h"

namespace host {

namespace {

// The first list of all is moved, not copied.
template <class T>
void append(std::vector<T>& to, std::vector<T>&& from, std::size_t before, std::size_t count,
            const T& otherwise) {
  if (to.empty() && from.empty()) return;
  if (before == 0 && from.size() == count) {
    to = std::move(from);
    return;
  }
  to.resize(before, otherwise);
  to.insert(to.end(), from.begin(), from.end());
  to.resize(before + count, otherwise);
}

} // namespace

void giveFlatNormals(PrimitiveData& data) {
  PrimitiveData flat;
  const auto spread = [&](const auto& from, auto& to) {
    if (from.empty()) return;
    to.reserve(data.triangles.size() * 3);
    for (const Triangle& triangle : data.triangles)
      for (const std::uint32_t index : triangle)
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
  const auto& p = flat.vertices.positions;
  for (std::uint32_t i = 0; i + 2 < p.size(); i += 3) {
    flat.triangles.push_back({i, i + 1, i + 2});
    flat.vertices.normals.insert(flat.vertices.normals.end(), 3,
                                 unit(cross(minus(p[i + 1], p[i]), minus(p[i + 2], p[i])), {0, 1, 0}));
  }
  data = std::move(flat);
}

std::uint32_t MeshBuilder::addVertices(PrimitiveData&& data) {
  const std::size_t before = mesh_->positions.size(), count = data.vertices.positions.size();
  Mesh& v = data.vertices;
  append(mesh_->positions, std::move(v.positions), before, count, {});
  append(mesh_->normals, std::move(v.normals), before, count, {0, 1, 0});
  append(mesh_->tangents, std::move(v.tangents), before, count, {1, 0, 0, 1});
  for (std::size_t set = 0; set < 2; ++set)
    append(mesh_->uv[set], std::move(v.uv[set]), before, count, {});
  append(mesh_->colors, std::move(v.colors), before, count, {1, 1, 1, 1});
  addDeformation(std::move(data.deformation), before, count);
  return static_cast<std::uint32_t>(before);
}

void MeshBuilder::addTriangles(std::vector<Triangle>&& triangles, std::uint32_t first) {
  mesh_->groups.push_back(
      {static_cast<std::uint32_t>(mesh_->triangles.size()), static_cast<std::uint32_t>(triangles.size())});
  if (first > 0)
    for (Triangle& triangle : triangles)
      for (std::uint32_t& index : triangle)
        index += first;
  append(mesh_->triangles, std::move(triangles), mesh_->triangles.size(), triangles.size(), {});
}

MeshPtr MeshBuilder::mesh() {
  setBounds(*mesh_);
  return mesh_;
}
DeformationPtr MeshBuilder::deformation() const {
  return deformation_->targets.empty() && deformation_->joints.empty() ? nullptr : deformation_;
}

void MeshBuilder::addDeformation(Deformation&& d, std::size_t before, std::size_t count) {
  Deformation& to = *deformation_;
  to.joints.resize(std::max(to.joints.size(), d.joints.size()));
  to.weights.resize(to.joints.size());
  for (std::size_t i = 0; i < to.joints.size(); ++i) {
    const bool given = i < d.joints.size();
    to.joints[i].resize(before), to.weights[i].resize(before);
    append(to.joints[i], given ? std::move(d.joints[i]) : std::vector<std::array<std::uint16_t, 4>>(count),
           before, count, {});
    append(to.weights[i], given ? std::move(d.weights[i]) : std::vector<Float4>(count), before, count, {});
  }
  to.targets.resize(std::max(to.targets.size(), d.targets.size()));
  for (std::size_t i = 0; i < to.targets.size(); ++i) {
    MorphTarget from = i < d.targets.size() ? std::move(d.targets[i]) : MorphTarget();
    append(to.targets[i].positions, std::move(from.positions), before, count, {});
    append(to.targets[i].normals, std::move(from.normals), before, count, {});
    append(to.targets[i].tangents, std::move(from.tangents), before, count, {});
  }
}

} // namespace host
