// Preferences from any file: the program starts, stores a setting beside what could be read, and the next
// program reads both without a complaint.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "console.h"
#include "preferences.h"

namespace {

namespace fs = std::filesystem;

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

// In memory, where the system has such a place: every input writes files.
const fs::path& folder() {
  static const fs::path made = [] {
    const fs::path place = fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
    std::string name = (place / "lumenara-fuzz-XXXXXX").string();
    require(mkdtemp(name.data()) != nullptr, "there is room for files");
    static const std::string path = name;
    std::atexit([] {
      std::error_code ignored;
      fs::remove_all(path, ignored);
    });
    host::setConsoleEcho(nullptr);
    return fs::path(name);
  }();
  return made;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string file = (folder() / "preferences.json").string();
  std::FILE* stream = std::fopen(file.c_str(), "wb");
  require(stream && std::fwrite(data, 1, size, stream) == size && std::fclose(stream) == 0,
          "the file is written");

  static LONG lines = 0;
  static const std::uint64_t listener = host::addConsoleListener([](const String&) { ++lines; });
  (void)listener;
  lines = 0;
  constexpr LONG id = 1030001;
  LONG count = 0;
  {
    host::Preferences preferences{Filename(String(file))};
    require(lines <= 1, "damage is one line");
    const BaseContainer* there = preferences.get(id);
    count = there ? there->GetCount() : 0;
    BaseContainer change;
    change.SetLong(77, 7);
    count += there && there->FindIndex(77) != NOTOK ? 0 : 1;
    require(preferences.set(id, change, true), "a setting can be stored");
  }
  lines = 0;
  host::Preferences again{Filename(String(file))};
  require(lines == 0, "the file is whole then");
  require(again.get(id) && again.get(id)->GetLong(77) == 7, "the setting is there");
  require(again.get(id)->GetCount() == count, "beside what was read");
  return 0;
}
