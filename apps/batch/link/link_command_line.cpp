#include "link_command_line.h"

#include <CLI/CLI.hpp>

#include "format_list.h"

namespace batch {
namespace {

void addStudio(CLI::App& command, StudioOptions& options) {
  command.add_option("--pid", options.process, "Process number of the Studio; default: the one started last")
      ->type_name("N")
      ->check(CLI::Range(1L, 1L << 30));
  command.add_option("--wait", options.wait, "Wait at most so many seconds for its answer (default 60)")
      ->type_name("SECONDS")
      ->check(CLI::Range(0.1, 86400.0));
  command.add_flag("--quiet", options.quiet, "Print errors only");
}

} // namespace

struct LinkCommandLine::Raw {
  SendOptions send;
  GrabOptions grab;
  CLI::App *sending = nullptr, *grabbing = nullptr;
};

LinkCommandLine::LinkCommandLine(CLI::App& app) : raw_(std::make_unique<Raw>()) {
  raw_->sending = app.add_subcommand("send", "Open a scene in a running Lumenara Studio");
  raw_->sending->add_option("SCENE", raw_->send.scene, "Scene, or an hdr or exr for its sky")->required();
  addStudio(*raw_->sending, raw_->send.studio);
  raw_->grabbing = app.add_subcommand("grab", "Save the viewer's picture of a running Lumenara Studio");
  raw_->grabbing
      ->add_option("-o,--output", raw_->grab.image,
                   "Picture: " + suffixList(FormatUse::write) + " by its suffix")
      ->type_name("IMAGE")
      ->required();
  addStudio(*raw_->grabbing, raw_->grab.studio);
}

LinkCommandLine::~LinkCommandLine() = default;

std::optional<CommandLine> LinkCommandLine::finish() const {
  if (raw_->sending->parsed()) return raw_->send;
  if (raw_->grabbing->parsed()) return raw_->grab;
  return std::nullopt;
}

} // namespace batch
