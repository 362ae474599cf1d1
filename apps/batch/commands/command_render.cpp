#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "active_document.h"
#include "c4d_bitmap.h"
#include "c4d_render.h"
#include "commands.h"
#include "failures.h"
#include "film.h"
#include "film_file.h"
#include "interrupt.h"
#include "lm_keys.h"
#include "messages.h"
#include "output_file.h"
#include "picture_file.h"
#include "plugin_host.h"
#include "render_job.h"
#include "render_report.h"
#include "run_settings.h"
#include "scene_load.h"
#include "scene_pictures.h"
#include "scene_setup.h"

namespace batch {
namespace {

PictureOptions pictureOptions(const RenderOptions& options) {
  return {options.quality,
          options.half,
          options.compression,
          options.layers.has_value(),
          options.resumable || options.part,
          nullptr,
          options.alpha,
          options.bits};
}

/// Checks the options before any work begins.
void checkTargets(const RenderOptions& options) {
  checkAssignments(options.settings);
  checkPictureFile(options.image, pictureOptions(options));
  if (options.tile && (!holdsLight(options.image) || options.half))
    throw Stop(ExitCode::wrongUse,
               "a tile is written as an exr with floats; name an exr, and give --half to `lumenara merge`");
  if (options.view.given() && holdsLight(options.image))
    throw Stop(ExitCode::wrongUse, "--view, --exposure and --lens have no effect on " + options.image +
                                       ", which holds the light itself; leave them out, or write a png");
  requirePictureTarget(options.image);
  if (!options.stats.empty()) requireWritable(Filename(String(options.stats)), "the statistics file");
}

void prepare(const RenderOptions& options, BaseDocument& document) {
  if (!options.camera.empty()) chooseCamera(document, options.camera);
  if (!options.variant.empty()) chooseVariant(document, options.variant);
  if (options.frame) goToFrame(document, *options.frame);
  setSampling(document, options.sampling);
  setView(document, options.view);
  if (options.layers) setLayers(document, *options.layers);
  using host::render::SampleKeeping;
  setKeeping(document, !options.resume.empty() ? SampleKeeping::goOn
                       : options.resumable     ? SampleKeeping::keep
                                               : SampleKeeping::no);
  if (options.part) setPart(document, *options.part);
}

/// The film of an earlier render, with its samples.
std::shared_ptr<host::Film> loadKeptFilm(const std::string& file) {
  const host::FilmFile loaded = host::loadFilm(file);
  if (!loaded.error.empty())
    throw Stop(ExitCode::sceneUnreadable, file + " cannot be read to go on from: " + loaded.error);
  if (!loaded.film || !loaded.film->samples())
    throw Stop(ExitCode::sceneUnreadable,
               file + " holds no samples to go on from; render it with --resumable, as an exr");
  return loaded.film;
}

/// One message for a render that could not go on; it has drawn nothing.
void checkResumed(const RenderOptions& options) {
  if (options.resume.empty()) return;
  const auto failures = host::takeFailures();
  if (!failures.empty()) throw Stop(ExitCode::wrongUse, options.resume + ": " + failures.front().sentence);
}

void checkRegion(const std::optional<PixelRegion>& region, PixelSize size) {
  if (!region || (region->left < size.width && region->top < size.height)) return;
  throw Stop(ExitCode::wrongUse, "--region lies outside the picture of " + std::to_string(size.width) +
                                     " x " + std::to_string(size.height) + " pixels");
}

/// The pixels to render; empty: all. A box that reaches past an edge is moved inside.
std::optional<PixelRegion> pixelRegion(const RenderOptions& options, PixelSize size) {
  checkRegion(options.region, size);
  if (!options.box) return options.region;
  const auto side = [&](double at, LONG whole) {
    const LONG length = std::max<LONG>(1, static_cast<LONG>(std::floor(whole * options.box->size)));
    const LONG first = std::min(static_cast<LONG>(std::floor(whole * at)), whole - length);
    return std::pair<LONG, LONG>(first, first + length - 1);
  };
  const auto [left, right] = side(options.box->x, size.width);
  const auto [top, bottom] = side(options.box->y, size.height);
  return PixelRegion{left, top, right, bottom};
}

/// A film of the tile and its margin alone; the bitmap has the size of the picture.
void holdTile(BaseBitmap& bitmap, const host::render::TileFacts& tile) {
  const host::render::Region held = host::render::withMargin(tile.tile, tile.width, tile.height);
  host::setFilm(bitmap, std::make_shared<host::Film>(
                            tile.width, tile.height,
                            host::FilmWindow{held.left, held.top, held.width(), held.height()}));
}

void saveTile(const BaseBitmap& bitmap, const host::render::TileFacts& tile, const RenderOptions& options) {
  const host::render::Region& box = tile.tile;
  BaseBitmap* cut = bitmap.GetClonePart(box.left, box.top, box.width(), box.height());
  const std::shared_ptr<host::Film> film = cut ? host::filmOf(*cut) : nullptr;
  if (!film) {
    BaseBitmap::Free(cut);
    throw Stop(ExitCode::renderFailed, "there is not enough memory for the tile; use more tiles");
  }
  host::render::setTileFacts(*film, tile);
  try {
    savePicture(*cut, options.image, pictureOptions(options));
  } catch (...) {
    BaseBitmap::Free(cut);
    throw;
  }
  BaseBitmap::Free(cut);
}

/// The exit code of a job; prints the error message of a failed one.
ExitCode judge(const JobResult& job, const RenderOptions& options, const Scene& scene, Messages& messages) {
  const std::string picture = isStandardOutput(options.image) ? "the picture" : options.image;
  switch (job.result) {
  case RENDERRESULT_OK:
    messages.note("lumenara: " + picture + " was rendered in " +
                  durationText(static_cast<std::int64_t>(job.seconds + 0.5)));
    return ExitCode::done;
  case RENDERRESULT_ASSETMISSING:
    messages.problem(picture + " was rendered without " +
                     (scene.missing.empty() ? "a picture that the scene needs" : listOf(scene.missing)) +
                     "; put what is missing beside the scene and render again");
    return ExitCode::renderFailed;
  case RENDERRESULT_OUTOFMEMORY:
    messages.problem(picture + " is not complete: there was not enough memory to render " + options.scene +
                     "; close other programs or choose a smaller --size");
    return ExitCode::renderFailed;
  default:
    messages.problem(picture + " is not complete: the render of " + options.scene + " ended with result " +
                     std::to_string(job.result) + "; render again");
    return ExitCode::renderFailed;
  }
}

ExitCode renderScene(const RenderOptions& options, Messages& messages) {
  lmSettings settings;
  fillRunSettings(settings, options.settings);
  Scene scene = loadScene(options.scene, messages);
  prepare(options, *scene.document);
  const host::LensSettings lens = chooseLens(*scene.document, options.view);
  // A copy without animation does not move.
  if (blursMotion(*scene.document)) settings.GetDataInstance()->SetLong(LM_CLONE_ANIMATION, 1);
  std::shared_ptr<host::Film> kept;
  if (!options.resume.empty()) kept = loadKeptFilm(options.resume);
  const PixelSize size = kept && !options.size ? PixelSize{kept->width(), kept->height()}
                                               : pictureSize(options.size, *scene.document, settings);
  const std::optional<PixelRegion> region = pixelRegion(options, size);
  AutoAlloc<BaseBitmap> bitmap;
  makeBitmap(*bitmap, size, options.alpha);
  if (kept && kept->width() == size.width && kept->height() == size.height)
    host::setFilm(*bitmap, std::move(kept));
  else if (kept)
    throw Stop(ExitCode::wrongUse, options.resume + " has " + std::to_string(kept->width()) + " x " +
                                       std::to_string(kept->height()) +
                                       " pixels; leave --size out, or begin anew without --resume");
  std::optional<host::render::TileFacts> tile;
  if (options.tile) {
    tile = setTile(*scene.document, *options.tile, size);
    holdTile(*bitmap, *tile);
  }
  host::takeFailures(); // earlier failures are not this render's

  RunTimes times{scene.loadMs, 0};
  if (!options.stats.empty()) times.cloneMs = measureClone(*scene.document, settings, region.has_value());
  BaseDocument& document = *scene.document;
  host::setActiveDocument(scene.document.release());
  const JobResult job = runJob(document, *bitmap, settings, region, messages);

  // A break before the first frame leaves the result of a successful render, so the request decides.
  checkResumed(options);
  if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled; " + options.image + " was not written");
  if (!job.rendered) {
    throw Stop(ExitCode::renderFailed, "the scene " + options.scene +
                                           " could not be prepared for the render; there is "
                                           "probably not enough memory, close other programs");
  }
  if (tile)
    saveTile(*bitmap, *tile, options);
  else
    savePicture(*bitmap, lens, options.image, pictureOptions(options));
  if (!options.stats.empty()) {
    writeText(Filename(String(options.stats)), statsText(times, size, job.result), "the statistics file");
  }
  return judge(job, options, scene, messages);
}

/// One for each scene.
std::vector<RenderOptions> singleRenders(const RenderOptions& options) {
  std::vector<std::string> scenes{options.scene};
  scenes.insert(scenes.end(), options.more.begin(), options.more.end());
  const std::vector<std::string> pictures = scenePictures(scenes, options.image);
  std::vector<std::string> stats(scenes.size());
  if (!options.stats.empty() && scenes.size() > 1) stats = scenePictures(scenes, options.stats);
  std::vector<RenderOptions> renders;
  for (std::size_t i = 0; i < scenes.size(); ++i) {
    renders.push_back(options);
    renders.back().more.clear();
    renders.back().scene = scenes[i];
    renders.back().image = pictures[i];
    if (scenes.size() > 1) renders.back().stats = stats[i];
  }
  return renders;
}

/// Goes on after a scene that fails; the first failure's code counts.
ExitCode renderAll(const std::vector<RenderOptions>& renders, Messages& messages) {
  ExitCode first = ExitCode::done;
  for (const RenderOptions& render : renders) {
    ExitCode code = ExitCode::done;
    try {
      code = renderScene(render, messages);
    } catch (const Stop& stop) {
      if (stop.code() == ExitCode::cancelled) throw;
      messages.end();
      messages.problem(stop.what());
      code = stop.code();
    }
    if (first == ExitCode::done) first = code;
  }
  return first;
}

} // namespace

ExitCode runRender(const RenderOptions& options) {
  const std::vector<RenderOptions> renders = singleRenders(options);
  for (const RenderOptions& render : renders)
    checkTargets(render);
  Messages messages(options.quiet);
  BatchInterface ui(messages);
  const PluginHost host(options.home, options.threads, ui);
  return renders.size() == 1 ? renderScene(renders.front(), messages) : renderAll(renders, messages);
}

} // namespace batch
