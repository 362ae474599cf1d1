#include "running_studio.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "exit_code.h"
#include "interrupt.h"
#include "link_place.h"

namespace batch {
namespace {

constexpr host::Milliseconds greeting = 10000;

[[noreturn]] void stopBy(const host::LinkError& error) {
  if (interrupted()) throw Stop(ExitCode::cancelled, "cancelled");
  const std::string advice = error.help.empty() ? "" : " " + error.help;
  throw Stop(ExitCode::renderFailed, error.what() + advice);
}

host::RunningLink choose(const StudioOptions& options) {
  std::string error;
  const std::string folder = host::linkFolder(error);
  if (folder.empty()) throw Stop(ExitCode::renderFailed, error);
  const std::vector<host::RunningLink> running = host::runningLinks(folder);
  if (running.empty())
    throw Stop(ExitCode::renderFailed, "no Lumenara Studio that listens is running; start lumenara-studio");
  std::string all;
  for (const host::RunningLink& link : running)
    all += (all.empty() ? "" : ", ") + std::to_string(link.process) + " (" + link.scene + ")";
  if (options.process == 0) {
    if (running.size() > 1 && !options.quiet)
      std::fprintf(stderr,
                   "lumenara: several Lumenara Studios run: %s; the first, which is the newest, is asked. "
                   "--pid chooses another\n",
                   all.c_str());
    return running.front();
  }
  const auto found = std::find_if(running.begin(), running.end(), [&](const host::RunningLink& link) {
    return link.process == options.process;
  });
  if (found == running.end())
    throw Stop(ExitCode::renderFailed, "no Lumenara Studio with the process number " +
                                           std::to_string(options.process) + " listens; running: " + all);
  return *found;
}

} // namespace

RunningStudio::RunningStudio(const StudioOptions& options)
    : wait_(static_cast<host::Milliseconds>(options.wait * 1000)) {
  const host::RunningLink link = choose(options);
  try {
    client_ =
        std::make_unique<host::LinkClient>(link.socket, "lumenara", std::min(greeting, wait_), interrupted);
  } catch (const host::LinkError& error) {
    stopBy(error);
  }
}

host::LinkFrame RunningStudio::ask(host::Json message) {
  try {
    return client_->ask(std::move(message), wait_);
  } catch (const host::LinkError& error) {
    stopBy(error);
  }
}

} // namespace batch
