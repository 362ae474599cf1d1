#include "fuzz_support.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>

namespace fuzz {

namespace fs = std::filesystem;

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

const fs::path& temporaryFolder() {
  static const fs::path made = [] {
    const fs::path place = fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
    std::string name = (place / "lumenara-fuzz-XXXXXX").string();
    require(mkdtemp(name.data()) != nullptr, "there is room for files");
    static const std::string path = name;
    std::atexit([] {
      std::error_code ignored;
      fs::remove_all(path, ignored);
    });
    return fs::path(name);
  }();
  return made;
}

} // namespace fuzz
