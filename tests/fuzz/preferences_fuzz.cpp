// Preferences from any file: the program starts and adds a setting to those that it could read, and the next
// program reads all of them without a warning.
#include <cstdint>
#include <filesystem>

#include "console.h"
#include "fuzz_support.h"
#include "preferences.h"

namespace {

using fuzz::require;

/// The folder of the preferences; console lines are not printed.
const std::filesystem::path& folder() {
  host::setConsoleEcho(nullptr);
  return fuzz::temporaryFolder();
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
