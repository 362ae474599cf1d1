// What the program says on standard error: lines, and on a terminal one line that shows how far the work is.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "clock.h"
#include "user_interface.h"

namespace batch {

/// "75" seconds as "1:15", with hours from 3600 on.
std::string durationText(std::int64_t seconds);

/// How a piece of work stands: "Rendering  42 %  0:12, about 0:17 left". The rest is estimated from the part
/// that is done, once that is at least a hundredth and a second has passed.
std::string progressText(const std::string& what, double part, host::Milliseconds elapsed);

/// The texts with commas between them.
std::string listOf(const std::vector<std::string>& texts);

/// Main thread.
class Messages {
 public:
  /// Shows the console's lines too, unless `quiet`.
  explicit Messages(bool quiet);
  ~Messages();
  Messages(const Messages&) = delete;
  Messages& operator=(const Messages&) = delete;

  /// One line for the user, always printed.
  void problem(const std::string& sentence);
  /// One line that is not needed: nothing when quiet.
  void note(const std::string& sentence);

  /// Asks on the terminal and waits for the answer: true for "y" and "yes". False without a terminal to ask
  /// and answer on, and after Ctrl-C.
  bool confirm(const std::string& question);

  /// Starts, updates (0 to 1; `detail` follows the times) and removes the progress line. Nothing happens
  /// without a terminal or when quiet.
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

/// Answers what plug-ins ask: texts are printed, questions are answered no, nothing is chosen or opened.
class BatchInterface : public host::UserInterface {
 public:
  explicit BatchInterface(Messages& messages) : messages_(messages) {}
  void message(const String& text) override;
  bool question(const String& text) override;

 private:
  Messages& messages_;
};

} // namespace batch
