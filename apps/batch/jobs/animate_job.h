// Frame ranges rendered by the plug-in's render thread.
#pragma once

#include <string>
#include <vector>

#include "animation_report.h"
#include "c4d_bitmap.h"
#include "frame_files.h"
#include "frame_ranges.h"
#include "lm_settings.h"
#include "messages.h"

namespace batch {

/// Progress over all runs of a command.
struct FrameProgress {
  LONG done = 0, all = 1; // frames
};

struct AnimationJob {
  FrameRange frames;
  AnimationTarget target;
  LONG jpegQuality = 95;
  bool stamps = false;
};

struct AnimationResult {
  bool rendered = false; // false: the job ended before its render began
  bool moved = false;    // the folder disappeared, and the thread wrote elsewhere
  LONG result = 0;       // of the last frame started, RENDERRESULT_...
  LONG frame = 0;        // that frame
  double seconds = 0;
  std::string failure;          // error text of the first file not written; empty when all were written
  std::vector<LONG> incomplete; // frames whose render failed, in order
  std::string incompleteWhy;    // error text of the first of them
};

/// Renders frames of the active document into files as the viewer does, and returns when the thread has
/// ended. Ctrl-C, the first file that cannot be written and the first frame whose render fails each cancel
/// the run. The picture of an incomplete frame is deleted; a movie keeps its frames so far. Throws `Stop`
/// (render failed) when the thread cannot be started. Main thread; serves the thread's calls.
AnimationResult runAnimation(BaseDocument& document, BaseBitmap& bitmap, lmSettings& settings,
                             const AnimationJob& job, const FrameProgress& before, Messages& messages,
                             AnimationReport& report);

} // namespace batch
