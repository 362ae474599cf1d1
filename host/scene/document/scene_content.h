// The meshes, deformers and pictures of a document, and their reuse in another version of it: a scene that is
// read again shares all that stayed the same, so the caches that know these by their identity find them.
#pragma once

#include <cstddef>
#include <vector>

#include "deformation.h"
#include "snapshot.h"

namespace host {

struct DocumentState;

/// Each once, in no order.
struct SceneContent {
  std::vector<MeshPtr> meshes;
  std::vector<DeformationPtr> deformations;
  std::vector<PicturePtr> pictures;
};
/// On the document's thread or under its lock. Copies no vertex and no pixel.
SceneContent contentOf(const DocumentState& document);

/// Whether two meshes are the same bit by bit, apart from their identities. Null equals null. Any thread.
bool sameMesh(const MeshPtr& a, const MeshPtr& b);
/// The same for all that a picture holds, its names among them.
bool samePicture(const PicturePtr& a, const PicturePtr& b);

/// The numbers of contents that were replaced by known ones.
struct SharedCounts {
  std::size_t meshes = 0, deformations = 0, pictures = 0;
};
/// Puts the known contents in place of equal ones of the document. Reads all bytes of either side
/// once, and those of equal contents once more. The document belongs to the calling thread. Any thread.
SharedCounts shareContent(DocumentState& document, const SceneContent& known);

} // namespace host
