// The part of the command line that is about farms.
#pragma once

#include <memory>
#include <optional>

#include "command_line.h"

namespace CLI {
class App;
}

namespace batch {

class FarmCommandLine {
 public:
  /// Adds the command to the program's.
  explicit FarmCommandLine(CLI::App& app);
  ~FarmCommandLine();
  FarmCommandLine(const FarmCommandLine&) = delete;
  FarmCommandLine& operator=(const FarmCommandLine&) = delete;

  /// The options of the line that was parsed; nothing when it has another command. Throws `Stop` (wrong use).
  std::optional<CommandLine> finish();

 private:
  struct Raw;
  std::unique_ptr<Raw> raw_;
};

} // namespace batch
