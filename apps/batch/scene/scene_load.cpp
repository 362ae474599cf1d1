#include "scene_load.h"

#include <chrono>
#include <utility>

#include "exit_code.h"
#include "interrupt.h"
#include "scene_file.h"

namespace batch {

Scene loadScene(const std::string& file, Messages& messages) {
  host::LoadOptions options;
  options.progress = [&](double part) {
    messages.progress(part);
    return !interrupted();
  };
  messages.begin("Loading  ");
  const auto start = std::chrono::steady_clock::now();
  host::LoadResult loaded = host::loadDocument(Filename(String(file)), options);
  messages.end();

  if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled while " + file + " was being loaded");
  if (!loaded.document) throw Stop(ExitCode::sceneUnreadable, loaded.error);
  Scene scene;
  scene.loadMs = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  for (const std::string& warning : loaded.warnings) {
    messages.note("lumenara: " + warning);
  }
  scene.document = std::move(loaded.document);
  scene.warnings = std::move(loaded.warnings);
  scene.missing = std::move(loaded.missingFiles);
  return scene;
}

} // namespace batch
