// Scenes read for a command.
#pragma once

#include <string>
#include <vector>

#include "active_document.h"
#include "messages.h"

namespace batch {

struct Scene {
  host::DocumentPtr document; // never null
  std::vector<std::string> warnings;
  std::vector<std::string> missing; // files that the scene names and that do not exist
  double loadMs = 0;
};

/// Reads a scene with a progress line and prints its warnings. Throws `Stop`: scene unreadable, or cancelled.
/// Main thread.
Scene loadScene(const std::string& file, Messages& messages);

} // namespace batch
