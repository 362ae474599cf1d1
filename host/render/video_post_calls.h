// Calls the video posts that plug-ins have registered, in nested order.
#pragma once

#include <vector>

#include "c4d_plugin.h"
#include "c4d_render.h"
#include "thread_context.h"

namespace host::render {

/// The registered, enabled video posts of a render data. The data of a post is made at its first render and
/// stays with its node. Used by one thread at a time.
class VideoPostCalls {
 public:
  /// `error` is the slot that the posts see: 0 unless something fails; missing pictures are not a failure. A
  /// post may set it. Null render data: no posts.
  VideoPostCalls(RenderData* data, const VideoPostStruct& frame, RENDERRESULT* error);
  ~VideoPostCalls(); // closes all open calls

  bool empty() const { return posts_.empty(); }
  void open(VIDEOPOSTCALL kind);
  /// Closes this call, and first the calls opened inside it.
  void close(VIDEOPOSTCALL kind);

 private:
  struct Post {
    BaseVideoPost* node;
    VideoPostData* data;
    const PluginUnit* plugin;
  };
  void call(VIDEOPOSTCALL kind, bool opens);
  std::vector<Post> posts_;
  std::vector<VIDEOPOSTCALL> open_;
  VideoPostStruct frame_;
};

} // namespace host::render
