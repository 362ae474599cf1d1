// Programs that are run for what they print. Any thread; waits for the program.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace host::farm {

struct CommandOutput {
  std::string
      problem;   // why it could not be run, or that it was ended; a clause, empty when it ended by itself
  int code = -1; // of its end
  std::string out, err;

  bool worked() const { return problem.empty() && code == 0; }
  /// A clause for messages: the problem, else the last line of the errors, else the code.
  std::string why() const;
};

/// Runs a program to its end, at most for so many seconds. `stopped` (may be empty) is asked often; true ends
/// it.
CommandOutput runCommand(const std::vector<std::string>& arguments, int seconds = 60,
                         const std::function<bool()>& stopped = {});

/// The last line that is not empty.
std::string lastLine(const std::string& text);

} // namespace host::farm
