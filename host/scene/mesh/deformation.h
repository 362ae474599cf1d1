// Deformers of a mesh: morph targets and skins, immutable and shared. Any thread.
#pragma once

#include <array>
#include <memory>
#include <vector>

#include "c4d_math.h"
#include "identity.h"
#include "mesh.h"

namespace host {

/// Differences from the mesh; each vector is empty or has one entry a vertex.
struct MorphTarget {
  std::vector<Float3> positions, normals, tangents;
};

/// Morph targets of a mesh, and the influence of joints on its vertices in sets of four.
struct Deformation {
  Identity id = newIdentity();
  std::vector<MorphTarget> targets;
  std::vector<std::vector<std::array<std::uint16_t, 4>>> joints; // index into the skin's joints
  std::vector<std::vector<Float4>> weights;                      // the same shape as `joints`
};
using DeformationPtr = std::shared_ptr<const Deformation>;

/// The joints of a skin: objects by identity, and the matrix from the mesh to each joint at rest.
struct Skin {
  std::vector<Identity> joints;
  std::vector<Matrix> inverseBind; // as many as joints
};
using SkinPtr = std::shared_ptr<const Skin>;

} // namespace host
