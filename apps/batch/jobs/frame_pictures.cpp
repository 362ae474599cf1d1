#include "frame_pictures.h"

#include "c4d_render.h"
#include "failures.h"
#include "film.h"
#include "interrupt.h"
#include "lm_keys.h"
#include "lm_thread.h"
#include "movie_options.h"
#include "render_job.h"
#include "scene_setup.h"
#include "viewed_bitmap.h"

namespace batch {
namespace {

constexpr const char* goOn = "; afterwards the same command with --resume renders the rest";

/// The frame with this index.
JobResult renderFrame(BaseDocument& document, lmSettings& settings, BaseBitmap& bitmap,
                      const std::vector<LONG>& frames, std::size_t index, Messages& messages,
                      AnimationReport& report) {
  const LONG frame = frames[index];
  goToFrame(document, frame);
  host::takeFailures(); // earlier failures are not this frame's
  return runJob(document, bitmap, settings, std::nullopt, messages, [&](double part) {
    report.progress((static_cast<double>(index) + part) / static_cast<double>(frames.size()), frame, bitmap);
  });
}

bool isWhole(const JobResult& job) {
  return job.rendered && (job.result == RENDERRESULT_OK || job.result == RENDERRESULT_ASSETMISSING);
}

/// Of a frame that is not whole.
std::string whyNot(const JobResult& job, LONG frame) {
  const std::string number = std::to_string(frame);
  if (!job.rendered)
    return "the scene could not be prepared for frame " + number +
           "; there is probably not enough memory, close other programs";
  return "frame " + number + " is not complete: its render ended " +
         (job.result == RENDERRESULT_OUTOFMEMORY ? "for want of memory"
                                                 : "with result " + std::to_string(job.result));
}

[[noreturn]] void stopMovie(const std::string& movie) {
  const auto failures = host::takeFailures();
  throw Stop(ExitCode::outputNotWritable,
             failures.empty() ? "the movie " + movie + " was not written; choose another place"
                              : failures.front().sentence);
}

/// The frame as a movie shows it; with alpha the colours of the surfaces alone.
void showFrame(const BaseBitmap& bitmap, const host::LensSettings& lens, bool alpha, BaseBitmap& shown) {
  const std::shared_ptr<const host::Film> film = host::filmOf(bitmap);
  const auto view = film ? film->view() : std::make_shared<const host::ViewTransform>();
  if (!host::viewedCopy(bitmap, *view, alpha, shown, {{}, lens}))
    throw Stop(ExitCode::renderFailed, "there is not enough memory for a frame; choose a smaller --size");
}

} // namespace

PictureOptions framePictureOptions(const AnimateOptions& options) {
  return {options.quality, options.half, options.compression, options.layers.has_value(),
          false,           nullptr,      options.alpha,       options.bits};
}

void checkFramePictures(const AnimateOptions& options, const AnimationTarget& target) {
  if (target.format == hostPictures) {
    checkPictureFile(options.output, framePictureOptions(options));
    if (options.view.given() && holdsLight(options.output))
      throw Stop(ExitCode::wrongUse, "--view and --exposure have no effect on " + options.output +
                                         ", which holds the light itself; leave them out, or write a png");
    return;
  }
  if (options.bits == 16)
    throw Stop(ExitCode::wrongUse, "--bits 16 belongs to a png, and " + options.output +
                                       " is none; leave it out, or write shot.####.png");
  if (options.layers || options.half || options.compression)
    throw Stop(ExitCode::wrongUse, "--layers, --half and --compression belong to an exr, and " +
                                       options.output + " is none; leave them out, or write shot.####.exr");
}

FramePicturesResult renderFramePictures(BaseDocument& document, lmSettings& settings,
                                        const FramePictures& pictures, const std::vector<LONG>& frames,
                                        Messages& messages, AnimationReport& report) {
  FramePicturesResult all;
  for (std::size_t index = 0; index < frames.size(); ++index) {
    const LONG frame = frames[index];
    AutoAlloc<BaseBitmap> bitmap;
    makeBitmap(*bitmap, pictures.size, pictures.how.alpha);
    const JobResult job = renderFrame(document, settings, *bitmap, frames, index, messages, report);
    if (interrupted())
      throw Stop(ExitCode::cancelled, "cancelled at frame " + std::to_string(frame) +
                                          "; the frames before it are written, the same command with "
                                          "--resume renders the rest");
    if (!isWhole(job)) throw Stop(ExitCode::renderFailed, whyNot(job, frame) + goOn);
    const std::string file = frameFile(pictures.target, frame).GetString().GetUTF8();
    savePicture(*bitmap, pictures.lens, file, pictures.how);
    ++all.frames;
    all.seconds += job.seconds;
    all.assetMissing = all.assetMissing || job.result == RENDERRESULT_ASSETMISSING;
    report.finished(*bitmap, index + 1 == frames.size());
  }
  return all;
}

FramePicturesResult renderFrameMovie(BaseDocument& document, lmSettings& settings,
                                     const FramePictures& pictures, const std::vector<LONG>& frames,
                                     Messages& messages, AnimationReport& report) {
  const std::string movie = pictures.target.file.GetString().GetUTF8();
  const BaseContainer options =
      GetMovieOptions(settings.GetDataInstance()->GetContainer(LM_ANIM_MOVIE_OPTIONS));
  const AutoAlloc<MovieSaver> saver;
  FramePicturesResult all;
  for (std::size_t index = 0; index < frames.size(); ++index) {
    const LONG frame = frames[index];
    const AutoAlloc<BaseBitmap> bitmap, shown;
    makeBitmap(*bitmap, pictures.size, pictures.how.alpha);
    const JobResult job = renderFrame(document, settings, *bitmap, frames, index, messages, report);
    const std::string end =
        all.frames > 0 ? "; " + movie + " ends before it" : "; " + movie + " was not written";
    const bool stopped = interrupted();
    if (stopped || !isWhole(job)) {
      if (!saver->Close() && all.frames > 0) stopMovie(movie);
      if (stopped) throw Stop(ExitCode::cancelled, "cancelled at frame " + std::to_string(frame) + end);
      throw Stop(ExitCode::renderFailed, whyNot(job, frame) + end);
    }
    showFrame(*bitmap, pictures.lens, pictures.how.alpha, *shown);
    const LONG format = host::movieFormatOf(pictures.target.file);
    if (all.frames == 0 && saver->Open(pictures.target.file, shown, document.GetFps(), format, &options,
                                       SAVEBIT_0) != IMAGERESULT_OK)
      stopMovie(movie);
    if (saver->Write(shown) != IMAGERESULT_OK) stopMovie(movie);
    ++all.frames;
    all.seconds += job.seconds;
    all.assetMissing = all.assetMissing || job.result == RENDERRESULT_ASSETMISSING;
    report.finished(*bitmap, index + 1 == frames.size());
  }
  if (!saver->Close()) stopMovie(movie);
  return all;
}

} // namespace batch
