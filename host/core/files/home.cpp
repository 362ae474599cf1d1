#include "home.h"

#include <cstdlib>
#include <system_error>

#include "console.h"
#include "file_path.h"

namespace host {

namespace {

using platform::Owner;

Filename absolute(const Filename& file) {
  std::error_code error;
  const std::filesystem::path path = std::filesystem::absolute(toPath(file), error);
  return error ? file : toFilename(path);
}

// Empty when the user has no data folder.
Filename choose(const Filename& wanted) {
  if (wanted.Content()) return absolute(wanted);
  if (const char* home = std::getenv("LUMENARA_HOME"); home && *home) return absolute(home);
  const Filename data = platform::userDataFolder();
  return data.Content() ? data + "Lumenara Studio" : Filename();
}

String quoted(const Filename& file) {
  return "\"" + file.GetString() + "\"";
}

} // namespace

Home::Home(const Filename& wanted) : folder_(choose(wanted)) {
  platform::removeAbandonedFolders();
  if (!folder_.Content()) {
    useTemporary("There is no home folder (HOME is not set). Set HOME or LUMENARA_HOME to keep settings.");
    return;
  }
  platform::makeOwnFolder(folder_); // on failure the preferences report that they cannot be saved
  const Owner owner = platform::ownerOf(folder_);
  if (owner == Owner::anyone)
    useTemporary("The home " + quoted(folder_) +
                 " is not used: other users can write to it. Take that right away (chmod go-w) or choose "
                 "another folder.");
  if (owner == Owner::anotherUser)
    useTemporary("The home " + quoted(folder_) +
                 " is not used: it belongs to another user. Choose a folder of your own with --home or "
                 "LUMENARA_HOME.");
}

void Home::useTemporary(const String& why) {
  kept_ = false;
  const Filename& made = temporary_.emplace().folder();
  folder_ = made.Content() ? made : Filename("/dev/null/lumenara"); // where no folder can be made
  printLine(why + " Until then settings last for this run and only the installed plug-ins are loaded.");
}

std::string Home::whyUnsafe(const Filename& module) const {
  std::error_code error;
  const std::filesystem::path home = std::filesystem::canonical(toPath(folder_), error);
  std::filesystem::path place = std::filesystem::canonical(toPath(module), error);
  if (error) return "it cannot be looked at: " + error.message();
  for (; place != home && place.has_relative_path(); place = place.parent_path()) {
    const Owner owner = platform::ownerOf(toFilename(place));
    if (owner == Owner::anyone)
      return "other users can write to \"" + place.native() + "\"; take that right away (chmod go-w)";
    if (owner == Owner::anotherUser) return "\"" + place.native() + "\" belongs to another user";
  }
  return {};
}

} // namespace host
