// Messages on standard error, and a progress line on a terminal.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "clock.h"
#include "user_interface.h"

namespace batch {

/// 75 seconds as "1:15"; with hours from 3600 seconds on.
std::string durationText(std::int64_t seconds);

/// A progress text: "Rendering  42 %  0:12, about 0:17 left". The time left is extrapolated from the part
/// done, once that is at least 1 % and a second has passed.
std::string progressText(const std::string& what, double part, host::Milliseconds elapsed);

/// The texts, separated by commas.
std::string listOf(const std::vector<std::string>& texts);

/// Main thread.
class Messages {
 public:
  /// Prints the console's lines, too, unless `quiet`.
  explicit Messages(bool quiet);
  ~Messages();
  Messages(const Messages&) = delete;
  Messages& operator=(const Messages&) = delete;

  /// Prints a line, even when quiet.
  void problem(const std::string& sentence);
  /// Prints a line unless quiet.
  void note(const std::string& sentence);

  /// Asks on the terminal and waits: true for "y" and "yes". False without a terminal and after Ctrl-C.
  bool confirm(const std::string& question);

  /// Start, update (0 to 1; `detail` follows the times) and remove the progress line. Without a terminal and
  /// when quiet they do nothing.
  void begin(const std::string& what);
  void progress(double part, const std::string& detail = {});
  void end();

 private:
  void printLine(const std::string& text);
  void clearProgress();

  bool quiet_, terminal_;
  std::uint64_t listener_ = 0;
  std::string what_, shown_;
  host::Milliseconds started_ = 0;
};

/// The user interface without a user: prints texts, answers questions with no, chooses and opens nothing.
class BatchInterface : public host::UserInterface {
 public:
  explicit BatchInterface(Messages& messages) : messages_(messages) {}
  void message(const String& text) override;
  bool question(const String& text) override;

 private:
  Messages& messages_;
};

} // namespace batch
