#include <string>
#include <vector>

#include "active_document.h"
#include "animate_job.h"
#include "animation_report.h"
#include "c4d_render.h"
#include "commands.h"
#include "frame_files.h"
#include "frame_pictures.h"
#include "interrupt.h"
#include "lm_keys.h"
#include "messages.h"
#include "movie_options.h"
#include "output_file.h"
#include "overwrite_question.h"
#include "picture_file.h"
#include "plugin_host.h"
#include "run_settings.h"
#include "scene_load.h"
#include "scene_setup.h"
#include "setting_names.h"
#include "setting_values.h"

namespace batch {
namespace {

/// Checks the options before any work begins.
AnimationTarget checkTarget(const AnimateOptions& options) {
  checkAssignments(options.settings);
  const AnimationTarget target = animationTarget(options.output, options.format, options.alpha);
  if (options.resume && target.movie()) {
    throw Stop(ExitCode::wrongUse, "--resume goes on with pictures only, and " +
                                       target.file.GetString().GetUTF8() +
                                       " is a movie; render it anew, or render pictures such as shot.tif");
  }
  checkFramePictures(options, target);
  if (!options.preview.empty()) checkPictureFile(options.preview);
  if (options.codec && !target.movie())
    throw Stop(ExitCode::wrongUse, "--codec belongs to a movie, and " + options.output +
                                       " is none; leave it out, or write shot.mp4");
  // All frames of a scene have one distance.
  const std::vector<FrameRange> ranges = joinFrames(framesOf(options.frames, {}));
  if (target.movie() && ranges.size() > 1)
    throw Stop(ExitCode::wrongUse,
               "a movie has frames at one distance, as 0:89 or 0:89:2; write pictures of " + textOf(ranges));
  if (target.movie()) {
    requireWritable(target.file, "the movie");
  } else {
    const LONG first = options.frames.ranges.empty() ? 0 : options.frames.ranges.front().from;
    requireWritable(frameFile(target, first), "the picture");
  }
  return target;
}

bool isAssigned(const AnimateOptions& options, LONG key) {
  for (const auto& [name, text] : options.settings) {
    if (findSetting(name).key == key) return true;
  }
  return false;
}

void fillSettings(lmSettings& settings, const AnimateOptions& options, const AnimationTarget& target) {
  fillRunSettings(settings, options.settings, options.stamps ? StampChoice::stored : StampChoice::none);
  BaseContainer* values = settings.GetDataInstance();
  if (!isAssigned(options, LM_ANIM_LAUNCH)) values->SetLong(LM_ANIM_LAUNCH, 0);
  BaseContainer movie = values->GetContainer(LM_ANIM_MOVIE_OPTIONS);
  if (options.quality) movie.SetLong(host::movieQualityKey, *options.quality);
  // The stored codec is one of mov or avi.
  if (options.codec || target.format == hostMovie) movie.SetLong(host::movieCodecKey, options.codec);
  if (options.alpha) movie.SetLong(host::movieAlphaKey, 1);
  values->SetContainer(LM_ANIM_MOVIE_OPTIONS, movie);
}

void prepare(const AnimateOptions& options, BaseDocument& document) {
  if (!options.camera.empty()) chooseCamera(document, options.camera);
  if (!options.variant.empty()) chooseVariant(document, options.variant);
  setSampling(document, options.sampling);
  setView(document, options.view);
  if (options.layers) setLayers(document, *options.layers);
}

/// The frames whose pictures are missing or incomplete.
std::vector<LONG> missingFrames(const AnimationTarget& target, const std::vector<LONG>& frames,
                                PixelSize size, Messages& messages) {
  std::vector<LONG> missing;
  messages.begin("Checking");
  std::size_t seen = 0;
  for (const LONG frame : frames) {
    if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled; nothing was rendered");
    if (!isWholeFrame(frameFile(target, frame), size)) missing.push_back(frame);
    messages.progress(static_cast<double>(++seen) / static_cast<double>(frames.size()));
  }
  messages.end();
  return missing;
}

std::string nameOf(const Filename& file) {
  return file.GetString().GetUTF8();
}

/// The state of the whole command.
struct Run {
  AnimationTarget target;
  std::vector<FrameRange> ranges;
  FrameProgress progress;
  bool assetMissing = false;
  double seconds = 0;
};

/// Ends the command when a job is incomplete.
void judge(const Run& run, const AnimationResult& job, const OverwriteQuestion& ui) {
  const bool movie = run.target.movie();
  const std::string file = nameOf(run.target.file), frame = std::to_string(job.frame);
  if (ui.declined() && interrupted()) throw Stop(ExitCode::cancelled, "cancelled; " + file + " was kept");
  if (ui.declined()) {
    throw Stop(ExitCode::outputNotWritable,
               file + " exists already and was kept; add --overwrite to replace it, or choose another name");
  }
  if (interrupted()) {
    throw Stop(ExitCode::cancelled,
               !movie
                   ? "cancelled at frame " + frame +
                         "; the frames before it are written, the same command with --resume renders the rest"
               : GeFExist(run.target.file) ? "cancelled; " + file + " ends with frame " + frame
                                           : "cancelled; " + file + " was not written");
  }
  if (!job.failure.empty()) {
    throw Stop(ExitCode::outputNotWritable,
               job.failure + (movie ? " The failure was noticed at frame " + frame + "."
                                    : " Afterwards the same command with --resume renders the rest."));
  }
  if (job.moved) {
    throw Stop(ExitCode::outputNotWritable,
               "the folder of " + file +
                   " disappeared before the render began, and the frames went to "
                   "the program's folder; make it again and render again");
  }
  if (!job.incomplete.empty()) {
    throw Stop(ExitCode::renderFailed,
               job.incompleteWhy + (movie ? " " + file + " ends soon after it."
                                          : " Afterwards the same command with --resume renders the rest."));
  }
  if (!job.rendered) {
    throw Stop(ExitCode::renderFailed, "the scene could not be prepared for the render; there is "
                                       "probably not enough memory, close other programs");
  }
  if (job.result == RENDERRESULT_OK || job.result == RENDERRESULT_ASSETMISSING) return;
  throw Stop(ExitCode::renderFailed, "frame " + frame + " of " + file +
                                         " is not complete: its render ended with result " +
                                         std::to_string(job.result) + "; render again");
}

void renderAll(Run& run, const AnimateOptions& options, BaseDocument& document, BaseBitmap& bitmap,
               lmSettings& settings, const OverwriteQuestion& ui, Messages& messages,
               AnimationReport& report) {
  AnimationJob job{
      {}, run.target, options.quality.value_or(defaultJpegQuality), options.stamps || stampsWanted(settings)};
  messages.begin("Rendering");
  for (const FrameRange& range : run.ranges) {
    job.frames = range;
    const AnimationResult result =
        runAnimation(document, bitmap, settings, job, run.progress, messages, report);
    judge(run, result, ui);
    run.progress.done += frameCount(range);
    run.seconds += result.seconds;
    run.assetMissing = run.assetMissing || result.result == RENDERRESULT_ASSETMISSING;
  }
  messages.end();
}

/// The render thread asks for its own movies.
void askToReplace(const Filename& movie, bool overwrite, Messages& messages) {
  if (overwrite || !GeFExist(movie)) return;
  const std::string file = nameOf(movie);
  if (messages.confirm("'" + file + "' exists already. Replace it?")) return;
  if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled; " + file + " was kept");
  throw Stop(ExitCode::outputNotWritable,
             file + " exists already and was kept; add --overwrite to replace it, or choose another name");
}

std::string frameText(LONG count) {
  return std::to_string(count) + (count == 1 ? " frame" : " frames");
}

ExitCode tell(const Run& run, const Scene& scene, Messages& messages) {
  const std::string file = nameOf(run.target.file);
  if (run.assetMissing) {
    messages.problem(file + " was rendered without " +
                     (scene.missing.empty() ? "a picture that the scene needs" : listOf(scene.missing)) +
                     "; put what is missing beside the scene and render again");
    return ExitCode::renderFailed;
  }
  const std::string where = run.target.movie() ? file : nameOf(frameFile(run.target, run.ranges[0].from));
  messages.note("lumenara: " + frameText(run.progress.done) + " of " + where +
                (run.progress.done > 1 && !run.target.movie() ? " and on" : "") + " were rendered in " +
                durationText(static_cast<std::int64_t>(run.seconds + 0.5)));
  return ExitCode::done;
}

ExitCode animateScene(const AnimateOptions& options, const AnimationTarget& target,
                      const OverwriteQuestion& ui, Messages& messages) {
  lmSettings settings;
  fillSettings(settings, options, target);
  Scene scene = loadScene(options.scene, messages);
  BaseDocument& document = *scene.document;
  prepare(options, document);
  const PixelSize size = pictureSize(options.size, document, settings);

  std::vector<LONG> frames = framesOf(options.frames, sceneFrames(document));
  Run run{target, joinFrames(frames), {0, static_cast<LONG>(frames.size())}};
  AnimationReport report(options.json, options.preview);
  if (!options.resume) report.begin(frames.size(), 0, target.file);
  if (options.resume) {
    removeAbandoned(target);
    frames = missingFrames(target, frames, size, messages);
    messages.note("lumenara: " + std::to_string(frames.size()) + " of " + frameText(run.progress.all) +
                  " are still to be rendered");
    report.begin(frames.size(), static_cast<std::size_t>(run.progress.all) - frames.size(), target.file);
    if (frames.empty()) {
      report.end(0);
      return ExitCode::done;
    }
    run.ranges = joinFrames(frames);
    run.progress.all = static_cast<LONG>(frames.size());
  }
  if (target.byHost()) {
    // A copy without animation does not move.
    if (blursMotion(document)) settings.GetDataInstance()->SetLong(LM_CLONE_ANIMATION, 1);
    const FramePictures pictures{target, size, framePictureOptions(options),
                                 chooseLens(document, options.view)};
    host::setActiveDocument(scene.document.release());
    if (target.movie()) askToReplace(target.file, options.overwrite, messages);
    const FramePicturesResult result =
        target.movie() ? renderFrameMovie(document, settings, pictures, frames, messages, report)
                       : renderFramePictures(document, settings, pictures, frames, messages, report);
    run.progress.done = run.progress.all, run.seconds = result.seconds;
    run.assetMissing = result.assetMissing;
    report.end(run.seconds);
    return tell(run, scene, messages);
  }
  AutoAlloc<BaseBitmap> bitmap;
  makeBitmap(*bitmap, size);
  host::setActiveDocument(scene.document.release());
  renderAll(run, options, document, *bitmap, settings, ui, messages, report);
  report.end(run.seconds);
  return tell(run, scene, messages);
}

} // namespace

ExitCode runAnimate(const AnimateOptions& options) {
  const AnimationTarget target = checkTarget(options);
  Messages messages(options.quiet);
  OverwriteQuestion ui(messages, nameOf(target.file), options.overwrite);
  const PluginHost host(options.home, options.threads, ui);
  return animateScene(options, target, ui, messages);
}

} // namespace batch
