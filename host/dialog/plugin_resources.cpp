#include "plugin_resources.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <system_error>
#include <vector>

#include "console.h"
#include "file_path.h"
#include "read_file.h"
#include "thread_context.h"

namespace host {

namespace {

namespace fs = std::filesystem;

struct Registered {
  const GeResource* resource = nullptr;
  const PluginUnit* plugin = nullptr;
  std::shared_ptr<const DialogResources> contents;
};

// In the order of initialisation.
std::vector<Registered>& registered() {
  static std::vector<Registered>& list = *new std::vector<Registered>;
  return list;
}

void forget(const GeResource* resource) {
  std::erase_if(registered(), [resource](const Registered& one) { return one.resource == resource; });
}

std::string shownPath(const fs::path& file) {
  return toFilename(file).GetString().GetUTF8();
}

struct UnreadableFile : std::runtime_error {
  explicit UnreadableFile(const fs::path& file)
      : std::runtime_error("Cannot read \"" + shownPath(file) +
                           "\". Check your rights to it, or install the plug-in again.") {}
};

std::string readText(const fs::path& file) {
  const FileContent content = readFile(toFilename(file), largestResourceFile);
  if (content.fault == ReadFault::tooLarge)
    throw std::runtime_error("\"" + shownPath(file) + "\" has more than 4 MB: this is no resource file.");
  if (content.fault != ReadFault::none) throw UnreadableFile(file);
  return std::string(content.text());
}

// The files of a folder with this suffix, by name; empty when the folder does not exist.
std::vector<fs::path> filesIn(const fs::path& folder, const char* suffix) {
  std::vector<fs::path> files;
  std::error_code error;
  for (fs::directory_iterator at(folder, error); !error && at != fs::directory_iterator();
       at.increment(error))
    if (at->path().extension() == suffix) files.push_back(at->path());
  std::sort(files.begin(), files.end());
  return files;
}

// Every file must open, pictures too: otherwise the plug-in would fail later with a less clear message.
void checkFiles(const fs::path& folder) {
  std::error_code error;
  fs::recursive_directory_iterator at(folder, fs::directory_options::follow_directory_symlink, error);
  for (; !error && at != fs::recursive_directory_iterator(); at.increment(error)) {
    if (!at->is_regular_file(error)) continue;
    std::ifstream stream(at->path(), std::ios::binary);
    stream.peek();
    if (!stream.good() && !(stream.eof() && !stream.bad())) throw UnreadableFile(at->path());
  }
  if (error) throw UnreadableFile(folder);
}

} // namespace

std::shared_ptr<const DialogResources> readDialogResources(const Filename& folder, std::string& error) {
  const fs::path root = toPath(folder);
  auto resources = std::make_shared<DialogResources>();
  try {
    const fs::path symbols = root / "c4d_symbols.h";
    if (fs::exists(symbols)) readSymbols(readText(symbols), shownPath(symbols), *resources);
    for (const fs::path& file : filesIn(root / "strings_us" / "dialogs", ".str"))
      readTexts(readText(file), shownPath(file), *resources);
    for (const fs::path& file : filesIn(root / "dialogs", ".res"))
      readDescriptions(readText(file), shownPath(file), *resources);
  } catch (const std::exception& failure) {
    error = failure.what();
    return nullptr;
  }
  return resources;
}

std::shared_ptr<const DialogResources> dialogResources(const GeResource* resource, const PluginUnit* plugin) {
  const auto& list = registered();
  for (auto at = list.rbegin(); at != list.rend(); ++at)
    if (resource ? at->resource == resource : at->plugin == plugin) return at->contents;
  return nullptr;
}

} // namespace host

GeResource::GeResource() = default;

GeResource::~GeResource() {
  host::forget(this);
}

Bool GeResource::Init(const Filename& folder) {
  folder_ = folder;
  host::forget(this);
  std::error_code missing;
  if (!std::filesystem::is_directory(host::toPath(folder), missing)) return FALSE;
  std::string error;
  std::shared_ptr<const host::DialogResources> contents;
  try {
    host::checkFiles(host::toPath(folder));
    contents = host::readDialogResources(folder, error);
  } catch (const std::exception& failure) {
    error = failure.what();
  }
  if (!contents) {
    host::printLine(String(std::string_view(error)));
    return FALSE;
  }
  host::registered().push_back({this, host::threadContext().plugin, std::move(contents)});
  return TRUE;
}
