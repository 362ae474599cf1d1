// The parts of a document that its images leave out but a render depends on: the time, and the camera of the
// render view. Immutable values.
#pragma once

#include "document_image.h"

namespace host {

struct Moment {
  BaseTime time;
  Identity camera = 0; // that the view looks through; 0: its own
  ImagePtr own;        // the view's own camera; null without a view
};

/// On the document's writing thread, or with its lock held.
Moment takeMoment(const DocumentState& document, const ImagePtr& previousCamera = nullptr);

/// Gives the render view its camera back. A camera that the document does not have leaves the view's own. The
/// time is not set: that takes an evaluation. Takes the document's lock.
void putCamera(DocumentState& document, const Moment& moment);

} // namespace host
