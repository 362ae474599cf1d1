// One run of the plug-in's render thread.
#pragma once

#include <optional>

#include "c4d_bitmap.h"
#include "command_line.h"
#include "lm_settings.h"
#include "lm_status.h"
#include "messages.h"

namespace batch {

struct JobResult {
  bool rendered = false; // false: the job ended before it came to its render
  LONG result = 0;       // RENDERRESULT_...
  double seconds = 0;
};

/// Writes the facts that stamps print into a status record. Main thread.
void fillStatus(BaseDocument& document, LMTHREAD_DATA& status);

/// Renders the active document into the bitmap as the viewer would, shows how far it is, and returns when the
/// thread has ended. Ctrl-C cancels it. Afterwards the stamps that the settings switch on are drawn. Throws
/// `Stop` (render failed) when no thread can be started. Main thread; it serves the thread's calls.
JobResult runJob(BaseDocument& document, BaseBitmap& bitmap, lmSettings& settings,
                 const std::optional<PixelRegion>& region, Messages& messages);

} // namespace batch
