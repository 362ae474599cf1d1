// The services of the operating system on Linux.
#include "platform.h"

#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <poll.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace host::platform {

namespace {
const char* path(const Filename& file) {
  return file.GetString().GetUTF8().c_str();
}

// Whether the file is shorter than its headers say. The dynamic loader would map the missing part, and the
// program would die when it reads there. The loader refuses other invalid files itself.
bool isCutShort(const Filename& file) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(path(file), "rb"), &std::fclose);
  if (!stream || std::fseek(stream.get(), 0, SEEK_END) != 0) return false;
  const long size = std::ftell(stream.get());
  std::rewind(stream.get());
  ElfW(Ehdr) header;
  if (size < 0 || std::fread(&header, sizeof header, 1, stream.get()) != 1) return false;
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return false;
  const std::uint64_t end = static_cast<std::uint64_t>(size), sections = header.e_shoff;
  // Linkers put the section table last.
  return sections > end || end - sections < std::uint64_t{header.e_shnum} * header.e_shentsize;
}
} // namespace

Filename programPath() {
  char buffer[PATH_MAX + 1];
  const ssize_t length = readlink("/proc/self/exe", buffer, PATH_MAX);
  if (length <= 0) return {};
  return String(std::string_view(buffer, static_cast<std::size_t>(length)));
}

Filename libraryPath() {
  Dl_info found = {};
  if (dladdr(reinterpret_cast<void*>(&libraryPath), &found) == 0 || !found.dli_fname) return programPath();
  std::error_code error;
  const std::filesystem::path whole = std::filesystem::canonical(found.dli_fname, error);
  return error ? Filename() : Filename(whole.c_str());
}

Filename userDataFolder() {
  // The XDG Base Directory rules: a relative path counts as unset.
  if (const char* data = std::getenv("XDG_DATA_HOME"); data && data[0] == '/') return Filename(data);
  if (const char* home = std::getenv("HOME"); home && home[0] == '/') return Filename(home) + ".local/share";
  return {};
}

Owner ownerOf(const Filename& file) noexcept {
  struct stat info = {};
  if (stat(path(file), &info) != 0) return Owner::missing;
  if (info.st_uid != geteuid() && info.st_uid != 0) return Owner::anotherUser;
  return (info.st_mode & (S_IWGRP | S_IWOTH)) != 0 ? Owner::anyone : Owner::onlyUs;
}

bool makeOwnFolder(const Filename& folder) {
  struct stat info = {};
  if (stat(path(folder), &info) == 0) return S_ISDIR(info.st_mode);
  const Filename above = folder.GetDirectory();
  if (above.Content() && !(above == folder) && !makeOwnFolder(above)) return false;
  return mkdir(path(folder), S_IRWXU) == 0 || errno == EEXIST;
}

