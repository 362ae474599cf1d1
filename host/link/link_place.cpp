#include "link_place.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <optional>

#include "gltf_json.h"
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

constexpr std::streamsize longestDescription = 65536;

std::string firstBytes(const fs::path& file) {
  std::string bytes(static_cast<std::size_t>(longestDescription), '\0');
  std::ifstream stream(file, std::ios::binary);
  stream.read(bytes.data(), longestDescription);
  bytes.resize(static_cast<std::size_t>(stream.gcount()));
  return bytes;
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

std::vector<RunningLink> runningLinks(const std::string& folder) {
  std::vector<RunningLink> found;
  std::error_code code;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, code)) {
    const auto process = processOf(entry.path().filename().string());
    if (!process || entry.path().extension() != ".json" || platform::hasEnded(*process)) continue;
    RunningLink link;
    link.process = *process;
    link.socket = folder + "/link-" + std::to_string(*process) + ".sock";
    try {
      const Json description = parseJson(firstBytes(entry.path()));
      link.scene = textIn(description, "scene");
      link.started = textIn(description, "started");
    } catch (const std::exception&) {
      continue; // of another program
    }
    found.push_back(std::move(link));
  }
  std::sort(found.begin(), found.end(), [](const RunningLink& a, const RunningLink& b) {
    return a.started != b.started ? a.started > b.started : a.process > b.process;
  });
  return found;
}

} // namespace host
