// Values of a document's nodes at one moment, immutable. Images of a document share unchanged nodes with each
// other, and geometry, pictures and tracks with the document: an image after an edit costs as much as the
// edit changed. Time, views and file name are not part of it.
#pragma once

#include <cstddef>
#include <memory>

#include "node_state.h"

namespace host {

struct NodeImage;
using ImagePtr = std::shared_ptr<const NodeImage>;

/// Takes an image of a document; unchanged nodes are shared with `previous` (an earlier image of it, or
/// null). On the document's writing thread.
ImagePtr takeImage(const DocumentState& document, const ImagePtr& previous);

/// The same for one node with all that it owns.
ImagePtr takeImage(const NodeState& node, const ImagePtr& previous);
/// Whether two images of one node are equal, apart from the selection.
bool sameLook(const ImagePtr& a, const ImagePtr& b);

/// Whether two images of one document differ in more than the selection. The pose of objects that tracks or
/// expression tags move counts only when both show the document at the same time.
bool differs(const ImagePtr& a, const ImagePtr& b);

/// The same without the ranges of time, the visibility in the editor and the lens effects: whether a render
/// may show the difference.
bool pictureDiffers(const ImagePtr& a, const ImagePtr& b);

/// Whether the images have different objects or materials selected.
bool selectionDiffers(const ImagePtr& a, const ImagePtr& b);

/// Restores the document from the image. Nodes that both have keep their addresses; others are made with
/// their identities, or deleted. The time stays. Takes the document's lock.
void putImage(DocumentState& document, const ImagePtr& image);

/// The same for a node of this kind and type that is no document, which keeps its own identity. The caller
/// holds the document's lock.
void putImage(NodeState& node, const ImagePtr& image);

/// About how many bytes `image` holds that `other` does not, geometry included.
std::size_t heldBeyond(const ImagePtr& image, const ImagePtr& other);

/// The time that the image shows the document at.
BaseTime timeOf(const ImagePtr& image);
/// The document's own container.
const BaseContainer& containerOf(const ImagePtr& image);

} // namespace host
