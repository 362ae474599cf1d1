// The folder where running programs with a live link are found. Any thread.
#pragma once

#include <string>
#include <vector>

namespace host {

/// The user's own folder for sockets: $XDG_RUNTIME_DIR/lumenara, else /tmp/lumenara-UID; made with the mode
/// 0700. Empty, with a sentence in `error`, when it cannot be made, is a link, belongs to another user or has
/// another mode.
std::string linkFolder(std::string& error);

/// Removes the sockets and descriptions of programs that have ended.
void removeStaleLinks(const std::string& folder);

/// A running program, as the small file beside its socket describes it.
struct RunningLink {
  long process = 0;
  std::string socket, scene;
  std::string started; // ISO 8601, UTC
};

/// The running programs with a live link, the newest first. Empty for a folder that is missing.
std::vector<RunningLink> runningLinks(const std::string& folder);

} // namespace host
