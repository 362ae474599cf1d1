#include "recent_files.h"

#include <algorithm>

#include "console.h"
#include "preferences.h"

namespace host {

namespace {

constexpr const char* recentName = "recentFiles";
constexpr std::size_t mostRecent = 10;
constexpr LONG longestName = 4096; // characters

void storeRecent(const std::vector<Filename>& files) {
  BaseContainer list;
  for (std::size_t i = 0; i < std::min(files.size(), mostRecent); ++i)
    list.SetFilename(static_cast<LONG>(i + 1), files[i]);
  if (Preferences* kept = preferences()) kept->setNamed(recentName, list);
}

} // namespace

std::vector<Filename> recentFiles() {
  std::vector<Filename> files;
  const Preferences* kept = preferences();
  const BaseContainer* list = kept ? kept->getNamed(recentName) : nullptr;
  for (LONG i = 0; list && i < list->GetCount() && files.size() < mostRecent; ++i)
    if (const Filename file = list->GetFilename(list->GetIndexId(i));
        file.Content() && file.GetString().GetLength() <= longestName)
      files.push_back(file);
  return files;
}

void mendRecentFiles() {
  const BaseContainer* list = preferences() ? preferences()->getNamed(recentName) : nullptr;
  const std::vector<Filename> files = recentFiles();
  const LONG damaged = list ? list->GetCount() - static_cast<LONG>(files.size()) : 0;
  if (damaged == 0) return;
  storeRecent(files);
  printLine("The list of recent files was damaged: " + LongToString(damaged) + " of its entries " +
            (damaged == 1 ? "was" : "were") + " taken out.");
}

void forgetRecentFile(const Filename& file) {
  std::vector<Filename> files = recentFiles();
  std::erase_if(files, [&](const Filename& other) { return other.GetString() == file.GetString(); });
  storeRecent(files);
}

void rememberRecentFile(const Filename& file) {
  std::vector<Filename> files = recentFiles();
  std::erase_if(files, [&](const Filename& other) { return other.GetString() == file.GetString(); });
  files.insert(files.begin(), file);
  storeRecent(files);
}

void clearRecentFiles() {
  storeRecent({});
}

} // namespace host
