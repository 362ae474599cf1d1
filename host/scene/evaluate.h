// Evaluation of a document at its time. On the document's thread.
#pragma once

#include "node_state.h"

namespace host {

/// Sets the properties that have tracks.
void applyTracks(DocumentState& document);
void applyTracks(ObjectState& object, double seconds);
/// Runs the enabled expression tags, in document order.
void applyExpressions(DocumentState& document);
/// The time of the last key of any track, in seconds; 0 without tracks.
double lastKey(const DocumentState& document);

} // namespace host
