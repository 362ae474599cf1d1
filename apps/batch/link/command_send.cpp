#include <cstdio>
#include <filesystem>
#include <system_error>

#include "commands.h"
#include "running_studio.h"

namespace batch {
namespace {

std::string wholePath(const std::string& scene) {
  std::error_code code;
  const std::filesystem::path path = std::filesystem::absolute(scene, code).lexically_normal();
  if (code || !std::filesystem::exists(path, code))
    throw Stop(ExitCode::sceneUnreadable, "the scene " + scene + " is not there; check its path");
  if (!std::filesystem::is_regular_file(path, code))
    throw Stop(ExitCode::sceneUnreadable, "the scene " + scene + " is not a file; name a scene");
  return path.string();
}

} // namespace

ExitCode runSend(const SendOptions& options) {
  const std::string path = wholePath(options.scene);
  RunningStudio studio(options.studio);
  studio.ask({{"type", "open"}, {"path", path}});
  if (!options.studio.quiet)
    std::fprintf(stderr, "lumenara: Lumenara Studio shows %s\n", options.scene.c_str());
  return ExitCode::done;
}

} // namespace batch
