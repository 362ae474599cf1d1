#include "link_place.h"

#include <charconv>
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
  return platform::ownSocketFolder(error);
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
