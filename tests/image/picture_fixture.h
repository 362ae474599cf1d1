// Shared by the tests of host/image: pictures with known pixels, temporary folders, other programs.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "c4d_bitmap.h"

namespace picture_fixture {

namespace fs = std::filesystem;

/// A folder that is removed after the test.
class Folder {
 public:
  Folder() {
    std::string pattern = (fs::temp_directory_path() / "lumenara-image-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~Folder() {
    std::error_code trouble;
    fs::permissions(path_, fs::perms::owner_all, trouble);
    fs::remove_all(path_, trouble);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const fs::path& path() const { return path_; }
  Filename file(const std::string& name) const { return Filename((path_ / name).c_str()); }
  std::size_t entries() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(path_), fs::directory_iterator()));
  }

 private:
  fs::path path_;
};

struct Rgba {
  int r = 0, g = 0, b = 0, a = 255;
  friend bool operator==(const Rgba& x, const Rgba& y) {
    return std::tie(x.r, x.g, x.b, x.a) == std::tie(y.r, y.g, y.b, y.a);
  }
  friend std::ostream& operator<<(std::ostream& out, const Rgba& c) {
    return out << "(" << c.r << ", " << c.g << ", " << c.b << ", " << c.a << ")";
  }
};

inline Rgba at(const BaseBitmap& bitmap, LONG x, LONG y) {
  UWORD r = 0, g = 0, b = 0;
  bitmap.GetPixel(x, y, &r, &g, &b);
  return {r, g, b, bitmap.GetAlpha(x, y)};
}

inline Rgba at(const GeClipMap& map, LONG x, LONG y) {
  LONG r = 0, g = 0, b = 0, a = 0;
  map.GetPixelRGBA(x, y, &r, &g, &b, &a);
  return {r, g, b, a};
}

inline void put(BaseBitmap& bitmap, LONG x, LONG y, const Rgba& c) {
  bitmap.SetPixel(x, y, c.r, c.g, c.b);
  bitmap.SetAlpha(x, y, c.a);
}

/// Every code of every channel, and all alphas, in some pixel; no two neighbours alike.
inline Rgba patternAt(LONG x, LONG y) {
  return {(x * 7 + y * 3) & 255, (x * 5 + y * 11 + 40) & 255, (255 - x * 3 - y) & 255,
          (x * 13 + y * 29) & 255};
}

inline void fillPattern(BaseBitmap& bitmap) {
  for (LONG y = 0; y < bitmap.GetBh(); ++y)
    for (LONG x = 0; x < bitmap.GetBw(); ++x)
      put(bitmap, x, y, patternAt(x, y));
}

inline std::vector<std::byte> bytesOf(const Filename& name) {
  std::ifstream stream(name.GetString().GetUTF8(), std::ios::binary);
  const std::vector<char> text((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
  const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
  return {bytes, bytes + text.size()};
}

inline void writeBytes(const Filename& name, const std::vector<std::byte>& bytes) {
  std::ofstream stream(name.GetString().GetUTF8(), std::ios::binary);
  stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline std::vector<std::byte> bytesFrom(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
  return {bytes, bytes + text.size()};
}

inline bool hasProgram(const std::string& name) {
  return std::system(("command -v " + name + " > /dev/null 2>&1").c_str()) == 0;
}

/// A program's output, errors included.
inline std::string outputOf(const std::string& command) {
  std::string text;
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen((command + " 2>&1").c_str(), "r"), pclose);
  std::array<char, 4096> part;
  for (std::size_t count; pipe && (count = fread(part.data(), 1, part.size(), pipe.get())) > 0;)
    text.append(part.data(), count);
  return text;
}

} // namespace picture_fixture
