// The part of the command line that is about a running Lumenara Studio.
#pragma once

#include <memory>
#include <optional>

#include "command_line.h"

namespace CLI {
class App;
}

namespace batch {

class LinkCommandLine {
 public:
  /// Adds the commands to the program's.
  explicit LinkCommandLine(CLI::App& app);
  ~LinkCommandLine();
  LinkCommandLine(const LinkCommandLine&) = delete;
  LinkCommandLine& operator=(const LinkCommandLine&) = delete;

  /// The options of the line that was parsed; nothing when it has another command.
  std::optional<CommandLine> finish() const;

 private:
  struct Raw;
  std::unique_ptr<Raw> raw_;
};

} // namespace batch
