// What the program's exit code tells, and how a command says that it cannot go on.
#pragma once

#include <stdexcept>
#include <string>

namespace batch {

enum class ExitCode {
  done = 0,
  tooDifferent = 1,      // two pictures, by more than was allowed
  wrongUse = 2,          // options, keys, values, names that are not there
  sceneUnreadable = 3,   // the scene, or a picture
  outputNotWritable = 4, // picture, statistics, settings
  renderFailed = 5,      // or an asset is missing; the picture is saved all the same
  cancelled = 130        // by Ctrl-C
};

/// Ends the command. The sentence says what, where and what to do; it is the only one that the user reads.
class Stop : public std::runtime_error {
 public:
  Stop(ExitCode code, const std::string& sentence) : std::runtime_error(sentence), code_(code) {}
  ExitCode code() const noexcept { return code_; }

 private:
  ExitCode code_;
};

} // namespace batch
