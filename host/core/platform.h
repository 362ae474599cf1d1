// What differs from system to system. One file implements it for each.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "c4d_filename.h"

namespace host::platform {

/// The file of the running program; empty when unknown.
Filename programPath();
/// The file of the host's library: of the program where the host is linked into it. Absolute; empty when
/// unknown.
Filename libraryPath();
/// The folder for this user's data of programs: "<it>/Lumenara Studio" is ours. Empty when there is none.
Filename userDataFolder();
/// The folder where this user keeps videos; it may not exist. Empty when unknown.
Filename userVideosFolder();

/// The users who can change a file or folder.
enum class Owner { missing, onlyUs, anyone, anotherUser };
/// `anyone`: its group or others may write; `anotherUser`: it belongs neither to this program's user nor to
/// the system's. A link counts as what it leads to. `missing` also when that cannot be told.
Owner ownerOf(const Filename& file) noexcept;
/// Makes a folder with those above it, for this user alone. False when it is not there afterwards.
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

/// The end of a module's file name, without the point.
const char* moduleSuffix() noexcept;
/// Loads a module, its symbols for itself only, every one resolved. Null with a reason; a file that was cut
/// short is refused as well.
void* loadModule(const Filename& file, std::string& error);
/// Null when the module has no such symbol.
void* findSymbol(void* module, const char* name) noexcept;
void unloadModule(void* module) noexcept;

/// The calling thread's priority: 0 normal, below 0 lower (-1 for work behind the user's back, -2 lowest),
/// above 0 higher when the system lets us.
void setThreadPriority(int level) noexcept;
/// The calling thread's name for debuggers.
void setThreadName(const char* name) noexcept;

/// Brings what was written to the disk. False when that failed (errno says why).
bool flushToDisk(std::FILE* file) noexcept;
/// Brings a rename in this folder to the disk, where the system has a way.
void flushFolder(const Filename& folder) noexcept;

/// Creation, change and last access of a file, seconds since 1970. Without a record of its creation that is
/// the change.
struct FileTimes {
  std::int64_t created = 0, modified = 0, accessed = 0;
  std::int64_t size = 0; // bytes
};
bool fileTimes(const std::string& path, FileTimes& times) noexcept;

/// What tells a file from another one under the same name later. False leaves both as they are: there is no
/// such file, or the system has no such numbers.
bool fileIdentity(const Filename& file, std::uint64_t& device, std::uint64_t& number) noexcept;

/// A lock between programs, held while the object lives. Where locks do not work it is not held.
class FileLock {
 public:
  /// Waits at most this long.
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
/// The next byte of standard input, 0 to 255; -1 when none came within this time, -2 at the input's end.
int readInputByte(int milliseconds) noexcept;
/// The most memory that this process has held so far, in bytes; 0 when unknown.
std::uint64_t peakMemory() noexcept;
/// The machine's memory in bytes; 0 when unknown.
std::uint64_t physicalMemory() noexcept;

/// A number that tells this process from others that run now.
long processNumber() noexcept;
/// Whether no process has this number, which is above 0, any more.
bool hasEnded(long processNumber) noexcept;

} // namespace host::platform
