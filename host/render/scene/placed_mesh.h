// A mesh placed in the scene, and its motion while the shutter is open. Any worker.
#pragma once

#include <array>
#include <memory>

#include "motion_steps.h"
#include "scene_cache.h"
#include "snapshot.h"
#include "vecmath.h"

namespace host::render {

/// The motion of a placed mesh, at even steps. Between them positions and placements follow straight lines,
/// as rays meet them.
struct PlacedMotion {
  std::vector<Transform> steps; // of vertices that count from the centre; empty: it stands still
  std::vector<MeshPtr> shapes;  // with the triangles of the mesh; empty: it keeps its shape
  MeshAccelPtr accel;           // of the shapes; null: that of the mesh
};

/// The mesh's vertices count from the centre of its acceleration structure.
struct PlacedMesh {
  const Mesh* mesh;
  const Instance* source;
  Vec3 center;
  Transform toWorld;    // of vertices that count from the centre
  float side;           // -1 when the map mirrors
  int firstGlow = -1;   // index of its first triangle among the lights' glowing triangles; -1: does not glow
  bool filters = false; // some of its surfaces let light pass, by alpha or transmission
  std::array<const CornerTangents*, 2> tangents{}; // for each set; null: not needed, or the mesh has its own
  std::shared_ptr<const PlacedMotion> motion{};    // null: neither moves nor changes its shape

  Vec3 vertex(std::uint32_t index) const { return Vec3(mesh->positions[index]) - center; }
  Vec3 vertexAt(std::uint32_t index, float time) const;
  /// Of the mesh's normals, which are present. Not of unit length.
  Vec3 normalAt(std::uint32_t index, float time) const;
  Transform toWorldAt(float time) const;
};

/// The motion of an instance that counts from `center`; null when it neither moves nor changes its shape, and
/// when a step is no placement that rays can take. Without the structure of its shapes.
std::shared_ptr<PlacedMotion> motionOf(const Instance& instance, Vec3 center);

/// The structure of a mesh that changes its shape, counted from the centre of `mesh`. Null after a break.
/// Throws std::bad_alloc.
MeshAccelPtr buildShapes(const MeshPtr& mesh, const std::vector<MeshPtr>& shapes, int workers,
                         const Stopped& stopped);

} // namespace host::render
