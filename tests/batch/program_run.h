// Runs the program as a child process and records its results.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace batchtest {

using Arguments = std::vector<std::string>;

struct Limits {
  std::size_t fileSize = 0;  // maximum size of a file in bytes; 0: no limit
  std::size_t memory = 0;    // bytes of address space; 0: no limit
  bool unprivileged = false; // root becomes another user
};

struct Outcome {
  int code = -1;  // exit code; -1: ended by a signal
  int signal = 0; // the signal
  std::string out, err;
};

/// A folder that is deleted with the object.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

/// A running program. With `terminal` its standard error and its input are a pseudo terminal.
class Child {
 public:
  Child(const Arguments& arguments, const std::string& home, Limits limits = {}, bool terminal = false);
  ~Child(); // kills a running program
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  void send(int signal) const;
  /// Types on its terminal.
  void type(const std::string& text) const;
  /// Standard error so far.
  std::string errors();
  /// Waits until standard error has this text; false when the program ended or the time was over first.
  bool waitForError(const std::string& text, std::chrono::seconds limit);
  /// Waits for the end; kills a program that takes longer, which shows in the outcome's signal.
  Outcome wait(std::chrono::seconds limit = std::chrono::seconds(300));

 private:
  bool ended();
  void drain();

  TempFolder files_;
  pid_t process_ = -1;
  int terminal_ = -1;
  int status_ = 0;
  bool ended_ = false;
  std::string terminalText_;
};

Outcome run(const Arguments& arguments, const std::string& home, Limits limits = {});

std::string readFile(const std::filesystem::path& file);
void writeFile(const std::filesystem::path& file, const std::string& bytes);
/// The number of lines of the text with `part`.
int linesWith(const std::string& text, const std::string& part);
int lineCount(const std::string& text);

} // namespace batchtest
