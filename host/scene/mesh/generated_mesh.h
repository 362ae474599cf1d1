// Meshes that come from others: deformed, subdivided, made. They are kept for the whole program by the
// identity of their source and what was done to it, so the same source gives the same mesh again. Any thread.
#pragma once

#include "node_state.h"

namespace host {

/// A polygon object's mesh in its own space after morph targets and skin; its own mesh when nothing bends it.
/// Null without a mesh, or after a break.
MeshPtr deformedMesh(const DocumentState& document, const ObjectState& object, const BaseThread* thread);

/// `subdivide`, kept.
MeshPtr subdividedMesh(const MeshPtr& mesh, int level, const BaseThread* thread);

/// A horizontal square around the origin, its coordinates in metres.
MeshPtr floorMesh(double halfSide);

/// The level at which the meshes below an object are subdivided, when `level` holds for the object itself:
/// that of the nearest generator which is on, times the level of detail (0 to 1), rounded.
int levelBelow(const ObjectState& object, int level, double lod);

/// Makes every generated mesh of a document beforehand. False after a break.
bool prepareMeshes(const DocumentState& document, double lod, const BaseThread* thread);

/// Bytes of the meshes kept, and how many have been made since the start.
std::size_t generatedMeshBytes();
std::uint64_t generatedMeshCount();

} // namespace host
