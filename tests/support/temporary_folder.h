// A folder that exists for one test.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "c4d_filename.h"

class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder(); // removes it with its contents
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const Filename& path() const noexcept { return path_; }
  Filename operator/(const char* name) const { return path_ + name; }

  /// Writes a file and makes the folders above it. Returns its name.
  Filename write(const char* name, std::string_view text = {}) const;
  Filename makeFolder(const char* name) const;
  /// The names in the folder, sorted, including hidden ones.
  std::vector<std::string> names() const;

 private:
  Filename path_;
};

/// A file's bytes; empty if it cannot be read.
std::string readText(const Filename& file);
