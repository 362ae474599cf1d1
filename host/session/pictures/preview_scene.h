// The scene of a material's thumbnail. Main thread.
#pragma once

#include "active_document.h"
#include "node_state.h"

namespace host {

/// A sphere with a copy of this material on a neutral ground, lit by a lamp and a soft sky, seen by the
/// render view. `posts`: the render data whose video posts come along (null: none); effects of the renderer
/// itself are switched off.
DocumentPtr previewScene(const MaterialState& material, const RenderDataState* posts);

} // namespace host
