// Meshes made by deformers and generators. A cache for the whole program keeps them by the identity of their
// source and the operation, so the same source gives the same mesh again. Any thread.
#pragma once

#include "node_state.h"

namespace host {

/// A polygon object's mesh in object space after morph targets and skin; its own mesh without these. Null
/// without a mesh, or after a break.
MeshPtr deformedMesh(const DocumentState& document, const ObjectState& object, const BaseThread* thread);

/// `subdivide` through the cache.
MeshPtr subdividedMesh(const MeshPtr& mesh, int level, const BaseThread* thread);

/// A horizontal square around the origin, its coordinates in metres.
MeshPtr floorMesh(double halfSide);

/// The subdivision level of the meshes below an object whose own level is `level`: the level of the nearest
/// enabled generator times the level of detail (0 to 1), rounded.
int levelBelow(const ObjectState& object, int level, double lod);

/// Makes every generated mesh of a document in advance. False after a break.
bool prepareMeshes(const DocumentState& document, double lod, const BaseThread* thread);

/// Bytes of the meshes in the cache, and the number made since the start.
std::size_t generatedMeshBytes();
std::uint64_t generatedMeshCount();

} // namespace host
