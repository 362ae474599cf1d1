// Runs of the plug-in's render thread over frames.
#pragma once

#include <string>
#include <vector>

#include "c4d_bitmap.h"
#include "frame_files.h"
#include "frame_ranges.h"
#include "lm_settings.h"
#include "messages.h"

namespace batch {

/// How far all runs of a command are together.
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
  bool rendered = false; // false: the job ended before it came to its render
  bool moved = false;    // the folder went away, and the thread wrote elsewhere
  LONG result = 0;       // of the last frame that was begun, RENDERRESULT_...
  LONG frame = 0;        // that frame
  double seconds = 0;
  std::string failure;          // the first file that was not written: a sentence; empty when all were
  std::vector<LONG> incomplete; // the frames whose render failed, in order
  std::string incompleteWhy;    // the first one's sentence
};

/// Renders the frames of the active document into files as the viewer would, and returns when the thread has
/// ended. Ctrl-C cancels it, and so does the first file that cannot be written and the first frame whose
/// render fails. A picture of a frame that was not rendered to its end is removed again; a movie keeps the
/// frames that it has got. Throws `Stop` (render failed) when no thread can be started. Main thread; it
/// serves the thread's calls.
AnimationResult runAnimation(BaseDocument& document, BaseBitmap& bitmap, lmSettings& settings,
                             const AnimationJob& job, const FrameProgress& before, Messages& messages);

} // namespace batch
