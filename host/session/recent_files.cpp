// The session's list of recent files.
#include <algorithm>

#include "c4d_file.h"
#include "console.h"
#include "file_session.h"
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

std::vector<Filename> FileSession::recentFiles() const {
  std::vector<Filename> files;
  const Preferences* kept = preferences();
  const BaseContainer* list = kept ? kept->getNamed(recentName) : nullptr;
  for (LONG i = 0; list && i < list->GetCount() && files.size() < mostRecent; ++i)
    if (const Filename file = list->GetFilename(list->GetIndexId(i));
        file.Content() && file.GetString().GetLength() <= longestName)
      files.push_back(file);
  return files;
}

// Others may have written the preferences: what names no file is taken out, and told, once.
void FileSession::mendRecent() const {
  const BaseContainer* list = preferences() ? preferences()->getNamed(recentName) : nullptr;
  const std::vector<Filename> files = recentFiles();
  const LONG damaged = list ? list->GetCount() - static_cast<LONG>(files.size()) : 0;
  if (damaged == 0) return;
  storeRecent(files);
  printLine("The list of recent files was damaged: " + LongToString(damaged) + " of its entries " +
            (damaged == 1 ? "was" : "were") + " taken out.");
}

void FileSession::remember(const Filename& file) {
  std::vector<Filename> files = recentFiles();
  std::erase_if(files, [&](const Filename& other) { return other.GetString() == file.GetString(); });
  files.insert(files.begin(), file);
  storeRecent(files);
  changed.call();
}

bool FileSession::openRecent(const Filename& file) {
  if (GeFExist(file)) return open(file);
  std::vector<Filename> files = recentFiles();
  std::erase_if(files, [&](const Filename& other) { return other.GetString() == file.GetString(); });
  storeRecent(files);
  changed.call();
  FileError error;
  error.sentence = "The scene could not be opened.";
  error.reason = "There is no file \"" + file.GetString().GetUTF8() + "\" any more.";
  error.advice = "It was taken off the list of recent files; open it from where it is now.";
  fail(std::move(error));
  return false;
}

void FileSession::clearRecent() {
  storeRecent({});
  changed.call();
}

} // namespace host
