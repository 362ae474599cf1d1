#include "config_folders.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace host::platform {

std::vector<Filename> configFolders() {
  std::vector<Filename> folders;
  const char* own = std::getenv("XDG_CONFIG_HOME");
  const char* home = std::getenv("HOME");
  if (own && own[0] == '/')
    folders.emplace_back(own);
  else if (home && home[0] == '/')
    folders.push_back(Filename(home) + ".config");

  const char* listed = std::getenv("XDG_CONFIG_DIRS");
  std::string_view rest = listed && *listed ? listed : "/etc/xdg";
  while (!rest.empty()) {
    const std::string_view one = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(rest.size(), one.size() + 1));
    if (one.starts_with('/')) folders.push_back(Filename(String(one)));
  }
  return folders;
}

} // namespace host::platform
