// Calls the video posts that plug-ins have registered, in nested order.
#pragma once

#include <memory>
#include <vector>

#include "c4d_plugin.h"
#include "c4d_render.h"
#include "thread_context.h"

namespace host::render {

/// The registered, enabled video posts of a render data, each with an instance of its data for one render.
/// Used by one thread at a time.
class VideoPostCalls {
 public:
  /// `error` is the render's result as the posts see it; a post may set it. Null render data: no posts.
  VideoPostCalls(RenderData* data, const VideoPostStruct& frame, RENDERRESULT* error);
  ~VideoPostCalls(); // closes what is open

  bool empty() const { return posts_.empty(); }
  void open(VIDEOPOSTCALL call);
  /// Closes this call, and before it what was opened inside it.
  void close(VIDEOPOSTCALL call);

 private:
  struct Post {
    BaseVideoPost* node;
    std::unique_ptr<NodeData> data;
    const PluginUnit* plugin;
  };
  void call(VIDEOPOSTCALL which, bool opens);
  std::vector<Post> posts_;
  std::vector<VIDEOPOSTCALL> open_;
  VideoPostStruct frame_;
};

} // namespace host::render
