// Documents as the host makes them.
#pragma once

#include "node_state.h"

namespace host {

/// A document with one view and nothing else. The caller owns it.
DocumentState* makeDocument();
/// Adds a view with its own camera; the first one becomes the active and the render view.
ViewState* addView(DocumentState& document);
/// The default render settings: 1280 x 720, 64 samples, global illumination.
RenderDataState* makeDefaultRenderData();
/// The active render data: the chosen one, else the first; null without any.
RenderDataState* activeRenderData(const DocumentState& document);
/// Whether the selection changes the picture: the active render data shows selected objects only.
bool selectionShows(const BaseDocument& document);
/// Sets the area of a view, in logical pixels; right and bottom lie behind the last pixel. Its frame is the
/// part that the render format covers.
void setViewArea(BaseDraw& view, LONG left, LONG top, LONG right, LONG bottom);
/// Sets the result of `GetSafeFrame`. The program's own views have no safe frame.
void setViewSafeFrame(BaseDraw& view, LONG from, LONG to, LONG orientation);

/// All objects of a document in document order, depth first.
template <class Visit>
void forEachObject(const NodeList& list, const Visit& visit) {
  for (NodeState* node = list.first(); node; node = node->next) {
    visit(static_cast<ObjectState&>(*node));
    forEachObject(node->children, visit);
  }
}

} // namespace host
