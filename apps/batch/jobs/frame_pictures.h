// Frames as pictures and movies that the host saves itself, in formats that the plug-in's render thread does
// not know, or with alpha.
#pragma once

#include <vector>

#include "animation_report.h"
#include "frame_files.h"
#include "lens_settings.h"
#include "lm_settings.h"
#include "messages.h"
#include "picture_file.h"

namespace batch {

/// Throws `Stop` (wrong use) for options that the format of the pictures does not have.
void checkFramePictures(const AnimateOptions& options, const AnimationTarget& target);
PictureOptions framePictureOptions(const AnimateOptions& options);

struct FramePictures {
  AnimationTarget target; // byHost
  PixelSize size;
  PictureOptions how;
  host::LensSettings lens; // of formats that hold no light
};

struct FramePicturesResult {
  LONG frames = 0;
  double seconds = 0;
  bool assetMissing = false;
};

/// Renders frames of the active document, each whole or absent. Ctrl-C and the first frame that cannot be
/// rendered or written end the run; the frames before it stay. Throws `Stop`. Main thread.
FramePicturesResult renderFramePictures(BaseDocument& document, lmSettings& settings,
                                        const FramePictures& pictures, const std::vector<LONG>& frames,
                                        Messages& messages, AnimationReport& report);

/// Renders frames into a movie, with the codec and quality of the settings. Ctrl-C and the first frame that
/// cannot be rendered close it behind the last whole frame. Throws `Stop`. Main thread.
FramePicturesResult renderFrameMovie(BaseDocument& document, lmSettings& settings,
                                     const FramePictures& pictures, const std::vector<LONG>& frames,
                                     Messages& messages, AnimationReport& report);

} // namespace batch
