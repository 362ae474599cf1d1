// A program around the host: its folders, services and plug-ins, from start to end. One at a time, on the
// main thread. Without one the interface works as far as it can: no preferences, no registration.
#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "clock.h"
#include "home.h"
#include "plugin_loader.h"
#include "plugin_registry.h"
#include "preferences.h"
#include "user_interface.h"

namespace host {

struct ProgramOptions {
  Filename startupPath;        // empty: of a program in bin/, programFolder(), else the program's own folder
  Filename home;               // empty: LUMENARA_HOME, else the user's data folder (home.h)
  UserInterface* ui = nullptr; // not owned
  Clock* clock = nullptr;      // not owned; null: the system's
  int cpuCount = 0;            // processors for render workers; 0: all
  bool loadModules = true;     // plugins/*/ of the startup path and of the write path
  std::vector<PluginUnit> linkedPlugins; // started before the modules, in this order
  std::FILE* consoleEcho = stderr;       // null: lines go to listeners only
  bool printFailures = true;             // failed writes are lines on the console (failures.h)
};

/// The stages of `Program::shutDown` that steps can be added to.
enum class ShutdownStage { closeDialogs, freeDocuments, freeCaches };

class Program {
 public:
  /// Makes the calling thread the main one and takes the home. A home that cannot be made or is not safe is
  /// reported on the console.
  explicit Program(ProgramOptions options);
  ~Program(); // shuts down

  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// The running program; null without one. Any thread.
  static Program* current() noexcept;

  /// Starts the linked plug-ins, then the installed modules, then those of the home that nobody else can
  /// change.
  void startPlugins();

  /// Runs the loop until `quit`; returns its code. For programs without a loop of their own.
  int run();
  void quit(int code = 0); // any thread

  /// Stops the loop, closes dialogs, frees documents, calls the plug-ins' end entries, destroys the objects
  /// that they registered in reverse order, frees caches, writes preferences: in this order, once. Modules
  /// stay loaded.
  void shutDown();

  const Filename& startupPath() const noexcept { return startupPath_; }
  const Filename& writePath() const noexcept { return home_->folder(); }
  /// Whether the write path outlives the program.
  bool homeIsKept() const noexcept { return home_->isKept(); }
  PluginRegistry& registry() noexcept { return registry_; }
  PluginLoader& loader() noexcept { return *loader_; }
  Preferences& preferences() noexcept { return *preferences_; }

 private:
  void startModules(const Filename& place, bool installed);

  ProgramOptions options_;
  Filename startupPath_;
  std::unique_ptr<Home> home_;
  std::unique_ptr<Preferences> preferences_;
  PluginRegistry registry_;
  std::unique_ptr<PluginLoader> loader_;
  std::optional<int> exitCode_;
  bool down_ = false;
};

/// Adds a step for the end of every program: each folder of the host adds its own once. Steps of a stage run
/// in the reverse order of their addition. Main thread.
void addShutdownStep(ShutdownStage stage, std::function<void()> step);

} // namespace host
