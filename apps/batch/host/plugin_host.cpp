#include "plugin_host.h"

#include "c4d_file.h"
#include "exit_code.h"
#include "plugin_unit.h"

namespace batch {
namespace {

host::ProgramOptions programOptions(const std::string& home, int threads, host::UserInterface& ui) {
  host::ProgramOptions program;
  program.home = Filename(String(home));
  program.ui = &ui;
  program.cpuCount = threads;
  program.consoleEcho = nullptr; // the messages print it
  program.printFailures = false; // the command reports its own
  return program;
}

} // namespace

PluginHost::PluginHost(const std::string& home, int threads, host::UserInterface& ui)
    : program_(programOptions(home, threads, ui)) {
  startPlugins();
  keeper_.emplace(program_.preferences().file());
}

PluginHost::~PluginHost() {
  if (keeper_) keeper_->collect();
  program_.shutDown();
  if (keeper_) keeper_->putBack();
}

void PluginHost::startPlugins() {
  const host::PluginUnit plugin = linkedPlugin(program_.startupPath());
  const std::string folder = plugin.folder.GetString().GetUTF8();
  if (!GeFExist(plugin.folder + "res", TRUE)) {
    throw Stop(ExitCode::renderFailed,
               "the plug-in's resources are not in " + folder + "/res; build or install the plug-in again");
  }
  if (!program_.loader().start(plugin)) {
    throw Stop(ExitCode::renderFailed,
               "the plug-in in " + folder + " did not start; build or install it again");
  }
  program_.startPlugins();
}

} // namespace batch
