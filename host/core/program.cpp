#include "program.h"

#include <atomic>
#include <system_error>
#include <utility>

#include "console.h"
#include "failures.h"
#include "file_path.h"
#include "main_loop.h"
#include "platform.h"
#include "program_folder.h"
#include "site_defaults.h"
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
  return folder.GetFileString() == "bin" ? programFolder() : folder;
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
  home_ = std::make_unique<Home>(options_.home);
  preferences_ = std::make_unique<Preferences>(writePath() + "preferences.json");
  if (preferences_->isNew()) startWithSiteDefaults(*preferences_, startupPath_);
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
  startModules(startupPath_, true);
  if (home_->isKept()) startModules(writePath(), false);
}

// Installed plug-ins are as trusted as the program itself.
void Program::startModules(const Filename& place, bool installed) {
  for (const PluginModule& module : findModules(place + "plugins")) {
    const std::string unsafe = installed ? std::string() : home_->whyUnsafe(module.file);
    if (unsafe.empty())
      loader_->load(module);
    else
      printLine("The plug-in \"" + module.file.GetString() + "\" was not loaded: " + unsafe.c_str() +
                ". Install it again as yourself, or remove it.");
  }
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
