// One run of the plug-in's render thread.
#pragma once

#include <functional>
#include <optional>

#include "c4d_bitmap.h"
#include "command_line.h"
#include "lm_settings.h"
#include "lm_status.h"
#include "messages.h"

namespace batch {

struct JobResult {
  bool rendered = false; // false: the job ended before its render began
  LONG result = 0;       // RENDERRESULT_...
  double seconds = 0;
};

/// Fills the status record's fields that stamps print. Main thread.
void fillStatus(BaseDocument& document, LMTHREAD_DATA& status);

/// Renders the active document into the bitmap as the viewer does, with a progress line, and draws the stamps
/// that the settings switch on. Returns when the thread has ended; Ctrl-C cancels the render. Throws `Stop`
/// (render failed) when the thread cannot be started. `watch` gets the part that is done, 0 to 1, often. Main
/// thread; serves the thread's calls.
JobResult runJob(BaseDocument& document, BaseBitmap& bitmap, lmSettings& settings,
                 const std::optional<PixelRegion>& region, Messages& messages,
                 const std::function<void(double)>& watch = {});

} // namespace batch
