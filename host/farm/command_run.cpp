#include "command_run.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <thread>

#include "platform.h"
#include "read_file.h"

namespace host::farm {
namespace {

constexpr std::uintmax_t mostBytes = std::uintmax_t{256} << 20;

std::string textOfFile(const Filename& file) {
  const FileContent content = readFile(file, mostBytes);
  return std::string(content.text());
}

} // namespace

std::string lastLine(const std::string& text) {
  const auto last = text.find_last_not_of(" \t\r\n");
  if (last == text.npos) return {};
  const auto end = text.find_last_of('\n', last);
  const auto start = end == text.npos ? 0 : end + 1;
  return text.substr(start, last + 1 - start);
}

std::string CommandOutput::why() const {
  if (!problem.empty()) return problem;
  const std::string line = lastLine(err);
  return line.empty() ? "it ended with code " + std::to_string(code) : line;
}

CommandOutput runCommand(const std::vector<std::string>& arguments, int seconds,
                         const std::function<bool()>& stopped) {
  using Clock = std::chrono::steady_clock;
  CommandOutput output;
  const platform::PrivateFolder folder;
  if (!folder.folder().Content()) {
    output.problem = "no folder for temporary files can be made";
    return output;
  }
  const Filename out = folder.folder() + Filename("out"), err = folder.folder() + Filename("err");
  platform::ChildProgram child(arguments, out, err);
  if (!child.error().empty()) {
    output.problem = arguments.front() + " cannot be started: " + child.error();
    return output;
  }
  const auto limit = Clock::now() + std::chrono::seconds(seconds);
  std::optional<int> code;
  while (!(code = child.ended())) {
    if (Clock::now() > limit)
      output.problem = arguments.front() + " did not answer within " + std::to_string(seconds) + " seconds";
    else if (stopped && stopped())
      output.problem = "cancelled";
    if (!output.problem.empty()) return output;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  output.code = *code;
  output.out = textOfFile(out);
  output.err = textOfFile(err);
  return output;
}

} // namespace host::farm
