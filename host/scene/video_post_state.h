// The state behind a video post of a render data.
#pragma once

#include "c4d_plugin.h"
#include "node_state.h"

namespace host {

struct VideoPostState : NodeState {
  explicit VideoPostState(LONG nodeType) : NodeState(NodeKind::videoPost, nodeType) {}

  /// The data of a post that a plug-in has registered: made at the node's first render, kept for later
  /// renders, not copied with the node. Only the thread that renders the document uses it.
  std::unique_ptr<NodeData> data;
};

inline VideoPostState* stateOf(const BaseVideoPost* node) noexcept {
  return static_cast<VideoPostState*>(stateOf(static_cast<const BaseList2D*>(node)));
}

} // namespace host
