#include "link_place.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

#include "platform.h"

namespace host {

namespace fs = std::filesystem;

namespace {

// The process number in "link-PID.sock" or "link-PID.json"; nothing for other names.
std::optional<long> processOf(const std::string& name) {
  constexpr std::string_view head = "link-";
  if (name.compare(0, head.size(), head) != 0) return {};
  long number = 0;
  const char* end = name.data() + name.size();
  const auto [rest, code] = std::from_chars(name.data() + head.size(), end, number);
  if (code != std::errc() || number <= 0) return {};
  const std::string_view suffix(rest, static_cast<std::size_t>(end - rest));
  return suffix == ".sock" || suffix == ".json" ? std::optional(number) : std::nullopt;
}

} // namespace

std::string linkFolder(std::string& error) {
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

void removeStaleLinks(const std::string& folder) {
  std::error_code code;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, code)) {
    const auto process = processOf(entry.path().filename().string());
    if (process && platform::hasEnded(*process)) fs::remove(entry.path(), code);
  }
}

std::string findLink(const std::string& folder) {
  std::string found;
  fs::file_time_type oldest;
  std::error_code code;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, code)) {
    const auto process = processOf(entry.path().filename().string());
    if (!process || entry.path().extension() != ".json" || platform::hasEnded(*process)) continue;
    const fs::file_time_type time = entry.last_write_time(code);
    if (code || (!found.empty() && time >= oldest)) continue;
    oldest = time;
    found = folder + "/link-" + std::to_string(*process) + ".sock";
  }
  return found;
}

} // namespace host
