#include "video_post_calls.h"

#include "plugin_registry.h"
#include "video_post_state.h"

namespace host::render {

VideoPostCalls::VideoPostCalls(RenderData* data, const VideoPostStruct& frame, RENDERRESULT* error)
    : frame_(frame) {
  frame_.error = error;
  PluginRegistry* registry = pluginRegistry();
  if (!data || !registry) return;
  for (BaseVideoPost* node = data->GetFirstVideoPost(); node; node = node->GetNext()) {
    const VideoPostEntry* entry =
        node->GetBit(BIT_VPDISABLED) ? nullptr : registry->findVideoPost(node->GetType());
    if (!entry) continue;
    std::unique_ptr<NodeData>& kept = stateOf(node)->data;
    if (!kept) kept = registry->makeVideoPostData(node->GetType());
    if (kept) posts_.push_back({node, static_cast<VideoPostData*>(kept.get()), entry->plugin});
  }
}

VideoPostCalls::~VideoPostCalls() {
  if (!open_.empty()) close(open_.front());
}

void VideoPostCalls::open(VIDEOPOSTCALL kind) {
  open_.push_back(kind);
  call(kind, true);
}

void VideoPostCalls::close(VIDEOPOSTCALL kind) {
  while (!open_.empty()) {
    const VIDEOPOSTCALL inner = open_.back();
    open_.pop_back();
    call(inner, false);
    if (inner == kind) break;
  }
}

void VideoPostCalls::call(VIDEOPOSTCALL kind, bool opens) {
  for (Post& post : posts_) {
    VideoPostStruct call = frame_;
    call.vp = kind;
    call.open = opens ? TRUE : FALSE;
    const PluginScope scope(post.plugin);
    const RENDERRESULT result = post.data->Execute(post.node, &call);
    if (result != RENDERRESULT_OK && *frame_.error == RENDERRESULT_OK) *frame_.error = result;
  }
}

} // namespace host::render
