// Conversion between file names and the standard library's paths. Only the host includes it.
#pragma once

#include <filesystem>
#include <string_view>

#include "c4d_filename.h"

namespace host {

inline std::filesystem::path toPath(const Filename& file) {
  return std::filesystem::path(file.GetString().GetUTF8());
}

inline Filename toFilename(const std::filesystem::path& path) {
  return String(std::string_view(path.native()));
}

} // namespace host
