// The folder where running programs with a live link are found. Any thread.
#pragma once

#include <string>

namespace host {

/// The user's own folder for sockets: $XDG_RUNTIME_DIR/lumenara, else /tmp/lumenara-UID; made with the mode
/// 0700. Empty, with a sentence in `error`, when it cannot be made, is a link, belongs to another user or has
/// another mode.
std::string linkFolder(std::string& error);

/// Removes the sockets and descriptions of programs that have ended.
void removeStaleLinks(const std::string& folder);

/// The socket of the running program that has listened longest; empty without one.
std::string findLink(const std::string& folder);

} // namespace host
