#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "commands.h"
#include "film_file.h"
#include "film_merge.h"
#include "interrupt.h"
#include "messages.h"
#include "output_file.h"
#include "picture_file.h"
#include "picture_host.h"
#include "scene_load.h"
#include "scene_setup.h"
#include "tile_join.h"
#include "view_setting.h"
#include "worker_threads.h"

namespace batch {
namespace {

using host::render::FilmMerge;
using host::render::MergePart;

std::shared_ptr<host::Film> loadPart(const std::string& file) {
  host::FilmFile loaded = host::loadFilm(file);
  if (!loaded.error.empty())
    throw Stop(ExitCode::sceneUnreadable, file + " cannot be merged: " + loaded.error);
  if (!loaded.film)
    throw Stop(ExitCode::sceneUnreadable, file + " holds no light; merge films that are exr files");
  return loaded.film;
}

/// The parts in the order of their samples. One film is in memory at a time.
std::vector<MergePart> readParts(const std::vector<std::string>& files, Messages& messages) {
  std::vector<MergePart> parts;
  std::set<std::string> known;
  for (const std::string& file : files) {
    if (!known.insert(file).second)
      throw Stop(ExitCode::wrongUse, file + " is named twice; name each film once");
    if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled; nothing was written");
    MergePart part;
    part.name = file;
    const std::string problem = host::render::describePart(*loadPart(file), part);
    if (!problem.empty()) throw Stop(ExitCode::sceneUnreadable, file + " cannot be merged: " + problem);
    parts.push_back(std::move(part));
    messages.progress(0.4 * static_cast<double>(parts.size()) / static_cast<double>(files.size()));
  }
  const std::string problem = host::render::arrangeParts(parts);
  if (!problem.empty()) throw Stop(ExitCode::wrongUse, problem);
  return parts;
}

void addParts(FilmMerge& merge, const std::vector<MergePart>& parts, Messages& messages) {
  std::size_t done = 0;
  for (const MergePart& part : parts) {
    if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled; nothing was written");
    try {
      merge.add(*loadPart(part.name));
    } catch (const host::render::DamagedSamples&) {
      throw Stop(ExitCode::sceneUnreadable,
                 part.name +
                     " cannot be merged: a pixel is damaged, or has other samples than its part of them. "
                     "Render it with --part");
    }
    messages.progress(0.4 + 0.5 * static_cast<double>(++done) / static_cast<double>(parts.size()));
  }
}

/// How a picture that holds no light shows it.
struct Look {
  host::ViewSettings view;
  host::LensSettings lens;
};

Look lookOf(const MergeOptions& options, Messages& messages) {
  if (options.scene.empty() || holdsLight(options.image)) return {};
  const Scene scene = loadScene(options.scene, messages);
  BaseDocument& document = *scene.document;
  setView(document, options.view);
  const RenderData* data = document.GetActiveRenderData();
  return {host::render::readView(data ? data->GetData() : BaseContainer(), &document),
          chooseLens(document, options.view)};
}

ExitCode mergeParts(const MergeOptions& options, const PictureOptions& how, const Look& look,
                    Messages& messages) {
  const std::vector<MergePart> parts = readParts(options.films, messages);
  FilmMerge merge(parts);
  addParts(merge, parts, messages);
  AutoAlloc<BaseBitmap> bitmap;
  makeBitmap(*bitmap, {parts.front().width, parts.front().height});
  const std::string problem = merge.draw(*bitmap, look.view, options.resumable, interrupted);
  if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled; nothing was written");
  messages.end();
  if (!problem.empty()) messages.problem(problem);
  savePicture(*bitmap, look.lens, options.image, how);
  messages.note("lumenara: " + options.image + " has the samples " + std::to_string(parts.front().first()) +
                " to " + std::to_string(parts.back().end() - 1) + " of " + std::to_string(parts.size()) +
                (parts.size() == 1 ? " film" : " films"));
  return ExitCode::done;
}

ExitCode mergeTiles(const MergeOptions& options, const PictureOptions& how, const Look& look,
                    Messages& messages) {
  if (options.resumable)
    throw Stop(ExitCode::wrongUse, "--resumable has no effect on tiles, which keep no samples; leave it out");
  host::render::TileJoin join;
  std::size_t done = 0;
  for (const std::string& file : options.films) {
    if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled; nothing was written");
    if (const std::string problem = join.add(*loadPart(file), file); !problem.empty())
      throw Stop(ExitCode::wrongUse, problem);
    messages.progress(0.8 * static_cast<double>(++done) / static_cast<double>(options.films.size()));
  }
  if (const std::string problem = join.problem(); !problem.empty()) throw Stop(ExitCode::wrongUse, problem);
  AutoAlloc<BaseBitmap> bitmap;
  makeBitmap(*bitmap, {join.width(), join.height()});
  const std::string problem = join.draw(*bitmap, look.view, interrupted);
  if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled; nothing was written");
  messages.end();
  if (!problem.empty()) messages.problem(problem);
  savePicture(*bitmap, look.lens, options.image, how);
  messages.note("lumenara: " + options.image + " was joined from " + std::to_string(options.films.size()) +
                (options.films.size() == 1 ? " tile" : " tiles"));
  return ExitCode::done;
}

} // namespace

ExitCode runMerge(const MergeOptions& options) {
  if (options.view.given() && holdsLight(options.image))
    throw Stop(ExitCode::wrongUse, "--view and --exposure have no effect on " + options.image +
                                       ", which holds the light itself; leave them out, or write a png");
  const PictureOptions how{options.quality, options.half, options.compression, false, options.resumable,
                           nullptr,         false,        options.bits};
  checkPictureFile(options.image, how);
  requirePictureTarget(options.image);
  PictureHost host(options.home, options.quiet);
  host::setWorkerCount(options.threads);
  Messages& messages = host.messages();
  const Look look = lookOf(options, messages);
  messages.begin("Merging");
  return host::render::tileFactsOf(*loadPart(options.films.front()))
             ? mergeTiles(options, how, look, messages)
             : mergeParts(options, how, look, messages);
}

} // namespace batch
