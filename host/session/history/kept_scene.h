// The state of a scene that was rendered: an image of the document with the time and the camera. Its file is
// a .glb as `saveDocument` writes it, with all pictures packed. Any thread.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "active_document.h"
#include "document_moment.h"

namespace host {

struct KeptScene {
  ImagePtr image; // of the document
  Moment moment;
};
using KeptScenePtr = std::shared_ptr<const KeptScene>;

/// On the document's writing thread, or with its lock held. Shares what did not change with `previous` (may
/// be null), and is `previous` when nothing did.
KeptScenePtr keepScene(const DocumentState& document, const KeptScenePtr& previous);

/// A document of its own with this state; nodes have the identities that they had. Null when memory is short.
DocumentPtr documentOf(const KeptScene& scene);

/// The scene's file. Empty on failure, with a sentence in `error`.
std::vector<std::byte> sceneToBytes(const KeptScene& scene, std::string* error);
/// Null for bytes that are no scene. Nodes have new identities. Pictures that were outside ones are so again
/// where the file that they name, as seen from `folder`, still has the same content.
KeptScenePtr sceneFromBytes(std::span<const std::byte> bytes, const Filename& folder);

} // namespace host
