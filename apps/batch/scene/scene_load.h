// Reading a scene for a command.
#pragma once

#include <string>
#include <vector>

#include "active_document.h"
#include "messages.h"

namespace batch {

struct Scene {
  host::DocumentPtr document; // never null
  std::vector<std::string> warnings;
  std::vector<std::string> missing; // files that the scene names and that are not there
  double loadMs = 0;
};

/// Shows how far it is and passes the warnings on. Throws `Stop`: scene unreadable, or cancelled by Ctrl-C.
/// Main thread.
Scene loadScene(const std::string& file, Messages& messages);

} // namespace batch
