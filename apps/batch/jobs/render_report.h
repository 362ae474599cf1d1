// Times and counts of a run, as `--stats` writes them.
#pragma once

#include <string>

#include "c4d_document.h"
#include "command_line.h"
#include "lm_settings.h"

namespace batch {

struct RunTimes {
  double loadMs = 0;
  double cloneMs = 0;
};

/// Milliseconds to clone the document as a job does: with its animation only when the settings ask for it and
/// the whole picture is rendered. Main thread.
double measureClone(const BaseDocument& document, const lmSettings& settings, bool region);

/// JSON of the last render.
std::string statsText(const RunTimes& times, PixelSize size, LONG result);

} // namespace batch
