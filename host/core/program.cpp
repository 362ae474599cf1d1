#include "program.h"

#include <atomic>
#include <cstdlib>
#include <system_error>
#include <utility>

#include "c4d_file.h"
#include "console.h"
#include "failures.h"
#include "file_path.h"
#include "main_loop.h"
#include "platform.h"
#include "worker_threads.h"

namespace host {

namespace {

std::atomic<Program*> running{nullptr};

struct Step {
  ShutdownStage stage;
  std::function<void()> action;
};
std::vector<Step>& shutdownSteps() {
  static std::vector<Step>& steps = *new std::vector<Step>;
  return steps;
}

void runSteps(ShutdownStage stage) {
  auto& steps = shutdownSteps();
  for (std::size_t i = steps.size(); i-- > 0;)
    if (steps[i].stage == stage) steps[i].action();
}

Filename absolute(const Filename& file) {
  std::error_code error;
  const std::filesystem::path path = std::filesystem::absolute(toPath(file), error);
  return error ? file : toFilename(path);
}

Filename chooseStartupPath(const ProgramOptions& options) {
  if (options.startupPath.Content()) return absolute(options.startupPath);
  const Filename folder = platform::programPath().GetDirectory();
  return folder.GetFileString() == "bin" ? folder.GetDirectory() : folder;
}

Filename chooseWritePath(const ProgramOptions& options) {
  if (options.home.Content()) return absolute(options.home);
  if (const char* home = std::getenv("LUMENARA_HOME"); home && *home) return absolute(home);
  Filename data = platform::userDataFolder();
  std::error_code error;
  if (!data.Content()) data = toFilename(std::filesystem::temp_directory_path(error));
  return data + "Lumenara Studio";
}

} // namespace

Program::Program(ProgramOptions options) : options_(std::move(options)) {
  setMainThread();
  platform::prepareProcess();
  setClock(options_.clock);
  setUserInterface(options_.ui);
  setWorkerCount(options_.cpuCount);
  setConsoleEcho(options_.consoleEcho);
  printFailures(options_.printFailures);
  mainLoop().reset();
  startupPath_ = chooseStartupPath(options_);
  writePath_ = chooseWritePath(options_);
  GeFCreateDirRec(writePath_); // without it the preferences tell that they cannot be saved
  preferences_ = std::make_unique<Preferences>(writePath_ + "preferences.json");
  loader_ = std::make_unique<PluginLoader>(registry_);
  running.store(this);
}

Program::~Program() {
  shutDown();
  running.store(nullptr);
  setUserInterface(nullptr);
  setClock(nullptr);
  setWorkerCount(0);
  setConsoleEcho(stderr);
  printFailures(false);
}

Program* Program::current() noexcept {
  return running.load();
}

void Program::startPlugins() {
  for (const PluginUnit& unit : options_.linkedPlugins)
    loader_->start(unit);
  if (!options_.loadModules) return;
  for (const Filename& place : {startupPath_, writePath_})
    for (const PluginModule& module : findModules(place + "plugins"))
      loader_->load(module);
}

int Program::run() {
  exitCode_.reset();
  while (!exitCode_)
    mainLoop().waitAndRun(std::nullopt);
  return *exitCode_;
}

void Program::quit(int code) {
  mainLoop().post([this, code] { exitCode_ = code; }, Urgency::painting);
}

void Program::shutDown() {
  if (std::exchange(down_, true)) return;
  mainLoop().stop();
  runSteps(ShutdownStage::closeDialogs);
  runSteps(ShutdownStage::freeDocuments);
  loader_->endAll();
  registry_.destroyAll();
  runSteps(ShutdownStage::freeCaches);
  preferences_->flush();
  deliverConsole();
  mainLoop().reset();
}

void addShutdownStep(ShutdownStage stage, std::function<void()> step) {
  shutdownSteps().push_back({stage, std::move(step)});
}

PluginRegistry* pluginRegistry() noexcept {
  Program* program = Program::current();
  return program ? &program->registry() : nullptr;
}

Preferences* preferences() noexcept {
  Program* program = Program::current();
  return program ? &program->preferences() : nullptr;
}

} // namespace host
