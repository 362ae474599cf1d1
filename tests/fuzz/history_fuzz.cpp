// Names of pictures in the history's folder, from any bytes: a picture is made under a name, listed, and
// found by its listed name; nothing outside of the folder is touched.
#include <cstdint>
#include <filesystem>
#include <fstream>

#include "c4d_file.h"
#include "fuzz_support.h"

namespace {

namespace fs = std::filesystem;

using fuzz::require;
using fuzz::temporaryFolder;

// A name in the file system may contain any bytes but these two.
std::string fileNameOf(std::string_view text) {
  std::string name;
  for (const char c : text.substr(0, 120))
    if (c != '/' && c != '\0') name += c;
  return name.empty() || name == "." || name == ".." ? "a" : name;
}

void exercise(Filename name) {
  const std::string text = name.GetString().GetUTF8();
  const Filename whole = Filename(String(temporaryFolder().string())) + name;
  const bool isName = !text.empty() && text != "." && text != ".." && text.find('/') == std::string::npos;
  require(!isName || whole.GetFile() == name, "the last part is the name");
  name.SetSuffix("tif");
  require(!isName || name.CheckSuffix("tif"), "a suffix that was set is there");
  name.ClearSuffix();
  require(!isName || name.Content() || text[0] == '.', "a name without its suffix is a name");
  name.GetDirectory();
}

void list(std::size_t expected) {
  AutoAlloc<BrowseFiles> browser;
  browser->Init(Filename(String(temporaryFolder().string())));
  std::size_t count = 0;
  while (browser->GetNext()) {
    ++count;
    Filename name = browser->GetFilename();
    require(GeFExist(Filename(String(temporaryFolder().string())) + name), "what is listed is there");
    LocalFileTime time;
    browser->GetFileTime(GE_FILETIME_MODIFIED, &time);
    require(time.year >= 1970 && time.month >= 1 && time.month <= 12, "and has a time");
    exercise(name);
  }
  require(count == expected, "every file is listed once");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  exercise(Filename(String(text)));
  const fs::path file = temporaryFolder() / fileNameOf(text);
  std::ofstream(file) << "x";
  if (!fs::exists(file)) return 0; // the file system requires an encoding
  list(1);
  Filename numbered =
      Filename(String(temporaryFolder().string())) + Filename(String(fileNameOf(text)) + "[001].tif");
  require(numbered.CheckSuffix("tif"), "a history's name is a picture's");
  if (GeFMove(Filename(String(temporaryFolder().string())) + Filename(String(fileNameOf(text))), numbered)) {
    list(1);
    require(GeFKill(numbered), "what is there can be removed");
  }
  std::error_code ignored;
  fs::remove(file, ignored);
  list(0);
  return 0;
}
