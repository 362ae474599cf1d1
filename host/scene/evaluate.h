// Bringing a document to its time.
#pragma once

#include "node_state.h"

namespace host {

/// Sets what tracks move to the document's time.
void applyTracks(DocumentState& document);
/// Runs the expression tags that are on, in document order.
void applyExpressions(DocumentState& document);
/// The time of the last key of any track, in seconds; 0 without tracks.
double lastKey(const DocumentState& document);

} // namespace host
