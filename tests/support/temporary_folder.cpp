#include "temporary_folder.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "file_path.h"
#include "platform.h"

namespace fs = std::filesystem;
using host::toFilename;
using host::toPath;

TemporaryFolder::TemporaryFolder() {
  static std::atomic<int> number{0};
  const fs::path path =
      fs::temp_directory_path() /
      ("lumenara-test-" + std::to_string(host::platform::processNumber()) + "-" + std::to_string(++number));
  fs::remove_all(path);
  if (!fs::create_directories(path)) throw std::runtime_error("cannot make " + path.string());
  path_ = toFilename(path);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(toPath(path_), ignored);
}

Filename TemporaryFolder::write(const char* name, std::string_view text) const {
  const fs::path file = toPath(path_ + name);
  fs::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()));
  return toFilename(file);
}

Filename TemporaryFolder::makeFolder(const char* name) const {
  const fs::path folder = toPath(path_ + name);
  fs::create_directories(folder);
  return toFilename(folder);
}

std::vector<std::string> TemporaryFolder::names() const {
  std::vector<std::string> found;
  for (const fs::directory_entry& entry : fs::directory_iterator(toPath(path_)))
    found.push_back(entry.path().filename().string());
  std::sort(found.begin(), found.end());
  return found;
}

std::string readText(const Filename& file) {
  std::ifstream stream(toPath(file), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}
