// The video post that captures the host's own renders.
#pragma once

#include "c4d.h"

/// Saves the finished picture of every frame that the host renders into the editor view or the Picture Viewer
/// as "lastRender.tif" in the plug-in's data folder, where the history finds it. The user adds the post to a
/// scene's render settings. Called on the host's render threads.
class lmPostData : public VideoPostData {
 public:
  /// Null when memory is short.
  static NodeData* Alloc();

  RENDERRESULT Execute(BaseVideoPost* node, VideoPostStruct* vps) override;

 private:
  LONG captureNext = 0; // the last opened render is one to capture
};

/// Registers the video post.
Bool Register_lmPostData();
