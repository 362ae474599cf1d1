#include "scene_versions.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "file_path.h"

namespace host {

namespace {

namespace fs = std::filesystem;

struct Version {
  std::string stem; // "robot"
  std::uint64_t number = 1;
  std::size_t digits = 3;
};

constexpr std::size_t mostDigits = 9;

// "robot_v002", "robot-v2", "robot.v2"; a name without a number is the first version.
Version versionOf(const std::string& name) {
  std::size_t start = name.size();
  while (start > 0 && name[start - 1] >= '0' && name[start - 1] <= '9')
    --start;
  const std::size_t digits = name.size() - start;
  const bool marked = digits > 0 && digits <= mostDigits && start > 2 &&
                      (name[start - 1] == 'v' || name[start - 1] == 'V') &&
                      std::string_view("_-. ").find(name[start - 2]) != std::string_view::npos;
  if (!marked) return {name, 1, 3};
  return {name.substr(0, start - 2), std::stoull(name.substr(start)), digits};
}

} // namespace

bool isScene(const Filename& file) {
  return file.CheckSuffix("glb") || file.CheckSuffix("gltf");
}

Filename nextVersion(const Filename& file) {
  const fs::path path = toPath(file);
  const std::string own = path.stem().string();
  const Version version = versionOf(own);
  std::uint64_t last = version.number;
  std::error_code error;
  for (fs::directory_iterator entry(path.parent_path(), error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    const Version other = versionOf(entry->path().stem().string());
    if (other.stem == version.stem) last = std::max(last, other.number);
  }
  // The mark stays as the user writes it.
  const std::string mark = version.stem == own ? "_v" : own.substr(version.stem.size(), 2);
  std::string number = std::to_string(last + 1);
  if (number.size() < version.digits) number.insert(0, version.digits - number.size(), '0');
  return toFilename(path.parent_path() / (version.stem + mark + number + path.extension().string()));
}

} // namespace host