namespace {

constexpr std::string_view privatePrefix = "lumenara-home-";

std::string temporaryPlace() {
  const char* place = std::getenv("TMPDIR");
  return place && place[0] == '/' ? place : "/tmp";
}

// Locks a folder; gives the handle that holds the lock. -1 when another process holds it, when the path is a
// link, or when the folder does not belong to this user alone.
int lockPrivateFolder(const char* name) {
  const int handle = open(name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (handle < 0) return -1;
  struct stat info = {};
  const bool own = fstat(handle, &info) == 0 && info.st_uid == geteuid() && (info.st_mode & 0777) == S_IRWXU;
  if (own && flock(handle, LOCK_EX | LOCK_NB) == 0) return handle;
  close(handle);
  return -1;
}

} // namespace

// Another program may remove the folder as abandoned before it is locked.
bool PrivateFolder::make() {
  std::string name = temporaryPlace() + "/" + std::string(privatePrefix) + "XXXXXX";
  if (!mkdtemp(name.data())) return false; // mode 0700
  handle_ = lockPrivateFolder(name.c_str());
  struct stat info = {};
  if (handle_ >= 0 && stat(name.c_str(), &info) == 0) {
    folder_ = Filename(String(name));
    return true;
  }
  if (handle_ >= 0) close(std::exchange(handle_, -1));
  rmdir(name.c_str());
  return false;
}

PrivateFolder::PrivateFolder() {
  for (int tries = 0; tries < 5; ++tries)
    if (make()) return;
}

PrivateFolder::~PrivateFolder() {
  std::error_code ignored;
  if (folder_.Content()) std::filesystem::remove_all(path(folder_), ignored);
  if (handle_ >= 0) close(handle_);
}

void removeAbandonedFolders() {
  std::error_code ignored;
  std::vector<std::string> names;
  for (std::filesystem::directory_iterator entry(temporaryPlace(), ignored), end; entry != end;
       entry.increment(ignored))
    if (entry->path().filename().native().starts_with(privatePrefix)) names.push_back(entry->path().native());
  for (const std::string& name : names) {
    const int handle = lockPrivateFolder(name.c_str());
    if (handle < 0) continue;
    std::filesystem::remove_all(name, ignored); // under the lock; links in it are removed, not followed
    close(handle);
  }
}

namespace {

// The value of XDG_VIDEOS_DIR in the user's folder table, a line like XDG_VIDEOS_DIR="$HOME/Films"; empty
// without one.
std::string configuredVideos(const std::string& home, const std::string& table) {
  static constexpr std::string_view key = "XDG_VIDEOS_DIR=\"";
  std::ifstream file(table);
  for (std::string line; std::getline(file, line);) {
    line.erase(0, line.find_first_not_of(" \t"));
    const std::size_t end = line.rfind('"');
    if (!line.starts_with(key) || end < key.size()) continue;
    std::string value = line.substr(key.size(), end - key.size());
    if (value.starts_with("$HOME/")) value.replace(0, 5, home);
    if (value.starts_with('/') && value != home + "/") return value; // the home itself: no such folder
  }
  return {};
}

} // namespace

Filename userVideosFolder() {
  const char* home = std::getenv("HOME");
  if (!home || home[0] != '/') return {};
  const char* config = std::getenv("XDG_CONFIG_HOME");
  const std::string folder = config && config[0] == '/' ? config : std::string(home) + "/.config";
  const std::string videos = configuredVideos(home, folder + "/user-dirs.dirs");
  return videos.empty() ? Filename(home) + "Videos" : Filename(String(videos));
}

const char* moduleSuffix() noexcept {
  return "so";
}

void* loadModule(const Filename& file, std::string& error) {
  if (isCutShort(file)) {
    error = "the file is damaged: its end is missing";
    return nullptr;
  }
  void* module = dlopen(path(file), RTLD_NOW | RTLD_LOCAL);
  if (!module) {
    const char* reason = dlerror();
    error = reason ? reason : "unknown reason";
  }
  return module;
}

void* findSymbol(void* module, const char* name) noexcept {
  return dlsym(module, name);
}

void unloadModule(void* module) noexcept {
  dlclose(module);
}

void setThreadPriority(int level) noexcept {
  // On Linux the nice value belongs to the thread.
  const auto thread = static_cast<id_t>(syscall(SYS_gettid));
  const int nice = level == 0 ? 0 : level == -1 ? 5 : level < -1 ? 10 : -5;
  const int own = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
  setpriority(PRIO_PROCESS, thread, own + nice);
}

void setThreadName(const char* name) noexcept {
  char shortened[16] = {};
  for (int i = 0; i < 15 && name[i]; ++i)
    shortened[i] = name[i];
  pthread_setname_np(pthread_self(), shortened);
}

bool flushToDisk(std::FILE* file) noexcept {
  // File systems that cannot flush report these errors.
  return fsync(fileno(file)) == 0 || errno == EINVAL || errno == ENOTSUP;
}

void flushFolder(const Filename& folder) noexcept {
  const int handle = open(folder.Content() ? path(folder) : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle < 0) return;
  fsync(handle);
  close(handle);
}

bool fileTimes(const std::string& name, FileTimes& times) noexcept {
  struct statx info = {};
  if (statx(AT_FDCWD, name.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, &info) != 0) return false;
  times.modified = info.stx_mtime.tv_sec;
  times.accessed = info.stx_atime.tv_sec;
  times.created = (info.stx_mask & STATX_BTIME) ? info.stx_btime.tv_sec : times.modified;
  times.size = static_cast<std::int64_t>(info.stx_size);
  return true;
}

bool fileIdentity(const Filename& file, std::uint64_t& device, std::uint64_t& number) noexcept {
  struct stat info = {};
  if (stat(path(file), &info) != 0) return false;
  device = static_cast<std::uint64_t>(info.st_dev);
  number = static_cast<std::uint64_t>(info.st_ino);
  return true;
}

FileLock::FileLock(const Filename& file, int milliseconds) noexcept {
  const int handle = open(path(file), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (handle < 0) return;
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
  while (flock(handle, LOCK_EX | LOCK_NB) != 0) {
    if ((errno != EWOULDBLOCK && errno != EINTR) || std::chrono::steady_clock::now() >= end) {
      close(handle);
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  handle_ = handle;
}

FileLock::~FileLock() {
  if (handle_ >= 0) close(handle_); // gives the lock back
}

void prepareProcess() noexcept {
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
}

int readInputByte(int milliseconds) noexcept {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  if (poll(&input, 1, milliseconds) <= 0) return -1;
  unsigned char byte = 0;
  return read(STDIN_FILENO, &byte, 1) == 1 ? byte : -2;
}

bool isTerminal(std::FILE* stream) noexcept {
  return isatty(fileno(stream)) == 1;
}

std::uint64_t peakMemory() noexcept {
  rusage usage{};
  if (getrusage(RUSAGE_SELF, &usage) != 0 || usage.ru_maxrss < 0) return 0;
  return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024; // given in kibibytes
}

std::uint64_t physicalMemory() noexcept {
  const long pages = sysconf(_SC_PHYS_PAGES), size = sysconf(_SC_PAGESIZE);
  return pages > 0 && size > 0 ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(size) : 0;
}

long processNumber() noexcept {
  return static_cast<long>(getpid());
}

bool hasEnded(long processNumber) noexcept {
  return kill(static_cast<pid_t>(processNumber), 0) != 0 && errno == ESRCH; // 0: asks, sends nothing
}

std::string machineName() {
  char name[256] = {};
  return gethostname(name, sizeof name - 1) == 0 ? name : "";
}

ChildProgram::ChildProgram(const std::vector<std::string>& arguments, const Filename& output,
                           const Filename& errors, std::uint64_t memory) {
  const auto openEnd = [&](const Filename& file) {
    const int handle = open(path(file), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (handle < 0) error_ = file.GetString().GetUTF8() + ": " + std::strerror(errno);
    return handle;
  };
  std::vector<std::string> texts = arguments;
  std::vector<char*> list;
  for (std::string& text : texts)
    list.push_back(text.data());
  list.push_back(nullptr);
  const int out = openEnd(output), err = openEnd(errors);
  int failed[2] = {-1, -1};
  if (error_.empty() && pipe2(failed, O_CLOEXEC) != 0) error_ = std::strerror(errno);
  if (error_.empty()) {
    const pid_t child = fork();
    if (child == 0) run(list, out, err, failed[1], memory);
    if (child < 0) error_ = std::strerror(errno);
    process_ = std::max<long>(0, child);
  }
  for (const int handle : {out, err, failed[1]})
    if (handle >= 0) close(handle);
  int reason = 0;
  if (process_ > 0 && read(failed[0], &reason, sizeof reason) == static_cast<ssize_t>(sizeof reason))
    error_ = std::strerror(reason);
  if (failed[0] >= 0) close(failed[0]);
}

// In the new process: system calls only, because other threads' locks may be held.
void ChildProgram::run(std::vector<char*>& arguments, int output, int errors, int failed,
                       std::uint64_t memory) noexcept {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int input = open("/dev/null", O_RDONLY);
  if (input >= 0) dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(errors, STDERR_FILENO);
  const rlimit most{memory, memory};
  if (memory > 0) setrlimit(RLIMIT_DATA, &most);
  execvp(arguments[0], arguments.data());
  const int reason = errno;
  [[maybe_unused]] const ssize_t told = write(failed, &reason, sizeof reason);
  _exit(127);
}

ChildProgram::~ChildProgram() {
  if (process_ <= 0 || ended()) return;
  kill(static_cast<pid_t>(process_), SIGKILL);
  waitpid(static_cast<pid_t>(process_), nullptr, 0);
}

std::optional<int> ChildProgram::ended() noexcept {
  int status = 0;
  if (process_ <= 0) return 127;
  if (!code_ && waitpid(static_cast<pid_t>(process_), &status, WNOHANG) == static_cast<pid_t>(process_))
    code_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return code_;
}

std::uint64_t ChildProgram::peakMemory() const {
  std::ifstream status("/proc/" + std::to_string(process_) + "/status");
  for (std::string word; status >> word;) {
    std::uint64_t kibibytes = 0;
    if (word == "VmHWM:" && status >> kibibytes) return kibibytes * 1024;
  }
  return 0;
}

void ChildProgram::ask() noexcept {
  if (process_ <= 0 || ended()) return;
  kill(static_cast<pid_t>(process_), SIGTERM);
  halt(false);
}

void ChildProgram::halt(bool halted) noexcept {
  if (process_ > 0 && !ended()) kill(static_cast<pid_t>(process_), halted ? SIGSTOP : SIGCONT);
}

std::string ownSocketFolder(std::string& error) {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  const std::string folder = runtime && *runtime == '/' ? std::string(runtime) + "/lumenara"
                                                        : "/tmp/lumenara-" + std::to_string(getuid());
  if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
    error = "The folder " + folder + " for the live link cannot be made: " + std::strerror(errno) + ".";
    return {};
  }
  struct stat status {};
  if (lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != getuid() ||
      (status.st_mode & 0777) != S_IRWXU) {
    error = "The folder " + folder + " for the live link is not this user's alone; remove it.";
    return {};
  }
  return folder;
}

} // namespace host::platform
