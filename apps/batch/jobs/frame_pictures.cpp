#include "frame_pictures.h"

#include "c4d_render.h"
#include "failures.h"
#include "interrupt.h"
#include "render_job.h"
#include "scene_setup.h"

namespace batch {
namespace {

constexpr const char* goOn = "; afterwards the same command with --resume renders the rest";

JobResult renderFrame(BaseDocument& document, lmSettings& settings, BaseBitmap& bitmap, LONG frame,
                      Messages& messages) {
  goToFrame(document, frame);
  host::takeFailures(); // earlier failures are not this frame's
  const JobResult job = runJob(document, bitmap, settings, std::nullopt, messages);
  if (interrupted())
    throw Stop(ExitCode::cancelled, "cancelled at frame " + std::to_string(frame) +
                                        "; the frames before it are written, the same command with --resume "
                                        "renders the rest");
  if (!job.rendered)
    throw Stop(ExitCode::renderFailed, "the scene could not be prepared for frame " + std::to_string(frame) +
                                           "; there is probably not enough memory, close other programs" +
                                           goOn);
  if (job.result == RENDERRESULT_OK || job.result == RENDERRESULT_ASSETMISSING) return job;
  throw Stop(ExitCode::renderFailed,
             "frame " + std::to_string(frame) + " is not complete: its render ended " +
                 (job.result == RENDERRESULT_OUTOFMEMORY ? "for want of memory"
                                                         : "with result " + std::to_string(job.result)) +
                 goOn);
}

} // namespace

PictureOptions framePictureOptions(const AnimateOptions& options) {
  return {options.quality, options.half, options.compression, options.layers.has_value(), false, nullptr};
}

void checkFramePictures(const AnimateOptions& options, const AnimationTarget& target) {
  if (target.byHost()) {
    checkPictureFile(options.output, framePictureOptions(options));
    if (options.view.given() && holdsLight(options.output))
      throw Stop(ExitCode::wrongUse, "--view and --exposure have no effect on " + options.output +
                                         ", which holds the light itself; leave them out, or write a png");
    return;
  }
  if (options.layers || options.half || options.compression)
    throw Stop(ExitCode::wrongUse, "--layers, --half and --compression belong to an exr, and " +
                                       options.output + " is none; leave them out, or write shot.####.exr");
}

FramePicturesResult renderFramePictures(BaseDocument& document, lmSettings& settings,
                                        const FramePictures& pictures, const std::vector<LONG>& frames,
                                        Messages& messages) {
  FramePicturesResult all;
  for (const LONG frame : frames) {
    AutoAlloc<BaseBitmap> bitmap;
    makeBitmap(*bitmap, pictures.size);
    const JobResult job = renderFrame(document, settings, *bitmap, frame, messages);
    const std::string file = frameFile(pictures.target, frame).GetString().GetUTF8();
    savePicture(*bitmap, pictures.lens, file, pictures.how);
    all.seconds += job.seconds;
    all.assetMissing = all.assetMissing || job.result == RENDERRESULT_ASSETMISSING;
  }
  return all;
}

} // namespace batch
