// Services of the operating system. One file implements them for each system.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "c4d_filename.h"

namespace host::platform {

/// The file of the running program; empty when unknown.
Filename programPath();
/// The file of the host's library, or of the program when the host is linked into it. Absolute; empty when
/// unknown.
Filename libraryPath();
/// The folder for this user's data of programs, in which "Lumenara Studio" is ours. Empty without one.
Filename userDataFolder();
/// The user's folder for videos; it may not exist. Empty when unknown.
Filename userVideosFolder();

/// The users who can change a file or folder.
enum class Owner { missing, onlyUs, anyone, anotherUser };
/// `anyone`: its group or others may write; `anotherUser`: it belongs neither to this program's user nor to
/// the system's. A link counts as its target. `missing` also when the owner is unknown.
Owner ownerOf(const Filename& file) noexcept;
/// Makes a folder and those above it, for this user alone. True also when it was there.
bool makeOwnFolder(const Filename& folder);
/// A fresh folder for this user alone among the temporary files, removed with the object. A lock tells later
/// programs that it is in use: the system drops the lock when the process ends, however that happens.
class PrivateFolder {
 public:
  PrivateFolder();
  ~PrivateFolder();
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;
  /// Empty when the folder could not be made.
  const Filename& folder() const noexcept { return folder_; }

 private:
  bool make();

  Filename folder_;
  int handle_ = -1;
};
/// Removes the private folders of programs that have ended: this user's own folders that nobody locks, never
/// the target of a link.
void removeAbandonedFolders();

/// The suffix of a module's file name, without the point.
const char* moduleSuffix() noexcept;
/// Loads a module with all its symbols resolved and visible to itself only. Null with a reason on failure;
/// truncated files are refused.
void* loadModule(const Filename& file, std::string& error);
/// Null when the module does not have the symbol.
void* findSymbol(void* module, const char* name) noexcept;
void unloadModule(void* module) noexcept;

/// Sets the calling thread's priority: 0 normal, -1 for background work, -2 lowest, above 0 higher where the
/// system permits it.
void setThreadPriority(int level) noexcept;
/// Sets the calling thread's name, for debuggers.
void setThreadName(const char* name) noexcept;

/// Flushes the stream's file to the disk. False on failure (errno says why).
bool flushToDisk(std::FILE* file) noexcept;
/// Flushes a rename in this folder to the disk, where the system can.
void flushFolder(const Filename& folder) noexcept;

/// Creation, change and last access of a file, seconds since 1970. Where the creation is not recorded, it is
/// the time of the change.
struct FileTimes {
  std::int64_t created = 0, modified = 0, accessed = 0;
  std::int64_t size = 0; // bytes
};
bool fileTimes(const std::string& path, FileTimes& times) noexcept;

/// Numbers that tell a file from a later one of the same name. False, with both unchanged, when the file is
/// missing or the system has no such numbers.
bool fileIdentity(const Filename& file, std::uint64_t& device, std::uint64_t& number) noexcept;

/// A lock between programs, held while the object lives. Not held where the file system has no locks.
class FileLock {
 public:
  /// Waits at most `milliseconds` for the lock.
  FileLock(const Filename& file, int milliseconds) noexcept;
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  bool held() const noexcept { return handle_ >= 0; }

 private:
  int handle_ = -1;
};

/// Settings of the process: a write beyond the allowed file size fails instead of ending the program.
void prepareProcess() noexcept;

/// Whether the stream is a terminal that a person looks at.
bool isTerminal(std::FILE* stream) noexcept;
/// The next byte of standard input, 0 to 255; -1 after `milliseconds` without one, -2 at the end of input.
int readInputByte(int milliseconds) noexcept;
/// The peak memory of this process in bytes; 0 when unknown.
std::uint64_t peakMemory() noexcept;
/// The machine's memory in bytes; 0 when unknown.
std::uint64_t physicalMemory() noexcept;

/// The number of this process, unique among those that run now.
long processNumber() noexcept;
/// Whether no process has this number (above 0) any more.
bool hasEnded(long processNumber) noexcept;

/// The name of this machine in its network; empty when unknown.
std::string machineName();

/// A program that this one has started. It is killed with the object, and where the system can, when this
/// process ends in any other way. Start it on the main thread.
class ChildProgram {
 public:
  /// The first argument is the program, looked up as a shell does. What it prints goes to the ends of the two
  /// files, which may be the same. `memory`: the most bytes that it may allocate; 0: no limit.
  ChildProgram(const std::vector<std::string>& arguments, const Filename& output, const Filename& errors,
               std::uint64_t memory = 0);
  ~ChildProgram();
  ChildProgram(const ChildProgram&) = delete;
  ChildProgram& operator=(const ChildProgram&) = delete;

  /// Why it did not start, as a clause; empty when it did.
  const std::string& error() const noexcept { return error_; }
  /// Nothing while it runs, else its exit code; 128 and the signal's number when a signal ended it.
  std::optional<int> ended() noexcept;
  /// Its peak memory so far in bytes; 0 when unknown.
  std::uint64_t peakMemory() const;
  /// Asks it to end, also while it is halted.
  void ask() noexcept;
  /// Takes the processors away from it, or gives them back.
  void halt(bool halted) noexcept;

 private:
  void run(std::vector<char*>& arguments, int output, int errors, int failed, std::uint64_t memory) noexcept;

  std::string error_;
  long process_ = 0;
  std::optional<int> code_;
};

/// The user's own folder for sockets: $XDG_RUNTIME_DIR/lumenara, else /tmp/lumenara-UID; made with the mode
/// 0700. Empty, with a sentence in `error`, when it cannot be made, is a link, belongs to another user or has
/// another mode.
std::string ownSocketFolder(std::string& error);

} // namespace host::platform
