// Puts the primitives of a glTF mesh together.
#pragma once

#include "gltf_primitives.h"

namespace host {

/// Gives each triangle vertices of its own, with its normal.
void giveFlatNormals(PrimitiveData& data);

/// Attributes that some primitives lack get neutral values there.
class MeshBuilder {
 public:
  /// Gives the number of the first vertex. The first lists are taken over as they are.
  std::uint32_t addVertices(PrimitiveData&& data);
  /// Adds a group. `first` is the number of the vertex that index 0 means.
  void addTriangles(std::vector<Triangle>&& triangles, std::uint32_t first);

  /// The mesh with its bounds.
  MeshPtr mesh();
  /// Null when nothing bends the mesh.
  DeformationPtr deformation() const;

 private:
  void addDeformation(Deformation&& deformation, std::size_t before, std::size_t count);

  std::shared_ptr<Mesh> mesh_ = std::make_shared<Mesh>();
  std::shared_ptr<Deformation> deformation_ = std::make_shared<Deformation>();
};

} // namespace host
